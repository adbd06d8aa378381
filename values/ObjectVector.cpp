#include "values/ObjectVector.h"

#include <algorithm>

#include "values/ICalcContext.h"
#include "values/ListFunctors.h"
#include "values/NumberVectorObject.h"
#include "values/ObjectFactory.h"
#include "values/OperatorTable.h"
#include "values/ScalarObjects.h"

namespace CalcEngine {

using namespace CalcUtilities;

BinaryOperatorCore binaryOperatorCore = nullptr;

namespace {

bool IsItemList(const Object& value) { return value.GetType().IsA(ObjectVector::Type::Instance()); }

bool IsNumberList(const Object& value) {
    return value.GetType().IsA(NumberVectorObject::Type::Instance());
}

// A binary operator on one item through the core, by the operator's code;
// answers the new item with one reference.
template <int32_t code>
struct OperatorFunc {
    Object* operator()(Environment& environment, Object& item, const Object& right) const {
        // The core only reads the right value: an indirect one is widened
        // into a new object.
        return binaryOperatorCore(code, environment, item, const_cast<Object&>(right));
    }
};

using OperatorNotEqualFunc = OperatorFunc<OpNotEqual>;
using OperatorEqualFunc = OperatorFunc<OpEqual>;
using OperatorLtFunc = OperatorFunc<OpLt>;
using OperatorGtFunc = OperatorFunc<OpGt>;
using OperatorLeFunc = OperatorFunc<OpLe>;
using OperatorGeFunc = OperatorFunc<OpGe>;
using OperatorPlusFunc = OperatorFunc<OpPlus>;
using OperatorMinusFunc = OperatorFunc<OpMinus>;
using OperatorDivFunc = OperatorFunc<OpDiv>;
using OperatorMulFunc = OperatorFunc<OpMul>;
using OperatorModFunc = OperatorFunc<OpMod>;
using OperatorIntDivFunc = OperatorFunc<OpIntDiv>;
using OperatorPowFunc = OperatorFunc<OpPow>;

// The right side of a logical operator once it has been evaluated, handed to
// each item's own operator.
class EvaluatedOperand : public LazyOperand {
public:
    explicit EvaluatedOperand(const Object& value) : value(const_cast<Object&>(value)) {}
    Object* Evaluate() const override {
        AddRef(&value);
        return &value;
    }

private:
    Object& value;
};

// A logical operator on one item: the core refuses the logical codes, since
// they take their right side unevaluated, so the item's own operator is
// called as the tree calls it, with the value already evaluated.
template <Object* (Object::*logical)(const LazyOperand&)>
struct LogicalOperatorFunc {
    Object* operator()(Environment&, Object& item, const Object& right) const {
        const EvaluatedOperand operand(right);
        if (Object* replacement = (item.*logical)(operand)) return replacement;
        AddRef(&item);
        return &item;
    }
};

using OperatorLandFunc = LogicalOperatorFunc<&Object::OperatorLand>;
using OperatorLorFunc = LogicalOperatorFunc<&Object::OperatorLor>;
using OperatorLxorFunc = LogicalOperatorFunc<&Object::OperatorLxor>;

// The right value that item `position` meets, or null when there is none.
// A scalar or a number list meets every item whole. The items of another
// list, or of anything else that has items, are met in step, starting again
// at the first when they run out. `made` holds a value made for the
// position.
const Object* RightValueAt(const Object& right, size_t position, PtrWrapper& made) {
    if (right.IsScalar() || IsNumberList(right)) return &right;
    if (IsItemList(right)) {
        const auto& items = static_cast<const ObjectVector&>(right).items;
        return items.empty() ? nullptr : items[position % items.size()].Get();
    }
    const unsigned size = right.Size();
    if (size == 0) return nullptr;
    made.Reset(right.GetItem(static_cast<unsigned>(position % size), false));
    return made.Get();
}

}  // namespace

const ObjectVector::Type& ObjectVector::Type::Instance() {
    static const Type instance;
    return instance;
}

const char16_t* ObjectVector::Type::Name() const { return u"Itemlist"; }

uint32_t ObjectVector::Type::Rank() const { return 255; }

Object* ObjectVector::Type::Create(Environment* environment) const {
    return CurrentFactory()->CreateObjectVector(environment);
}

// --- Reports ----------------------------------------------------------------

Object* ObjectVector::Report(ReportFunc& func) const {
    bool started = false;
    for (const PtrWrapper& item : items) {
        if (!item) continue;
        if (started) {
            func.Add(*item);
        } else {
            func.Start(*item);
            started = true;
        }
    }
    return started ? func.Finish() : CurrentFactory()->CreateEmpty(environment);
}

void ObjectVector::ReportFunc::Start(Object& item) {
    PtrWrapper value(Resolve(&item));
    result.Reset(value->Clone());
}

void ObjectVector::ReportSumFunc::Add(Object& item) {
    result.Reset(binaryOperatorCore(OpPlus, *result->environment, *result, item));
}

void ObjectVector::ReportNumericFunc::Start(Object& item) {
    PtrWrapper value(Resolve(&item));
    scalar = value->IsScalar();
    ObjectFactory& factory = *CurrentFactory();
    result.Reset(scalar ? factory.CreateFloat(value->environment)
                        : factory.CreateNumberVector(value->environment));
    result->Assign(*value, true);
}

template <class ScalarOp, class ListOp>
void ObjectVector::ReportNumericFunc::Combine(Object& item, ScalarOp scalarOp, ListOp listOp) {
    if (scalar) {
        double x;
        item.GetNumber(x);
        scalarOp(Number().value, x);
        return;
    }
    DoubleVector numbers;
    item.AppendToNumbers(numbers, false);
    ApplyPairwise(Numbers(), numbers, listOp);
}

FloatObject& ObjectVector::ReportNumericFunc::Number() const {
    return static_cast<FloatObject&>(*result);
}

NumberVectorObject& ObjectVector::ReportNumericFunc::Numbers() const {
    return static_cast<NumberVectorObject&>(*result);
}

void ObjectVector::ReportMinFunc::Add(Object& item) {
    Combine(
        item, [](double& a, double b) { a = std::min(a, b); }, BinMinFunc());
}

void ObjectVector::ReportMaxFunc::Add(Object& item) {
    Combine(
        item, [](double& a, double b) { a = std::max(a, b); }, BinMaxFunc());
}

void ObjectVector::ReportMeanFunc::Start(Object& item) {
    ReportNumericFunc::Start(item);
    count = 1;
}

void ObjectVector::ReportMeanFunc::Add(Object& item) {
    ++count;
    Combine(
        item, [](double& a, double b) { a += b; }, BinSumFunc());
}

Object* ObjectVector::ReportMeanFunc::Finish() {
    if (scalar) {
        Number().value /= count;
    } else {
        std::for_each(Numbers().values.begin(), Numbers().values.end(),
                      BinScalarDivFunc{static_cast<double>(count)});
    }
    return ReportFunc::Finish();
}

// --- Reading ----------------------------------------------------------------

void ObjectVector::Dump(WString& out, int options) const {
    out += u"ObjectVector: ";
    GetType().Dump(out, options);
    for (const PtrWrapper& item : items) {
        out += u", ";
        if (item) {
            item->Dump(out, options);
        } else {
            out += u"NULL";
        }
    }
}

// The first item is still read, so that an item that cannot be read (an
// undefined variable, a NULL that the context forbids) fails here as it
// would on its own; the answer is 0 all the same.
void ObjectVector::GetInt(int32_t& out) const {
    if (!items.empty() && items.front()) items.front()->GetInt(out);
    out = 0;
}

void ObjectVector::GetNumber(double& out) const {
    if (!items.empty() && items.front()) items.front()->GetNumber(out);
    out = 0.0;
}

void ObjectVector::GetText(WString& out) const {
    StringVector texts;
    AppendToStrings(texts);
    out.clear();
    const char16_t separator = ItemSeparator();
    for (size_t i = 0; i < texts.size(); ++i) {
        if (i) out += separator;
        out += texts[i];
    }
}

void ObjectVector::AppendToNumbers(DoubleVector& out, bool skipNulls) const {
    for (const PtrWrapper& item : items) {
        if (!item) continue;
        double x;
        item->GetNumber(x);
        if (!skipNulls || !IsNull(x)) out.values.push_back(x);
    }
}

void ObjectVector::AppendToStrings(StringVector& out) const {
    for (const PtrWrapper& item : items) {
        if (!item) continue;
        WString text;
        item->GetText(text);
        out.push_back(std::move(text));
    }
}

Object* ObjectVector::GetItem(unsigned index, bool across) const {
    if (across && !items.empty() && items.front() && !items.front()->IsScalar())
        return ItemsAcross(index);
    if (index >= items.size() || !items[index]) return nullptr;
    Object* item = items[index].Get();
    AddRef(item);
    return item;
}

// A list of item `index` of each item, Void where an item has none.
Object* ObjectVector::ItemsAcross(unsigned index) const {
    ObjectFactory& factory = *CurrentFactory();
    PtrWrapper across(factory.CreateObjectVector(environment));
    auto& column = static_cast<ObjectVector&>(*across).items;
    column.reserve(items.size());
    for (const PtrWrapper& item : items) {
        Object* value = item ? item->GetItem(index, false) : nullptr;
        column.emplace_back(value ? value : factory.CreateEmpty(environment));
    }
    return across.Detach();
}

Object* ObjectVector::GetItemAt(const Object& index) const {
    int32_t i;
    index.GetInt(i);
    Object* item = i < 0 ? nullptr : GetItem(static_cast<unsigned>(i), false);
    return item ? item : CurrentFactory()->CreateEmpty(environment);
}

// --- Writing ----------------------------------------------------------------

Object& ObjectVector::Writable(size_t index) {
    PtrWrapper& item = items[index];
    if (item->refCount.load(std::memory_order_relaxed) > 1) item.Reset(item->Clone());
    return *item;
}

template <class Change>
void ObjectVector::ChangeItems(size_t count, Change change) {
    const size_t end = std::min(count, items.size());
    for (size_t i = 0; i < end; ++i) {
        if (items[i]) change(Writable(i), i);
    }
}

void ObjectVector::SetNumber(double value) {
    ChangeItems(items.size(), [value](Object& item, size_t) { item.SetNumber(value); });
}

void ObjectVector::SetText(const WString& text) {
    ChangeItems(items.size(), [&text](Object& item, size_t) { item.SetText(text); });
}

void ObjectVector::SetFromNumbers(const DoubleVector& numbers) {
    ChangeItems(numbers.values.size(),
                [&numbers](Object& item, size_t i) { item.SetNumber(numbers.values[i]); });
}

void ObjectVector::SetFromStrings(const StringVector& strings) {
    ChangeItems(strings.size(), [&strings](Object& item, size_t i) { item.SetText(strings[i]); });
}

// Like a number list's shift, with a null item where the number list puts
// 0.0.
void ObjectVector::Shift(int n) {
    const auto drop = [](auto first, auto last) {
        std::for_each(first, last, [](PtrWrapper& item) { item.Reset(nullptr); });
    };
    const long long size = static_cast<long long>(items.size());
    if (n == 0) return;
    if (n >= size || n <= -size) {
        drop(items.begin(), items.end());
    } else if (n > 0) {
        drop(std::shift_left(items.begin(), items.end(), n), items.end());
    } else {
        drop(items.begin(), std::shift_right(items.begin(), items.end(), -n));
    }
}

Object* ObjectVector::Reverse() {
    std::reverse(items.begin(), items.end());
    return this;
}

void ObjectVector::Assign(const Object& src, bool whole) {
    if (whole) {
        AssignWhole(src);
    } else {
        AssignItems(src);
    }
}

void ObjectVector::AssignWhole(const Object& src) {
    // Resolving reads through a proxy and leaves `src` as it is.
    PtrWrapper value(Resolve(const_cast<Object*>(&src)));
    if (IsItemList(*value)) {
        SetItem(static_cast<const ObjectVector&>(*value));
        return;
    }
    // Anything else is taken apart into its items: a scalar has none and
    // leaves the list empty, a number list gives a Number per element.
    const unsigned size = value->Size();
    items.resize(size);
    for (unsigned i = 0; i < size; ++i) items[i] = PtrWrapper(value->GetItem(i, false));
}

// Assigns to the items themselves: a scalar or a number list to each, the
// items of anything else to the items at the same positions.
void ObjectVector::AssignItems(const Object& src) {
    if (src.IsScalar() || IsNumberList(src)) {
        ChangeItems(items.size(), [&src](Object& item, size_t) { item.Assign(src, true); });
    } else if (IsItemList(src)) {
        const auto& sources = static_cast<const ObjectVector&>(src).items;
        ChangeItems(sources.size(), [&sources](Object& item, size_t i) {
            if (sources[i]) item.Assign(*sources[i], true);
        });
    } else {
        ChangeItems(src.Size(), [&src](Object& item, size_t i) {
            PtrWrapper value(src.GetItem(static_cast<unsigned>(i), false));
            if (value) item.Assign(*value, true);
        });
    }
}

void ObjectVector::AssignPromoted(const Object& src, const Object& other) {
    if (!src.IsNumeric() || !IsItemList(other)) {
        Assign(src, true);
        return;
    }
    ObjectFactory& factory = *CurrentFactory();
    items.clear();
    for (unsigned i = 0; i < other.Size(); ++i) items.emplace_back(factory.Duplicate(&src));
}

void ObjectVector::SetItem(const ObjectVector& src) {
    if (&src == this) return;
    items.resize(src.items.size());
    for (size_t i = 0; i < items.size(); ++i) {
        Object* item = src.items[i].Get();
        if (item) AddRef(item);
        items[i] = PtrWrapper(item);
    }
}

// --- Operators --------------------------------------------------------------

template <class Func>
void ObjectVector::Broadcast(const Object& right, Func op) {
    for (size_t i = 0; i < items.size(); ++i) {
        if (!items[i]) continue;
        PtrWrapper made;
        const Object* value = RightValueAt(right, i, made);
        if (!value) continue;
        PtrWrapper working(Resolve(&Writable(i)));
        PtrWrapper answer(op(*environment, *working, *value));
        if (answer.Get() != items[i].Get()) items[i] = std::move(answer);
    }
}

template <class Func>
void ObjectVector::BroadcastEvaluated(const LazyOperand& right, Func op) {
    PtrWrapper value(right.Evaluate());
    // No value meets the items as Void.
    if (!value) value.Reset(CurrentFactory()->CreateEmpty(environment));
    Broadcast(*value, op);
}

void ObjectVector::ApplyUnary(void (Object::*op)()) {
    for (size_t i = 0; i < items.size(); ++i) {
        if (!items[i]) continue;
        PtrWrapper working(Resolve(&Writable(i)));
        ((*working).*op)();
        if (working.Get() != items[i].Get()) items[i] = std::move(working);
    }
}

void ObjectVector::UnaryPlus() { ApplyUnary(&Object::UnaryPlus); }
void ObjectVector::UnaryMinus() { ApplyUnary(&Object::UnaryMinus); }
void ObjectVector::OperatorLnot() { ApplyUnary(&Object::OperatorLnot); }

void ObjectVector::OperatorPlus(const Object& right) { Broadcast(right, OperatorPlusFunc()); }
void ObjectVector::OperatorMinus(const Object& right) { Broadcast(right, OperatorMinusFunc()); }
void ObjectVector::OperatorDiv(const Object& right) { Broadcast(right, OperatorDivFunc()); }
void ObjectVector::OperatorMod(const Object& right) { Broadcast(right, OperatorModFunc()); }
void ObjectVector::OperatorIntDiv(const Object& right) { Broadcast(right, OperatorIntDivFunc()); }
void ObjectVector::OperatorMul(const Object& right) { Broadcast(right, OperatorMulFunc()); }
void ObjectVector::OperatorPow(const Object& right) { Broadcast(right, OperatorPowFunc()); }
void ObjectVector::OperatorEqual(const Object& right) { Broadcast(right, OperatorEqualFunc()); }
void ObjectVector::OperatorNotEqual(const Object& right) {
    Broadcast(right, OperatorNotEqualFunc());
}
void ObjectVector::OperatorLt(const Object& right) { Broadcast(right, OperatorLtFunc()); }
void ObjectVector::OperatorGt(const Object& right) { Broadcast(right, OperatorGtFunc()); }
void ObjectVector::OperatorLe(const Object& right) { Broadcast(right, OperatorLeFunc()); }
void ObjectVector::OperatorGe(const Object& right) { Broadcast(right, OperatorGeFunc()); }

Object* ObjectVector::OperatorLand(const LazyOperand& right) {
    BroadcastEvaluated(right, OperatorLandFunc());
    return nullptr;
}

Object* ObjectVector::OperatorLor(const LazyOperand& right) {
    BroadcastEvaluated(right, OperatorLorFunc());
    return nullptr;
}

Object* ObjectVector::OperatorLxor(const LazyOperand& right) {
    BroadcastEvaluated(right, OperatorLxorFunc());
    return nullptr;
}

// --- Selection, copies, pooling --------------------------------------------

Object* ObjectVector::Filter(const BitVector& mask) {
    const size_t end = std::min(items.size(), mask.size());
    size_t kept = 0;
    for (size_t i = 0; i < end; ++i) {
        if (mask[i]) items[kept++] = std::move(items[i]);
    }
    items.resize(kept);
    AddRef(this);
    return this;
}

void ObjectVector::Scatter(const Object& values, const BitVector& mask) {
    const size_t end = std::min(items.size(), mask.size());
    unsigned k = 0;
    for (size_t i = 0; i < end; ++i) {
        if (!mask[i]) continue;
        PtrWrapper value(values.GetItem(k++, false));
        if (value) items[i] = std::move(value);
    }
}

Object* ObjectVector::Sum() const {
    ReportSumFunc sum;
    return Report(sum);
}

Object* ObjectVector::Clone() const {
    PtrWrapper copy(CurrentFactory()->CreateObjectVector(environment));
    copy->Assign(*this, true);
    return copy.Detach();
}

void ObjectVector::Recycle() {
    if (items.capacity() > ObjectFactory::PooledCapacity) std::vector<PtrWrapper>().swap(items);
    CurrentFactory()->RecycleObjectVector(this);
}

}  // namespace CalcEngine
