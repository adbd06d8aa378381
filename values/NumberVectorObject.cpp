#include "values/NumberVectorObject.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "values/HostMemory.h"
#include "values/ICalcContext.h"
#include "values/ListFunctors.h"
#include "values/NumberText.h"
#include "values/ObjectFactory.h"
#include "values/ScalarObjects.h"

namespace CalcEngine {

using namespace CalcUtilities;

namespace {

char16_t ListSeparator() {
    ICalcContext* context = CurrentContext();
    return context ? context->GetSeparator4() : u' ';
}

double ContextNullValue() {
    ICalcContext* context = CurrentContext();
    return context ? context->GetNullValue() : NullNumber();
}

// Position i of `list` with position i of `right`, for every position of
// the longer one, the shorter reading as its default value; then the two
// default values.
template <class Func>
void CombineWithList(DoubleVector& list, const DoubleVector& right, Func op) {
    const size_t rightSize = right.values.size();
    if (list.values.size() < rightSize) list.Resize(rightSize);
    double* a = list.values.data();
    const double* b = right.values.data();
    const size_t size = list.values.size();
    size_t i = 0;
    for (; i < rightSize; ++i) op(a[i], b[i]);
    for (; i < size; ++i) op(a[i], right.defaultValue);
    op(list.defaultValue, right.defaultValue);
}

template <class Func>
void CombineWithScalar(DoubleVector& list, double b, Func op) {
    for (double& a : list.values) op(a, b);
    op(list.defaultValue, b);
}

// A binary operator on a list accumulator; only a right operand that is
// neither a list nor a scalar needs a temporary vector.
template <class Func>
void Combine(DoubleVector& list, const Object& right, Func op) {
    if (right.GetType().IsA(NumberVectorObject::Type::Instance())) {
        CombineWithList(list, static_cast<const NumberVectorObject&>(right), op);
    } else if (!right.IsScalar()) {
        DoubleVector numbers;
        right.AppendToNumbers(numbers, false);
        CombineWithList(list, numbers, op);
    } else {
        double b;
        right.GetNumber(b);
        CombineWithScalar(list, b, op);
    }
}

// Evaluates the right side of a logical operator and combines it; no value
// counts as null.
template <class Func>
void CombineWithOperand(NumberVectorObject& list, const LazyOperand& right, Func op) {
    PtrWrapper value(right.Evaluate());
    if (value) {
        Combine(list, *value, op);
    } else {
        CombineWithScalar(list, NullNumber(), op);
    }
}

}  // namespace

const NumberVectorObject::Type& NumberVectorObject::Type::Instance() {
    static const Type instance;
    return instance;
}

const char16_t* NumberVectorObject::Type::Name() const { return u"Numberlist"; }

uint32_t NumberVectorObject::Type::Rank() const { return 101; }

Object* NumberVectorObject::Type::Create(Environment* environment) const {
    return CurrentFactory()->CreateNumberVector(environment);
}

void NumberVectorObject::Dump(WString& out, int options) const {
    (void)options;
    WString text;
    GetText(text);
    out += text;
}

void NumberVectorObject::Clear() {
    values.clear();
    defaultValue = 0.0;
}

void NumberVectorObject::GetInt(int32_t& out) const { out = NumberToInt32(At(0)); }

void NumberVectorObject::GetNumber(double& out) const { out = At(0); }

void NumberVectorObject::GetText(WString& out) const {
    out.clear();
    const char16_t separator = ListSeparator();
    for (size_t i = 0; i < values.size(); ++i) {
        if (i) out += separator;
        FormatNumber(values[i], out);
    }
}

void NumberVectorObject::AppendToNumbers(DoubleVector& out, bool skipNulls) const {
    if (!skipNulls) {
        out.values = values;
        out.defaultValue = defaultValue;
        return;
    }
    out.values.reserve(values.size());
    std::copy_if(values.begin(), values.end(), std::back_inserter(out.values),
                 [](double x) { return !IsNull(x); });
}

void NumberVectorObject::AppendToStrings(StringVector& out) const {
    for (double x : values) {
        WString text;
        FormatNumber(x, text);
        out.push_back(std::move(text));
    }
}

void NumberVectorObject::ToResult(DTCalcResult& out) const {
    const uint64_t count = values.size();
    const size_t bytes = sizeof count + count * sizeof(double);
    auto* buffer = static_cast<unsigned char*>(AllocateHostMemory(bytes));
    std::memcpy(buffer, &count, sizeof count);
    if (count) std::memcpy(buffer + sizeof count, values.data(), count * sizeof(double));
    out.iResultBufferLength = static_cast<int32_t>(bytes);
    out.iType = ORDODLL_FUNCTION_RESULT_TYPE_NUMBERLIST;
    out.xResultBuffer = reinterpret_cast<char16_t*>(buffer);
}

void NumberVectorObject::SetNumber(double value) {
    defaultValue = value;
    if (values.empty()) {
        values.push_back(value);
    } else {
        std::fill(values.begin(), values.end(), value);
    }
}

void NumberVectorObject::SetText(const WString& text) {
    Clear();
    ReadNumbers(text, *this, false);
}

void NumberVectorObject::SetFromNumbers(const DoubleVector& numbers) {
    values = numbers.values;
    defaultValue = numbers.defaultValue;
}

void NumberVectorObject::SetFromStrings(const StringVector& strings) {
    Clear();
    for (const WString& text : strings) ReadNumbers(text, *this, false);
}

Object* NumberVectorObject::Reverse() {
    DoubleVector::Reverse();
    return this;
}

Object* NumberVectorObject::GetItem(unsigned index, bool across) const {
    (void)across;
    if (index >= values.size()) return nullptr;
    return CurrentFactory()->CreateFloat(environment, values[index]);
}

void NumberVectorObject::Assign(const Object& src, bool whole) {
    (void)whole;
    if (src.GetType().IsA(Type::Instance())) {
        SetFromNumbers(static_cast<const NumberVectorObject&>(src));
    } else if (src.IsScalar()) {
        double value;
        src.GetNumber(value);
        SetNumber(value);
    } else {
        DoubleVector numbers;
        src.AppendToNumbers(numbers, false);
        SetFromNumbers(numbers);
    }
}

void NumberVectorObject::UnaryMinus() {
    for (double& x : values) x = -x;
}

void NumberVectorObject::OperatorPlus(const Object& right) {
    Combine(*this, right, NVOperatorPlusFunc());
}
void NumberVectorObject::OperatorMinus(const Object& right) {
    Combine(*this, right, NVOperatorMinusFunc());
}
void NumberVectorObject::OperatorDiv(const Object& right) {
    Combine(*this, right, NVOperatorDivFunc());
}
void NumberVectorObject::OperatorMod(const Object& right) {
    Combine(*this, right, NVOperatorModFunc());
}
void NumberVectorObject::OperatorIntDiv(const Object& right) {
    Combine(*this, right, NVOperatorIntDivFunc());
}
void NumberVectorObject::OperatorMul(const Object& right) {
    Combine(*this, right, NVOperatorMulFunc());
}
void NumberVectorObject::OperatorPow(const Object& right) {
    Combine(*this, right, NVOperatorPowFunc());
}
void NumberVectorObject::OperatorEqual(const Object& right) {
    Combine(*this, right, NVOperatorEqualFunc());
}
void NumberVectorObject::OperatorNotEqual(const Object& right) {
    Combine(*this, right, NVOperatorNotEqualFunc());
}
void NumberVectorObject::OperatorLt(const Object& right) {
    Combine(*this, right, NVOperatorLtFunc());
}
void NumberVectorObject::OperatorGt(const Object& right) {
    Combine(*this, right, NVOperatorGtFunc());
}
void NumberVectorObject::OperatorLe(const Object& right) {
    Combine(*this, right, NVOperatorLeFunc());
}
void NumberVectorObject::OperatorGe(const Object& right) {
    Combine(*this, right, NVOperatorGeFunc());
}

// The short cuts read a null element as false; the functors read it as
// not 0.0.
Object* NumberVectorObject::OperatorLand(const LazyOperand& right) {
    if (std::any_of(values.begin(), values.end(), IsTrue)) {
        CombineWithOperand(*this, right, NVOperatorLandFunc());
    } else {
        std::fill(values.begin(), values.end(), 0.0);
    }
    return nullptr;
}

Object* NumberVectorObject::OperatorLor(const LazyOperand& right) {
    if (!std::all_of(values.begin(), values.end(), IsTrue)) {
        CombineWithOperand(*this, right, NVOperatorLorFunc());
    } else {
        std::fill(values.begin(), values.end(), 1.0);
    }
    return nullptr;
}

Object* NumberVectorObject::OperatorLxor(const LazyOperand& right) {
    CombineWithOperand(*this, right, NVOperatorLxorFunc());
    return nullptr;
}

void NumberVectorObject::OperatorLnot() {
    for (double& x : values) x = x == 0.0 ? 1.0 : 0.0;
}

Object* NumberVectorObject::Filter(const BitVector& mask) {
    const size_t size = std::min(values.size(), mask.size());
    size_t kept = 0;
    for (size_t i = 0; i < size; ++i) {
        if (mask[i]) values[kept++] = values[i];
    }
    values.resize(kept);
    AddRef(this);
    return this;
}

void NumberVectorObject::Scatter(const Object& source, const BitVector& mask) {
    DoubleVector numbers;
    source.AppendToNumbers(numbers, false);
    const size_t size = std::min(values.size(), mask.size());
    size_t k = 0;
    for (size_t i = 0; i < size; ++i) {
        if (mask[i]) values[i] = numbers.At(k++);
    }
}

Object* NumberVectorObject::Sum() const {
    return CurrentFactory()->CreateFloat(environment, DoubleVector::Sum());
}

Object* NumberVectorObject::Clone() const {
    PtrWrapper copy(CurrentFactory()->CreateNumberVector(environment));
    copy->Assign(*this, true);
    return copy.Detach();
}

void NumberVectorObject::Recycle() {
    if (values.capacity() > ObjectFactory::PooledCapacity) std::vector<double>().swap(values);
    CurrentFactory()->RecycleNumberVector(this);
}

void NumberVectorObject::SetItem(unsigned index, const Object& item) {
    double value;
    if (item.GetType().IsA(EmptyObject::Type::Instance())) {
        value = ContextNullValue();
    } else {
        item.GetNumber(value);
    }
    if (index >= values.size()) Resize(size_t{index} + 1);
    values[index] = value;
}

Object* NumberVectorObject::GetItemAt(const Object& index) const {
    int32_t i;
    index.GetInt(i);
    // A negative position lies past the end as well.
    const double value = i < 0 ? defaultValue : At(static_cast<size_t>(i));
    ObjectFactory& factory = *CurrentFactory();
    return IsNull(value) ? factory.CreateEmpty(environment)
                         : factory.CreateFloat(environment, value);
}

}  // namespace CalcEngine
