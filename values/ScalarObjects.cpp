#include "values/ScalarObjects.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "values/DivisionFault.h"
#include "values/Exception.h"
#include "values/ListFunctors.h"
#include "values/NumberText.h"
#include "values/NumberVectorObject.h"
#include "values/ObjectFactory.h"
#include "values/StringObject.h"

namespace CalcEngine {

#define ORDO_DEFINE_VALUE_TYPE(Class, name, rank, create)         \
    const Class::Type& Class::Type::Instance() {                  \
        static const Type instance;                               \
        return instance;                                          \
    }                                                             \
    Object* Class::Type::Create(Environment* environment) const { \
        return CurrentFactory()->create(environment);             \
    }                                                             \
    const char16_t* Class::Type::Name() const { return name; }    \
    uint32_t Class::Type::Rank() const { return rank; }

ORDO_DEFINE_VALUE_TYPE(EmptyObject, u"Void", 1, CreateEmpty)
ORDO_DEFINE_VALUE_TYPE(CharObject, u"Character", 2, CreateChar)
ORDO_DEFINE_VALUE_TYPE(IntObject, u"Integer", 3, CreateInt)
ORDO_DEFINE_VALUE_TYPE(FloatObject, u"Number", 4, CreateFloat)
ORDO_DEFINE_VALUE_TYPE(BoolObject, u"Boolean", 100, CreateBool)
#undef ORDO_DEFINE_VALUE_TYPE

namespace {

int32_t IntOf(const Object& object) {
    int32_t value;
    object.GetInt(value);
    return value;
}

double NumberOf(const Object& object) {
    double value;
    object.GetNumber(value);
    return value;
}

bool TruthOf(const Object& object) { return IntOf(object) != 0; }

double Flag(bool condition) { return condition ? 1.0 : 0.0; }

// Plus, minus and mul of 32-bit integers wrap around modulo 2^32.
int32_t Wrap(uint32_t value) { return static_cast<int32_t>(value); }

// a to the b by binary exponentiation in double arithmetic, truncated to 32
// bits; a negative b takes the reciprocal first, so 2 to the -1 is 0.
// 0 to the 0 is 0.
int32_t IntPower(int32_t a, int32_t b) {
    if (a == 0 && b == 0) return 0;
    double result = 1.0;
    double factor = a;
    uint32_t exponent = b < 0 ? 0u - static_cast<uint32_t>(b) : static_cast<uint32_t>(b);
    for (; exponent != 0; exponent >>= 1) {
        if (exponent & 1) result *= factor;
        factor *= factor;
    }
    return TruncateToInt32(b < 0 ? 1.0 / result : result);
}

bool IsSpace(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }

// The decimal integer at the start of `text` after blanks, as a stream reads
// it: an optional sign, then digits; out of range gives the nearest limit,
// no digits give 0.
int32_t IntegerPrefix(const WString& text) {
    size_t i = 0;
    while (i < text.size() && IsSpace(text[i])) ++i;
    bool negative = i < text.size() && text[i] == u'-';
    if (i < text.size() && (text[i] == u'-' || text[i] == u'+')) ++i;
    constexpr long long Limit = 1LL << 31;
    long long magnitude = 0;
    for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i) {
        magnitude = std::min(magnitude * 10 + (text[i] - u'0'), Limit);
    }
    return static_cast<int32_t>(negative ? -magnitude : std::min(magnitude, Limit - 1));
}

bool EqualsIgnoringCase(const WString& text, std::u16string_view word) {
    auto lower = [](char16_t c) { return c >= u'A' && c <= u'Z' ? char16_t(c - u'A' + u'a') : c; };
    return std::equal(text.begin(), text.end(), word.begin(), word.end(),
                      [&](char16_t a, char16_t b) { return lower(a) == lower(b); });
}

}  // namespace

// Void.

void EmptyObject::AppendToNumbers(DoubleVector& out, bool skipNulls) const {
    out.values.clear();
    out.defaultValue = NullNumber();
    if (!skipNulls) out.values.push_back(NullNumber());
}

Object* EmptyObject::Clone() const { return CurrentFactory()->CreateEmpty(environment); }

void EmptyObject::Recycle() { CurrentFactory()->RecycleEmpty(this); }

// Logical operators of the valued classes.

bool ValueObject::IsTrue() const { return NumberOf(*this) != 0.0; }

Object* ValueObject::OperatorLand(const LazyOperand& right) {
    return IsTrue() ? Combine(right, Logic::And) : nullptr;
}

Object* ValueObject::OperatorLor(const LazyOperand& right) {
    return IsTrue() ? nullptr : Combine(right, Logic::Or);
}

Object* ValueObject::OperatorLxor(const LazyOperand& right) { return Combine(right, Logic::Xor); }

// Evaluates the right side and combines it with this value. A scalar result
// (or none, which reads as null and so as true) leaves this object the
// accumulator; a list result becomes the new accumulator.
Object* ValueObject::Combine(const LazyOperand& right, Logic logic) {
    bool left = IsTrue();
    PtrWrapper value(right.Evaluate());
    if (!value || value->IsScalar()) {
        bool other = !value || NumberOf(*value) != 0.0;
        SetNumber(Flag(logic == Logic::Xor ? left != other : other));
        return nullptr;
    }
    PtrWrapper list(CurrentFactory()->CreateNumberVector(environment));
    list->Assign(*value, true);
    std::vector<double>& elements = static_cast<NumberVectorObject&>(*list).values;
    auto apply = [&](auto func) { std::for_each(elements.begin(), elements.end(), func); };
    double scalar = NumberOf(*this);
    switch (logic) {
        case Logic::And:
            apply(CalcUtilities::BinScalarLAndFunc{scalar});
            break;
        case Logic::Or:
            apply(CalcUtilities::BinScalarLOrFunc{scalar});
            break;
        case Logic::Xor:
            apply(CalcUtilities::BinScalarLXOrFunc{scalar});
            break;
    }
    return list.Detach();
}

Object* ValueObject::Clone() const {
    Object* copy = GetType().Create(environment);
    copy->Assign(*this, true);
    return copy;
}

void ValueObject::DumpValue(WString& out, const WString& text) const {
    out += u'(';
    out += GetType().Name();
    out += u") ";
    out += text;
}

// Boolean: the right operand is cut to an integer and tested against 0.

void BoolObject::Dump(WString& out, int) const { DumpValue(out, value ? u"1" : u"0"); }

void BoolObject::SetText(const WString& text) {
    value = EqualsIgnoringCase(text, u"true") || EqualsIgnoringCase(text, u"t");
}

// A text promotes by its words ("true" is true); anything else by its
// integer value, so 0.5 and null are false.
void BoolObject::Assign(const Object& src, bool) {
    if (src.GetType().IsA(StringObject::Type::Instance())) {
        WString text;
        src.GetText(text);
        SetText(text);
    } else {
        value = TruthOf(src);
    }
}

void BoolObject::OperatorPlus(const Object& right) { value = value || TruthOf(right); }
void BoolObject::OperatorMinus(const Object& right) { value = value && !TruthOf(right); }
void BoolObject::OperatorMul(const Object& right) { value = value && TruthOf(right); }
void BoolObject::OperatorDiv(const Object& right) { value = value && TruthOf(right); }
void BoolObject::OperatorMod(const Object& right) { value = value && TruthOf(right); }
void BoolObject::OperatorIntDiv(const Object& right) { value = value && TruthOf(right); }
void BoolObject::OperatorPow(const Object&) { value = true; }
void BoolObject::OperatorEqual(const Object& right) { value = value == TruthOf(right); }
void BoolObject::OperatorNotEqual(const Object& right) { value = value != TruthOf(right); }
void BoolObject::OperatorLt(const Object& right) { value = value < TruthOf(right); }
void BoolObject::OperatorGt(const Object& right) { value = value > TruthOf(right); }
void BoolObject::OperatorLe(const Object& right) { value = value <= TruthOf(right); }
void BoolObject::OperatorGe(const Object& right) { value = value >= TruthOf(right); }

// Character: 16-bit unsigned arithmetic on the low 16 bits of the right
// operand; division is 32-bit signed, its result cut to 16 bits.

namespace {
char16_t Low16(int32_t value) { return static_cast<char16_t>(value); }
}  // namespace

void CharObject::Dump(WString& out, int) const { DumpValue(out, WString(1, value)); }

void CharObject::SetNumber(double number) { value = Low16(NumberToInt32(number)); }
void CharObject::SetText(const WString& text) { value = Low16(IntegerPrefix(text)); }
void CharObject::Assign(const Object& src, bool) { value = Low16(IntOf(src)); }

void CharObject::UnaryMinus() { value = static_cast<char16_t>(0u - value); }

void CharObject::OperatorPlus(const Object& right) {
    value = static_cast<char16_t>(uint32_t{value} + Low16(IntOf(right)));
}
void CharObject::OperatorMinus(const Object& right) {
    value = static_cast<char16_t>(uint32_t{value} - Low16(IntOf(right)));
}
void CharObject::OperatorMul(const Object& right) {
    value = static_cast<char16_t>(uint32_t{value} * Low16(IntOf(right)));
}
void CharObject::OperatorDiv(const Object& right) {
    int32_t b = IntOf(right);
    if (b == 0) RaiseMathError();
    value = Low16(FaultingQuotient(value, b));
}
void CharObject::OperatorMod(const Object& right) {
    int32_t b = IntOf(right);
    if (b == 0) RaiseMathError();
    value = Low16(FaultingRemainder(value, b));
}
// Deliberately only the low 8 bits of the power: 2 to the 9 is 0.
void CharObject::OperatorPow(const Object& right) {
    value = static_cast<char16_t>(IntPower(value, IntOf(right)) & 0xFF);
}
void CharObject::OperatorEqual(const Object& right) { value = value == Low16(IntOf(right)); }
void CharObject::OperatorNotEqual(const Object& right) { value = value != Low16(IntOf(right)); }
void CharObject::OperatorLt(const Object& right) { value = value < Low16(IntOf(right)); }
void CharObject::OperatorGt(const Object& right) { value = value > Low16(IntOf(right)); }
void CharObject::OperatorLe(const Object& right) { value = value <= Low16(IntOf(right)); }
void CharObject::OperatorGe(const Object& right) { value = value >= Low16(IntOf(right)); }

// Integer: 32-bit signed, wrapping without a message.

void IntObject::Dump(WString& out, int) const { DumpValue(out, ToDecimal(value)); }

void IntObject::SetText(const WString& text) { value = IntegerPrefix(text); }
void IntObject::Assign(const Object& src, bool) { value = IntOf(src); }

void IntObject::UnaryMinus() { value = Wrap(0u - static_cast<uint32_t>(value)); }

void IntObject::OperatorPlus(const Object& right) {
    value = Wrap(static_cast<uint32_t>(value) + static_cast<uint32_t>(IntOf(right)));
}
void IntObject::OperatorMinus(const Object& right) {
    value = Wrap(static_cast<uint32_t>(value) - static_cast<uint32_t>(IntOf(right)));
}
void IntObject::OperatorMul(const Object& right) {
    value = Wrap(static_cast<uint32_t>(value) * static_cast<uint32_t>(IntOf(right)));
}
void IntObject::OperatorDiv(const Object& right) {
    int32_t b = IntOf(right);
    if (b == 0) RaiseMathError();
    value = FaultingQuotient(value, b);
}
void IntObject::OperatorMod(const Object& right) {
    int32_t b = IntOf(right);
    if (b == 0) RaiseMathError();
    value = FaultingRemainder(value, b);
}
void IntObject::OperatorPow(const Object& right) { value = IntPower(value, IntOf(right)); }
void IntObject::OperatorEqual(const Object& right) { value = value == IntOf(right); }
void IntObject::OperatorNotEqual(const Object& right) { value = value != IntOf(right); }
void IntObject::OperatorLt(const Object& right) { value = value < IntOf(right); }
void IntObject::OperatorGt(const Object& right) { value = value > IntOf(right); }
void IntObject::OperatorLe(const Object& right) { value = value <= IntOf(right); }
void IntObject::OperatorGe(const Object& right) { value = value >= IntOf(right); }

void IntObject::Recycle() { CurrentFactory()->RecycleInt(this); }

// Number: IEEE arithmetic; a failed division yields null, never an error.

void FloatObject::Dump(WString& out, int) const {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    DumpValue(out, CalcEngine::Widen(text));
}

void FloatObject::GetText(WString& out) const {
    out.clear();
    FormatNumber(value, out);
}

void FloatObject::SetText(const WString& text) { value = ParseNumber(text); }
void FloatObject::Assign(const Object& src, bool) { value = NumberOf(src); }

void FloatObject::OperatorPlus(const Object& right) { value += NumberOf(right); }
void FloatObject::OperatorMinus(const Object& right) { value -= NumberOf(right); }
void FloatObject::OperatorMul(const Object& right) { value *= NumberOf(right); }
// A null divisor is not 0.0: the division itself makes the NaN.
void FloatObject::OperatorDiv(const Object& right) {
    double b = NumberOf(right);
    value = b == 0.0 ? NullNumber() : value / b;
}
void FloatObject::OperatorIntDiv(const Object& right) {
    double b = NumberOf(right);
    value = b == 0.0 ? NullNumber() : NumberToInt32(value / b);
}
// The remainder of the integer parts: 7.5 mod 2.9 is 1, 7.5 mod 0.5 is null.
void FloatObject::OperatorMod(const Object& right) {
    int32_t b = IntOf(right);
    value = b == 0 ? NullNumber() : FaultingRemainder(NumberToInt32(value), b);
}
void FloatObject::OperatorPow(const Object& right) {
    double b = NumberOf(right);
    value = value == 0.0 && b == 0.0 ? 0.0 : std::pow(value, b);
}
// Comparisons are exact; IEEE rules make every comparison with null false,
// except "not equal".
void FloatObject::OperatorEqual(const Object& right) { value = Flag(value == NumberOf(right)); }
void FloatObject::OperatorNotEqual(const Object& right) { value = Flag(value != NumberOf(right)); }
void FloatObject::OperatorLt(const Object& right) { value = Flag(value < NumberOf(right)); }
void FloatObject::OperatorGt(const Object& right) { value = Flag(value > NumberOf(right)); }
void FloatObject::OperatorLe(const Object& right) { value = Flag(value <= NumberOf(right)); }
void FloatObject::OperatorGe(const Object& right) { value = Flag(value >= NumberOf(right)); }

void FloatObject::Recycle() { CurrentFactory()->RecycleFloat(this); }

}  // namespace CalcEngine
