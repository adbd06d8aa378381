// The "String" value. Its text doubles as a list: read as numbers, or split
// into items at the context's item separator. It outranks every scalar and
// the number list, so anything on the left of a string becomes a string.
#pragma once

#include <cstdint>

#include "values/Object.h"
#include "values/OperatorTable.h"

namespace CalcEngine {

class NumberVectorObject;

class StringObject : public Object {
public:
    ORDO_DECLARE_VALUE_TYPE

    StringObject() : Object(Type::Instance()) {}

    void Dump(WString& out, int options) const override;
    void Clear() override { text.clear(); }
    void GetInt(int32_t& out) const override;
    // The first word of the text, read through the current context.
    void GetNumber(double& out) const override;
    void GetText(WString& out) const override { out = text; }
    void AppendToNumbers(DoubleVector& out, bool skipNulls) const override;
    // Replaces `out` by the items of the text.
    void AppendToStrings(StringVector& out) const override;
    // The text with its terminator; the empty text gives no buffer.
    void ToResult(DTCalcResult& out) const override;
    void SetNumber(double value) override;
    void SetText(const WString& value) override { text = value; }
    void SetFromNumbers(const DoubleVector& numbers) override;
    // Joins the strings with the context's item separator.
    void SetFromStrings(const StringVector& strings) override;
    void Shift(int n) override;
    Object* Reverse() override;
    // A string of item `index`; null past the last item.
    Object* GetItem(unsigned index, bool across) const override;
    void Assign(const Object& src, bool whole) override;
    bool IsScalar() const override { return false; }
    bool IsNumeric() const override { return true; }
    // The number of items.
    unsigned Size() const override;

    void UnaryPlus() override {}
    void UnaryMinus() override;
    // Appends the right operand's text; raises instead where the text would
    // pass the limit, which a loop of appends could otherwise reach.
    void OperatorPlus(const Object& right) override;
    // Arithmetic other than plus leaves the text and warns.
    void OperatorMinus(const Object& right) override;
    void OperatorDiv(const Object& right) override;
    void OperatorMod(const Object& right) override;
    void OperatorIntDiv(const Object& right) override;
    void OperatorMul(const Object& right) override;
    void OperatorPow(const Object& right) override;
    // Applied to the text read as numbers: Void, a Number or a number list,
    // which is returned unless the operator replaces it in turn.
    Object* OperatorLand(const LazyOperand& right) override;
    Object* OperatorLor(const LazyOperand& right) override;
    Object* OperatorLxor(const LazyOperand& right) override;
    // Compare by UTF-16 code units; the text becomes "1" or "0".
    void OperatorEqual(const Object& right) override;
    void OperatorNotEqual(const Object& right) override;
    void OperatorLt(const Object& right) override;
    void OperatorGt(const Object& right) override;
    void OperatorLe(const Object& right) override;
    void OperatorGe(const Object& right) override;
    void OperatorLnot() override;

    // Keeps the items whose bit is set, joined again; answers this text.
    Object* Filter(const BitVector& mask) override;
    // The selected items, in order, become the items of `values`.
    void Scatter(const Object& values, const BitVector& mask) override;
    // The sum of the text's numbers.
    Object* Sum() const override;
    Object* Clone() const override;
    void Recycle() override;

    // Character `index` becomes the low 16 bits of the item's integer; a
    // shorter text is first extended with blanks.
    void SetItem(unsigned index, const Object& item);
    // A character of the text (0 outside it). Counts characters, where
    // GetItem counts items.
    Object* GetItemAt(const Object& index) const;

    WString text;

private:
    // The text's numbers in a pooled list; one reference for the caller.
    NumberVectorObject* ReadNumberList() const;
    // The same as Void, a Number or, for two or more, the list.
    Object* ReadNumberObject() const;
    Object* ApplyLogical(Object* (Object::*op)(const LazyOperand&), const LazyOperand& right);
    // Runs a unary operator of the number list over the text's numbers and
    // writes them back.
    void RewriteNumbers(void (Object::*op)());
    void WarnUnsupported(BinaryOperator op) const;
    template <class Test>
    void CompareWith(const Object& right, Test test);
};

}  // namespace CalcEngine
