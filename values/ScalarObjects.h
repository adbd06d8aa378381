// The five values that hold one scalar: Void, Boolean, Character, Integer
// and Number. Operators change the accumulator in place; the right operand
// is read through GetInt or GetNumber.
#pragma once

#include <cstdint>

#include "values/Object.h"

namespace CalcEngine {

// No value. Reads as 0, null or the empty text; as an accumulator every
// operator leaves it as it is, and a logical operator's right side is not
// evaluated.
class EmptyObject : public Object {
public:
    ORDO_DECLARE_VALUE_TYPE

    EmptyObject() : Object(Type::Instance()) {}

    void GetInt(int32_t& out) const override { out = 0; }
    void GetNumber(double& out) const override { out = NullNumber(); }
    void GetText(WString& out) const override { out.clear(); }
    void AppendToNumbers(DoubleVector& out, bool skipNulls) const override;
    void AppendToStrings(StringVector& out) const override { out.clear(); }
    void SetNumber(double) override {}
    void SetText(const WString&) override {}
    void Assign(const Object&, bool) override {}

    void UnaryPlus() override {}
    void UnaryMinus() override {}
    void OperatorPlus(const Object&) override {}
    void OperatorMinus(const Object&) override {}
    void OperatorDiv(const Object&) override {}
    void OperatorMod(const Object&) override {}
    void OperatorIntDiv(const Object&) override {}
    void OperatorMul(const Object&) override {}
    void OperatorPow(const Object&) override {}
    Object* OperatorLand(const LazyOperand&) override { return nullptr; }
    Object* OperatorLor(const LazyOperand&) override { return nullptr; }
    Object* OperatorLxor(const LazyOperand&) override { return nullptr; }
    void OperatorEqual(const Object&) override {}
    void OperatorNotEqual(const Object&) override {}
    void OperatorLt(const Object&) override {}
    void OperatorGt(const Object&) override {}
    void OperatorLe(const Object&) override {}
    void OperatorGe(const Object&) override {}
    void OperatorLnot() override {}

    Object* Clone() const override;
    void Recycle() override;
};

// What the four classes with a value share: the logical operators, which
// take the right side unevaluated and cut short, and the common answers.
class ValueObject : public Object {
public:
    using Object::Object;

    bool IsNumeric() const override { return true; }
    bool IsSingleValue() const override { return true; }
    // Each returns null, or a number list when the right side gave a list.
    Object* OperatorLand(const LazyOperand& right) override;
    Object* OperatorLor(const LazyOperand& right) override;
    Object* OperatorLxor(const LazyOperand& right) override;
    Object* Clone() const override;

protected:
    // "(", the type's name, ") " and the value's text.
    void DumpValue(WString& out, const WString& text) const;

private:
    enum class Logic { And, Or, Xor };
    // Whether the value counts as true in a logical operator; null does.
    bool IsTrue() const;
    Object* Combine(const LazyOperand& right, Logic logic);
};

class BoolObject : public ValueObject {
public:
    ORDO_DECLARE_VALUE_TYPE

    explicit BoolObject(bool value = false) : ValueObject(Type::Instance()), value(value) {}

    void Dump(WString& out, int options) const override;
    void Clear() override { value = false; }
    void GetInt(int32_t& out) const override { out = value; }
    void GetNumber(double& out) const override { out = value; }
    void GetText(WString& out) const override { out = value ? u"true" : u"false"; }
    void SetNumber(double number) override { value = !IsNull(number) && number != 0.0; }
    void SetText(const WString& text) override;
    void Assign(const Object& src, bool whole) override;

    void UnaryPlus() override {}
    void UnaryMinus() override { value = !value; }
    void OperatorPlus(const Object& right) override;
    void OperatorMinus(const Object& right) override;
    void OperatorDiv(const Object& right) override;
    void OperatorMod(const Object& right) override;
    void OperatorIntDiv(const Object& right) override;
    void OperatorMul(const Object& right) override;
    void OperatorPow(const Object& right) override;
    void OperatorEqual(const Object& right) override;
    void OperatorNotEqual(const Object& right) override;
    void OperatorLt(const Object& right) override;
    void OperatorGt(const Object& right) override;
    void OperatorLe(const Object& right) override;
    void OperatorGe(const Object& right) override;
    void OperatorLnot() override { value = !value; }

    bool value;
};

class CharObject : public ValueObject {
public:
    ORDO_DECLARE_VALUE_TYPE

    explicit CharObject(char16_t value = 0) : ValueObject(Type::Instance()), value(value) {}

    void Dump(WString& out, int options) const override;
    void Clear() override { value = 0; }
    void GetInt(int32_t& out) const override { out = value; }
    void GetNumber(double& out) const override { out = value; }
    // The character itself, not its code.
    void GetText(WString& out) const override { out.assign(1, value); }
    void SetNumber(double number) override;
    void SetText(const WString& text) override;
    void Assign(const Object& src, bool whole) override;

    void UnaryPlus() override {}
    void UnaryMinus() override;
    void OperatorPlus(const Object& right) override;
    void OperatorMinus(const Object& right) override;
    void OperatorDiv(const Object& right) override;
    void OperatorMod(const Object& right) override;
    void OperatorIntDiv(const Object& right) override { OperatorDiv(right); }
    void OperatorMul(const Object& right) override;
    void OperatorPow(const Object& right) override;
    void OperatorEqual(const Object& right) override;
    void OperatorNotEqual(const Object& right) override;
    void OperatorLt(const Object& right) override;
    void OperatorGt(const Object& right) override;
    void OperatorLe(const Object& right) override;
    void OperatorGe(const Object& right) override;
    void OperatorLnot() override { value = value == 0; }

    char16_t value;
};

class IntObject : public ValueObject {
public:
    ORDO_DECLARE_VALUE_TYPE

    explicit IntObject(int32_t value = 0) : ValueObject(Type::Instance()), value(value) {}

    void Dump(WString& out, int options) const override;
    void Clear() override { value = 0; }
    void GetInt(int32_t& out) const override { out = value; }
    void GetNumber(double& out) const override { out = value; }
    void GetText(WString& out) const override { out = ToDecimal(value); }
    void SetNumber(double number) override { value = NumberToInt32(number); }
    void SetText(const WString& text) override;
    void Assign(const Object& src, bool whole) override;

    void UnaryPlus() override {}
    void UnaryMinus() override;
    void OperatorPlus(const Object& right) override;
    void OperatorMinus(const Object& right) override;
    void OperatorDiv(const Object& right) override;
    void OperatorMod(const Object& right) override;
    void OperatorIntDiv(const Object& right) override { OperatorDiv(right); }
    void OperatorMul(const Object& right) override;
    void OperatorPow(const Object& right) override;
    void OperatorEqual(const Object& right) override;
    void OperatorNotEqual(const Object& right) override;
    void OperatorLt(const Object& right) override;
    void OperatorGt(const Object& right) override;
    void OperatorLe(const Object& right) override;
    void OperatorGe(const Object& right) override;
    void OperatorLnot() override { value = value == 0; }

    void Recycle() override;

    int32_t value;
};

class FloatObject : public ValueObject {
public:
    ORDO_DECLARE_VALUE_TYPE

    explicit FloatObject(double value = 0.0) : ValueObject(Type::Instance()), value(value) {}

    void Dump(WString& out, int options) const override;
    void Clear() override { value = 0.0; }
    void GetInt(int32_t& out) const override { out = NumberToInt32(value); }
    void GetNumber(double& out) const override { out = value; }
    // The current context's number format: 4 decimals, "NULL" for null.
    void GetText(WString& out) const override;
    void SetNumber(double number) override { value = number; }
    // Read through the current context; "NULL" may raise NullValueException.
    void SetText(const WString& text) override;
    void Assign(const Object& src, bool whole) override;

    void UnaryPlus() override {}
    void UnaryMinus() override { value = -value; }
    void OperatorPlus(const Object& right) override;
    void OperatorMinus(const Object& right) override;
    void OperatorDiv(const Object& right) override;
    void OperatorMod(const Object& right) override;
    void OperatorIntDiv(const Object& right) override;
    void OperatorMul(const Object& right) override;
    void OperatorPow(const Object& right) override;
    void OperatorEqual(const Object& right) override;
    void OperatorNotEqual(const Object& right) override;
    void OperatorLt(const Object& right) override;
    void OperatorGt(const Object& right) override;
    void OperatorLe(const Object& right) override;
    void OperatorGe(const Object& right) override;
    void OperatorLnot() override { value = value == 0.0 ? 1.0 : 0.0; }

    void Recycle() override;

    double value;
};

}  // namespace CalcEngine
