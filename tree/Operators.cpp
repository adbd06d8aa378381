#include "tree/Operators.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <vector>

#include "values/Exception.h"
#include "values/ICalcContext.h"
#include "values/NumberVectorObject.h"
#include "values/ObjectFactory.h"
#include "values/ObjectVector.h"

namespace CalcEngine {

namespace {

int32_t Precedence(int32_t op) { return binaryOperators[op].precedence; }

const BinOp* AsSamePrecedenceBinOp(const Expr* node, int32_t precedence) {
    auto* binOp = dynamic_cast<const BinOp*>(node);
    return binOp && Precedence(binOp->Op()) == precedence ? binOp : nullptr;
}

[[noreturn]] void RaiseOperandMissing(const char16_t* side, int32_t op) {
    throw Exception(WString(u"error evaluating ") + side + u"hand side of the binary operation '" +
                    binaryOperators[op].symbol + u"'");
}

// What each binary operator calls, indexed by its code: the in-place
// operation and the widening of an operand for the others, the operation
// that takes the unevaluated right side for the logical ones.
struct OperatorCalls {
    void (Object::*apply)(const Object&);
    Object* (Object::*widen)(Object&);
    Object* (Object::*logical)(const LazyOperand&);
};

constexpr OperatorCalls operatorCalls[BinaryOperatorCount] = {
    {nullptr, nullptr, &Object::OperatorLor},
    {nullptr, nullptr, &Object::OperatorLxor},
    {nullptr, nullptr, &Object::OperatorLand},
    {&Object::OperatorNotEqual, &Object::WidenForCompare, nullptr},
    {&Object::OperatorEqual, &Object::WidenForCompare, nullptr},
    {&Object::OperatorLt, &Object::WidenForCompare, nullptr},
    {&Object::OperatorGt, &Object::WidenForCompare, nullptr},
    {&Object::OperatorLe, &Object::WidenForCompare, nullptr},
    {&Object::OperatorGe, &Object::WidenForCompare, nullptr},
    {&Object::OperatorPlus, &Object::WidenForPlus, nullptr},
    {&Object::OperatorMinus, &Object::WidenForMinus, nullptr},
    {&Object::OperatorDiv, &Object::WidenForDiv, nullptr},
    {&Object::OperatorMul, &Object::WidenForMul, nullptr},
    {&Object::OperatorMod, &Object::WidenForMod, nullptr},
    {&Object::OperatorIntDiv, &Object::WidenForDiv, nullptr},
    {&Object::OperatorPow, &Object::WidenForPow, nullptr},
};

// The right side of a logical operator, evaluated in the operator's scope
// only if the operator asks for it.
class RightOperand : public LazyOperand {
public:
    RightOperand(const Expr& node, Environment& environment)
        : node(node), environment(environment) {}
    Object* Evaluate() const override { return node.Evaluate(environment); }

private:
    const Expr& node;
    Environment& environment;
};

// The widening of `value` towards `other` that operator `op` uses.
Object* WidenFor(int32_t op, Object& value, Object& other) {
    return std::invoke(operatorCalls[op].widen, value, other);
}

// The accumulator for `left op right`, one reference for the caller; when it
// is the left value itself, the reference of `left` moves into it.
Object* ChooseWorkingValue(Environment& environment, int32_t op, PtrWrapper& left, Object& right) {
    if (Object* working = PromoteOperands(&environment, left, right)) return working;
    PtrWrapper widened(WidenFor(op, *left, right));
    if (Object* working = PromoteOperands(&environment, widened, right)) return working;
    return widened.Detach();
}

// Values of different classes, or an indirect right one: that operand is
// widened towards the left one, the accumulator chosen and changed in place.
[[gnu::noinline]] Object* ApplyToMixedValues(Environment& environment, int32_t op,
                                              PtrWrapper& left, Object& right) {
    PtrWrapper widenedRight;
    Object* rightValue = &right;
    if (right.GetType().IsIndirect()) {
        widenedRight.Reset(WidenFor(op, right, *left));
        rightValue = widenedRight.Get();
    }
    PtrWrapper working(ChooseWorkingValue(environment, op, left, *rightValue));
    std::invoke(operatorCalls[op].apply, *working, *rightValue);
    return working.Detach();
}

// A non-logical operator over its two values. Takes the reference of `left`.
Object* ApplyToValues(Environment& environment, int32_t op, PtrWrapper& left, Object& right) {
    // The usual case, one class on both sides: the left value is the
    // accumulator as it is. The rest stays out of line, so that this case
    // needs no larger frame.
    if (left->objectType.type == right.objectType.type && !right.GetType().IsIndirect()) {
        std::invoke(operatorCalls[op].apply, *left, right);
        return left.Detach();
    }
    return ApplyToMixedValues(environment, op, left, right);
}

// The value that a logical or unary operator changes: `value` itself (its
// reference moves), or for a proxy a working copy of what it stands for.
Object* WorkingCopy(PtrWrapper& value) {
    return value->IsProxy() ? Resolve(value.Get()) : value.Detach();
}

void FillRange(int32_t from, int32_t to, DoubleVector& out) {
    int64_t length = std::llabs(static_cast<int64_t>(to) - from);
    if (length > Range::MaxLength - 1)
        throw Exception(
            u"The result length of range-expression exceeds the maximum allowed size of " +
            ToDecimal(Range::MaxLength));
    // Room for this range, growing geometrically: many ranges in one list
    // must not copy the list once per range.
    const size_t start = out.values.size();
    const size_t needed = start + static_cast<size_t>(length) + 1;
    if (needed > out.values.capacity())
        out.values.reserve(std::max(needed, 2 * out.values.capacity()));
    out.values.resize(needed);
    // A plain loop over the new elements, which the compiler vectorises.
    double* numbers = out.values.data() + start;
    const int64_t step = from < to ? 1 : -1;
    for (int64_t i = 0; i <= length; ++i) numbers[i] = static_cast<double>(from + step * i);
}

// Item lists apply their operators to each item through the core of the
// binary operators, which the value model reaches through this hook.
[[maybe_unused]] const bool itemListCoreInstalled = (binaryOperatorCore = &BinOp::Apply, true);

}  // namespace

ExprPtr BinOp::Create(int32_t op, ExprPtr left, ExprPtr right) {
    auto node = new BinOp(op, std::move(left));
    if (AsSamePrecedenceBinOp(right.get(), Precedence(op)))
        return ExprPtr(node->RotateInto(std::move(right)));  // the chain owns `node`
    node->SetRight(std::move(right));
    return ExprPtr(node);
}

Object* BinOp::Apply(int32_t op, Environment& environment, Object& left, Object& right) {
    TickQuota();
    if (binaryOperators[op].isLogical)
        RaiseRuntimeError(WString(u"can't execute operator ") + binaryOperators[op].symbol +
                          u" for given object");
    AddRef(&left);
    PtrWrapper leftValue(&left);
    return ApplyToValues(environment, op, leftValue, right);
}

BinOp::BinOp(int32_t op, ExprPtr left) : op(op) { SetLeft(std::move(left)); }

BinOp::~BinOp() {
    while (BinOp* child = LeftBinOp()) {
        ExprPtr grandchild = std::move(child->left);
        leftIsBinOp = child->leftIsBinOp;
        child->leftIsBinOp = false;
        left = std::move(grandchild);  // deletes `child`, whose left is gone already
    }
}

void BinOp::SetLeft(ExprPtr node) {
    leftIsBinOp = dynamic_cast<BinOp*>(node.get()) != nullptr;
    node->parent = this;
    left = std::move(node);
}

void BinOp::SetRight(ExprPtr node) {
    node->parent = this;
    right = std::move(node);
}

// `a op (b op1 c op2 d)` with one precedence becomes `((a op b) op1 c) op2 d`:
// the chain under `chainTop` is taken apart and rebuilt on top of this node.
BinOp* BinOp::RotateInto(ExprPtr chainTop) {
    int32_t precedence = Precedence(op);
    std::vector<BinOp*> chain;  // lowest first
    for (BinOp* node = static_cast<BinOp*>(chainTop.get()); node;
         node = const_cast<BinOp*>(AsSamePrecedenceBinOp(node->left.get(), precedence)))
        chain.insert(chain.begin(), node);
    std::vector<ExprPtr> leaves;  // leftmost first
    leaves.push_back(std::move(chain.front()->left));
    for (BinOp* node : chain) leaves.push_back(std::move(node->right));
    // Ownership of the chain nodes moves from their parents to their children.
    std::vector<ExprPtr> owned;
    for (size_t i = 1; i < chain.size(); ++i) owned.push_back(std::move(chain[i]->left));
    BinOp* top = static_cast<BinOp*>(chainTop.release());

    SetRight(std::move(leaves[0]));
    BinOp* previous = this;
    for (size_t i = 0; i < chain.size(); ++i) {
        ExprPtr previousOwner = i == 0 ? ExprPtr(previous) : std::move(owned[i - 1]);
        chain[i]->SetLeft(std::move(previousOwner));
        chain[i]->SetRight(std::move(leaves[i + 1]));
        previous = chain[i];
    }
    top->parent = nullptr;
    return top;
}

Object* BinOp::Evaluate(Environment& environment) const {
    // Charge the spine top-down, evaluate its leftmost operand, then combine
    // upwards: the order of a recursive evaluation, without its depth.
    TickQuota();
    const BinOp* bottom = this;
    while (const BinOp* child = bottom->LeftBinOp()) {
        TickQuota();
        bottom = child;
    }
    Object* value = bottom->left->Evaluate(environment);
    for (const BinOp* node = bottom;; node = static_cast<const BinOp*>(node->parent)) {
        value = node->Combine(environment, value);
        if (node == this) return value;
    }
}

Object* BinOp::Combine(Environment& environment, Object* leftValue) const {
    if (!leftValue) RaiseOperandMissing(u"left ", op);
    PtrWrapper left(leftValue);
    if (binaryOperators[op].isLogical) {
        PtrWrapper working(WorkingCopy(left));
        const RightOperand rightOperand(*right, environment);
        if (Object* replacement = std::invoke(operatorCalls[op].logical, *working, rightOperand))
            working.Reset(replacement);
        return working.Detach();
    }
    PtrWrapper rightValue(right->Evaluate(environment));
    if (!rightValue) RaiseOperandMissing(u"right ", op);
    return ApplyToValues(environment, op, left, *rightValue);
}

void BinOp::Dump(WString& out, int options) const {
    const BinOp* bottom = this;
    while (const BinOp* child = bottom->LeftBinOp()) bottom = child;
    bottom->left->Dump(out, options);
    for (const BinOp* node = bottom;; node = static_cast<const BinOp*>(node->parent)) {
        out += u" ";
        out += binaryOperators[node->op].symbol;
        out += u" ";
        node->right->Dump(out, options);
        if (node == this) return;
    }
}

// Visits as a recursive walk would, each node before its operands, without
// recursing down the left spine.
template <class VisitNode, class AcceptOperand>
void BinOp::WalkChain(VisitNode visitNode, AcceptOperand acceptOperand) {
    BinOp* bottom = this;
    visitNode(*this);
    while (BinOp* child = bottom->LeftBinOp()) {
        visitNode(*child);
        bottom = child;
    }
    acceptOperand(*bottom->left);
    for (BinOp* node = bottom;; node = static_cast<BinOp*>(node->parent)) {
        acceptOperand(*node->right);
        if (node == this) return;
    }
}

void BinOp::Accept(SymNodeVisitor& visitor) {
    WalkChain([&](SymNode& node) { visitor.Visit(node); },
              [&](Expr& operand) { operand.Accept(visitor); });
}

void BinOp::AcceptConst(SymNodeVisitor& visitor) {
    WalkChain([&](SymNode& node) { visitor.VisitConst(node); },
              [&](Expr& operand) { operand.AcceptConst(visitor); });
}

UnOp::UnOp(int32_t op, ExprPtr operand) : op(op), operand(std::move(operand)) {
    this->operand->parent = this;
}

Object* UnOp::Evaluate(Environment& environment) const {
    TickQuota();
    PtrWrapper value(operand->Evaluate(environment));
    if (!value)
        throw Exception(WString(u"error evaluating parameter for unary operator '") +
                        unaryOperators[op].symbol + u"'");
    PtrWrapper working(WorkingCopy(value));
    switch (op) {
        case UnNot:
            working->OperatorLnot();
            break;
        case UnMinus:
            working->UnaryMinus();
            break;
        default:
            working->UnaryPlus();
            break;
    }
    return working.Detach();
}

void UnOp::Dump(WString& out, int options) const {
    out += unaryOperators[op].symbol;
    operand->Dump(out, options);
}

void UnOp::Accept(SymNodeVisitor& visitor) {
    visitor.Visit(*this);
    operand->Accept(visitor);
}

void UnOp::AcceptConst(SymNodeVisitor& visitor) {
    visitor.VisitConst(*this);
    operand->AcceptConst(visitor);
}

Range::Range(ExprPtr from, ExprPtr to) : from(std::move(from)), to(std::move(to)) {
    this->from->parent = this;
    this->to->parent = this;
}

Object* Range::Evaluate(Environment& environment) const {
    PtrWrapper list(CurrentFactory()->CreateNumberVector(&environment));
    AppendTo(environment, static_cast<NumberVectorObject&>(*list));
    return list.Detach();
}

void Range::AppendTo(Environment& environment, NumberVectorObject& target) const {
    TickQuota();
    PtrWrapper fromValue(from->Evaluate(environment));
    PtrWrapper toValue(to->Evaluate(environment));
    int32_t first = 0, last = 0;
    if (fromValue) fromValue->GetInt(first);
    if (toValue) toValue->GetInt(last);
    FillRange(first, last, target);
}

void Range::Dump(WString& out, int options) const {
    from->Dump(out, options);
    out += u"..";
    to->Dump(out, options);
}

void Range::Accept(SymNodeVisitor& visitor) {
    visitor.Visit(*this);
    from->Accept(visitor);
    to->Accept(visitor);
}

void Range::AcceptConst(SymNodeVisitor& visitor) {
    visitor.VisitConst(*this);
    from->AcceptConst(visitor);
    to->AcceptConst(visitor);
}

Assign::Assign(ExprPtr target, ExprPtr value) : target(std::move(target)), value(std::move(value)) {
    this->target->parent = this;
    this->value->parent = this;
}

Object* Assign::Evaluate(Environment& environment) const {
    TickQuota();
    PtrWrapper targetValue(target->Evaluate(environment));
    if (!targetValue) throw Exception(u"the left hand side of the assign operator wasn't defined");
    PtrWrapper newValue(value->Evaluate(environment));
    if (newValue)
        targetValue->Assign(*newValue, true);
    else
        targetValue->Clear();
    return newValue.Detach();
}

void Assign::Dump(WString& out, int options) const {
    target->Dump(out, options);
    out += u" := ";
    value->Dump(out, options);
}

void Assign::Accept(SymNodeVisitor& visitor) {
    visitor.Visit(*this);
    target->Accept(visitor);
    value->Accept(visitor);
}

void Assign::AcceptConst(SymNodeVisitor& visitor) {
    visitor.VisitConst(*this);
    target->AcceptConst(visitor);
    value->AcceptConst(visitor);
}

}  // namespace CalcEngine
