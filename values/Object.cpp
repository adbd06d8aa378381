#include "values/Object.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "values/Exception.h"
#include "values/HostMemory.h"
#include "values/NumberVectorObject.h"
#include "values/ObjectFactory.h"

namespace CalcEngine {

namespace {
std::atomic<long> liveObjects{0};
}  // namespace

void StreamDumpable::Dump(WString& out, int options) const { (void)out, (void)options; }

void Type::Dump(WString& out, int options) const {
    (void)options;
    out += Name();
}

Object* Type::Create(Environment* environment) const {
    (void)environment;
    return nullptr;
}

const Type& Type::Root() {
    static const Type root(nullptr);
    return root;
}

bool Type::IsA(const Type& target) const {
    for (const Type* type = this; type; type = type->parent) {
        if (type == &target) return true;
    }
    return false;
}

bool ObjectType::Promote(ObjectType& result, const ObjectType& other) const {
    bool otherWins = type->Rank() <= other.type->Rank();
    result.type = otherWins ? other.type : type;
    return otherWins;
}

Object::Object(const Type& type) : objectType(&type) {
    liveObjects.fetch_add(1, std::memory_order_relaxed);
}

Object::~Object() { liveObjects.fetch_sub(1, std::memory_order_relaxed); }

long Object::LiveCount() { return liveObjects.load(std::memory_order_relaxed); }

void Object::Dump(WString& out, int options) const { GetType().Dump(out, options); }

void Object::AppendToNumbers(DoubleVector& out, bool skipNulls) const {
    double value;
    GetNumber(value);
    if (skipNulls && IsNull(value)) return;
    if (out.values.empty()) {
        out.values.push_back(value);
    } else {
        std::fill(out.values.begin(), out.values.end(), value);
    }
    out.defaultValue = value;
}

void Object::AppendToStrings(StringVector& out) const {
    WString text;
    GetText(text);
    out.push_back(std::move(text));
}

void Object::ToResult(DTCalcResult& out) const {
    double value;
    GetNumber(value);
    void* buffer = AllocateHostMemory(sizeof value);
    std::memcpy(buffer, &value, sizeof value);
    out.iResultBufferLength = sizeof value;
    out.iType = ORDODLL_FUNCTION_RESULT_TYPE_NUMBER;
    out.xResultBuffer = static_cast<char16_t*>(buffer);
}

void Object::SetFromNumbers(const DoubleVector& numbers) {
    if (!numbers.values.empty()) SetNumber(numbers.values.front());
}

void Object::SetFromStrings(const StringVector& strings) {
    WString joined;
    for (const WString& text : strings) {
        if (&text != &strings.front()) joined += u' ';
        joined += text;
    }
    SetText(joined);
}

Object* Object::GetItem(unsigned index, bool across) const {
    (void)index, (void)across;
    return nullptr;
}

void Object::UnaryPlus() { RaiseRuntimeError(u"unary operator 'plus' not defined for object"); }
void Object::UnaryMinus() { RaiseRuntimeError(u"unary operator 'minus' not defined for object"); }
void Object::OperatorLnot() {
    RaiseRuntimeError(u"unary operator 'logical not' not defined for object");
}

void Object::OperatorPlus(const Object&) {
    RaiseRuntimeError(u"binary operator 'plus' not defined for object");
}
void Object::OperatorMinus(const Object&) {
    RaiseRuntimeError(u"binary operator 'minus' not defined for object");
}
void Object::OperatorDiv(const Object&) {
    RaiseRuntimeError(u"binary operator 'div' not defined for object");
}
void Object::OperatorMod(const Object&) {
    RaiseRuntimeError(u"binary operator 'mod' not defined for object");
}
// Integer division shares the text of division.
void Object::OperatorIntDiv(const Object&) {
    RaiseRuntimeError(u"binary operator 'div' not defined for object");
}
void Object::OperatorMul(const Object&) {
    RaiseRuntimeError(u"binary operator 'star' not defined for object");
}
void Object::OperatorPow(const Object&) {
    RaiseRuntimeError(u"binary operator 'pow' not defined for object");
}
Object* Object::OperatorLand(const LazyOperand&) {
    RaiseRuntimeError(u"binary operator 'logical and' not defined for object");
}
Object* Object::OperatorLor(const LazyOperand&) {
    RaiseRuntimeError(u"binary operator 'logical or' not defined for object");
}
// Exclusive or shares the text of or.
Object* Object::OperatorLxor(const LazyOperand&) {
    RaiseRuntimeError(u"binary operator 'logical or' not defined for object");
}
void Object::OperatorEqual(const Object&) {
    RaiseRuntimeError(u"binary operator 'equal' not defined for object");
}
void Object::OperatorNotEqual(const Object&) {
    RaiseRuntimeError(u"binary operator 'not equal' not defined for object");
}
void Object::OperatorLt(const Object&) {
    RaiseRuntimeError(u"binary operator 'less than' not defined for object");
}
void Object::OperatorGt(const Object&) {
    RaiseRuntimeError(u"binary operator 'greater than' not defined for object");
}
void Object::OperatorLe(const Object&) {
    RaiseRuntimeError(u"binary operator 'less or equal to' not defined for object");
}
void Object::OperatorGe(const Object&) {
    RaiseRuntimeError(u"binary operator 'greater or equal to' not defined for object");
}

Object* Object::Widen(Object& other) {
    if (!other.GetType().IsA(NumberVectorObject::Type::Instance())) {
        AddRef(this);
        return this;
    }
    PtrWrapper list(CurrentFactory()->CreateNumberVector(environment));
    static_cast<NumberVectorObject&>(*list).Resize(other.Size());
    list->Assign(*this, true);
    return list.Detach();
}

Object* Object::Filter(const BitVector&) {
    AddRef(this);
    return this;
}

Object* Object::Sum() const {
    double value;
    GetNumber(value);
    return CurrentFactory()->CreateFloat(environment, value);
}

void Object::Recycle() { CurrentFactory()->Discard(this); }

Object* PromoteOperands(Environment* environment, PtrWrapper& left, const Object& right) {
    const Type* leftType = left->objectType.type;
    const Type* rightType = right.objectType.type;
    // One class on both sides, the usual case, needs no ranks.
    if (leftType == rightType) return leftType->IsIndirect() ? nullptr : left.Detach();
    if (leftType->IsIndirect() || rightType->IsIndirect()) return nullptr;
    ObjectType wider(&Type::Root());
    left->objectType.Promote(wider, right.objectType);
    if (wider.type == leftType) return left.Detach();
    PtrWrapper promoted(wider.type->Create(environment));
    promoted->AssignPromoted(*left, right);
    return promoted.Detach();
}

Object* Resolve(Object* object) {
    if (!object) return nullptr;
    Object* target = object->Dereference();
    if (target == object) {
        AddRef(object);
        return object;
    }
    // A proxy hands out a fresh object with no count yet: hold it while
    // resolving further, then drop it.
    AddRef(target);
    Object* resolved = Resolve(target);
    Release(target);
    return resolved;
}

double NullNumber() {
    static constexpr double null = std::bit_cast<double>(uint64_t{0x7FFFFFFFFFFFFFFF});
    return null;
}

}  // namespace CalcEngine
