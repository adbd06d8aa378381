// The "Numberlist" value: a DoubleVector with the Object interface. Every
// operator works element by element; the default value stands for each
// position past the end, which is how a scalar spreads over a list and how
// lists of unequal length meet.
#pragma once

#include <cstdint>

#include "values/Object.h"
#include "values/Vectors.h"

namespace CalcEngine {

class NumberVectorObject : public Object, public DoubleVector {
public:
    ORDO_DECLARE_VALUE_TYPE

    NumberVectorObject() : Object(Type::Instance()) {}

    void Dump(WString& out, int options) const override;
    void Clear() override;
    // The first element, or the default value of an empty list.
    void GetInt(int32_t& out) const override;
    void GetNumber(double& out) const override;
    // The elements in the context's number format, separated by its list
    // separator.
    void GetText(WString& out) const override;
    void AppendToNumbers(DoubleVector& out, bool skipNulls) const override;
    void AppendToStrings(StringVector& out) const override;
    // A count-prefixed list of doubles.
    void ToResult(DTCalcResult& out) const override;
    // Every element and the default value; an empty list gets one element.
    void SetNumber(double value) override;
    void SetText(const WString& text) override;
    void SetFromNumbers(const DoubleVector& numbers) override;
    void SetFromStrings(const StringVector& strings) override;
    void Shift(int n) override { DoubleVector::Shift(n); }
    Object* Reverse() override;
    // A number of element `index`; null past the end.
    Object* GetItem(unsigned index, bool across) const override;
    void Assign(const Object& src, bool whole) override;
    bool IsScalar() const override { return false; }
    bool IsNumeric() const override { return true; }
    unsigned Size() const override { return static_cast<unsigned>(values.size()); }
    bool IsSingleValue() const override { return values.size() < 2; }

    void UnaryPlus() override {}
    // Flips the sign bit of each element, null included.
    void UnaryMinus() override;
    void OperatorPlus(const Object& right) override;
    void OperatorMinus(const Object& right) override;
    void OperatorDiv(const Object& right) override;
    void OperatorMod(const Object& right) override;
    void OperatorIntDiv(const Object& right) override;
    void OperatorMul(const Object& right) override;
    void OperatorPow(const Object& right) override;
    // The list stays the accumulator: all three return null.
    Object* OperatorLand(const LazyOperand& right) override;
    Object* OperatorLor(const LazyOperand& right) override;
    Object* OperatorLxor(const LazyOperand& right) override;
    void OperatorEqual(const Object& right) override;
    void OperatorNotEqual(const Object& right) override;
    void OperatorLt(const Object& right) override;
    void OperatorGt(const Object& right) override;
    void OperatorLe(const Object& right) override;
    void OperatorGe(const Object& right) override;
    void OperatorLnot() override;

    // A list meets anything as it is.
    Object* WidenForPlus(Object&) override { return Retain(); }
    Object* WidenForMinus(Object&) override { return Retain(); }
    Object* WidenForDiv(Object&) override { return Retain(); }
    Object* WidenForMul(Object&) override { return Retain(); }
    Object* WidenForMod(Object&) override { return Retain(); }
    Object* WidenForPow(Object&) override { return Retain(); }
    Object* WidenForLogic(Object&) override { return Retain(); }
    Object* WidenForCompare(Object&) override { return Retain(); }

    // Compacts the list to the elements whose bit is set, stopping at the end
    // of either; answers this list.
    Object* Filter(const BitVector& mask) override;
    // The k-th set position takes the k-th number of `values`, read past its
    // end as its default value.
    void Scatter(const Object& values, const BitVector& mask) override;
    // The sum of the elements; a null element makes it null.
    Object* Sum() const override;
    Object* Clone() const override;
    void Recycle() override;

    // Element `index` becomes the item's number (the context's null value
    // for a Void item); a list too short is first grown with its default
    // value.
    void SetItem(unsigned index, const Object& item);
    // The value at position `index.GetInt()`, past the end the default
    // value: a Number, or Void for null.
    Object* GetItemAt(const Object& index) const;

private:
    Object* Retain() {
        AddRef(this);
        return this;
    }
};

}  // namespace CalcEngine
