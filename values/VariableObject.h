// The storage of a local variable: holds a value object, or nothing while
// the variable is undefined. Reading an undefined variable is an error;
// assigning to it defines it.
#pragma once

#include <cstdint>

#include "values/Object.h"

namespace CalcEngine {

class VariableObject : public Object {
public:
    class Type : public CalcEngine::Type {
    public:
        static const Type& Instance();
        const char16_t* Name() const override { return u"VariableObject"; }

    private:
        // Indirect: an operator reaches the value through the variable, never
        // the variable itself.
        Type() : CalcEngine::Type(&CalcEngine::Type::Root(), true) {}
    };

    VariableObject() : Object(Type::Instance()) {}

    void Dump(WString& out, int options) const override;
    // Leaves the variable undefined.
    void Clear() override { target.Reset(nullptr); }
    void GetInt(int32_t& out) const override { Defined().GetInt(out); }
    void GetNumber(double& out) const override { Defined().GetNumber(out); }
    void GetText(WString& out) const override { Defined().GetText(out); }
    void AppendToNumbers(DoubleVector& out, bool skipNulls) const override {
        Defined().AppendToNumbers(out, skipNulls);
    }
    void AppendToStrings(StringVector& out) const override { Defined().AppendToStrings(out); }
    // The setters define an undefined variable with a value of their kind.
    void SetNumber(double value) override;
    void SetText(const WString& text) override;
    void SetFromNumbers(const DoubleVector& numbers) override;
    void SetFromStrings(const StringVector& strings) override;
    // Assigns to the value in place; an undefined variable (or one whose
    // value is an empty proxy) takes a copy of `src`, or of what a proxy
    // `src` stands for.
    void Assign(const Object& src, bool whole) override;
    bool IsScalar() const override { return Defined().IsScalar(); }
    unsigned Size() const override { return Defined().Size(); }

    // The widenings work on a copy of the value: an operator changes its
    // accumulator in place, and must not change the variable.
    Object* WidenForPlus(Object& other) override { return WorkingCopy()->WidenForPlus(other); }
    Object* WidenForMinus(Object& other) override { return WorkingCopy()->WidenForMinus(other); }
    Object* WidenForDiv(Object& other) override { return WorkingCopy()->WidenForDiv(other); }
    Object* WidenForMul(Object& other) override { return WorkingCopy()->WidenForMul(other); }
    Object* WidenForMod(Object& other) override { return WorkingCopy()->WidenForMod(other); }
    Object* WidenForPow(Object& other) override { return WorkingCopy()->WidenForPow(other); }
    Object* WidenForCompare(Object& other) override {
        return WorkingCopy()->WidenForCompare(other);
    }

    // A copy of the value, or Void while undefined; its count is stored as 0.
    Object* Dereference() override;
    bool IsProxy() const override { return true; }
    Object* Target() const override { return target.Get(); }
    Object* Clone() const override;
    void Recycle() override;

private:
    // The value; raises "illegal usage of undefined variable" while undefined.
    const Object& Defined() const;
    PtrWrapper WorkingCopy() const;
    // Defines an undefined variable with `value` (one reference taken over).
    void Define(Object* value);

    PtrWrapper target;
};

}  // namespace CalcEngine
