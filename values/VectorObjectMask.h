// A view of some positions of a list, chosen by a mask. Reading gives the
// selection; writing changes only the selected positions of the target.
#pragma once

#include <cstdint>

#include "values/Object.h"

namespace CalcEngine {

class VectorObjectMask : public Object {
public:
    class Type : public CalcEngine::Type {
    public:
        static const Type& Instance();
        const char16_t* Name() const override { return u"VectorObjectMask"; }

    private:
        // Indirect: an operator meets the selection, never the mask itself.
        Type() : CalcEngine::Type(&CalcEngine::Type::Root(), true) {}
    };

    VectorObjectMask() : Object(Type::Instance()) {}

    void Dump(WString& out, int options) const override { Selection()->Dump(out, options); }
    void Clear() override;
    void GetInt(int32_t& out) const override { Selection()->GetInt(out); }
    void GetNumber(double& out) const override { Selection()->GetNumber(out); }
    void GetText(WString& out) const override { Selection()->GetText(out); }
    void AppendToNumbers(DoubleVector& out, bool skipNulls) const override {
        Selection()->AppendToNumbers(out, skipNulls);
    }
    void AppendToStrings(StringVector& out) const override { Selection()->AppendToStrings(out); }
    // The setters change the selection and write it back into the selected
    // positions of the target.
    void SetNumber(double value) override;
    void SetText(const WString& text) override;
    void SetFromNumbers(const DoubleVector& numbers) override;
    void SetFromStrings(const StringVector& strings) override;
    void Assign(const Object& src, bool whole) override;
    bool IsScalar() const override { return Selection()->IsScalar(); }
    unsigned Size() const override { return Selection()->Size(); }

    // An operator never reaches a mask: it is widened into its selection
    // first. All of them do nothing, but for "not equal", which keeps the
    // error of Object.
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
    void OperatorLt(const Object&) override {}
    void OperatorGt(const Object&) override {}
    void OperatorLe(const Object&) override {}
    void OperatorGe(const Object&) override {}
    void OperatorLnot() override {}

    Object* WidenForPlus(Object& other) override { return Selection()->WidenForPlus(other); }
    Object* WidenForMinus(Object& other) override { return Selection()->WidenForMinus(other); }
    Object* WidenForDiv(Object& other) override { return Selection()->WidenForDiv(other); }
    Object* WidenForMul(Object& other) override { return Selection()->WidenForMul(other); }
    Object* WidenForMod(Object& other) override { return Selection()->WidenForMod(other); }
    Object* WidenForPow(Object& other) override { return Selection()->WidenForPow(other); }
    Object* WidenForCompare(Object& other) override { return Selection()->WidenForCompare(other); }

    // The selection, its count stored as 0.
    Object* Dereference() override;
    bool IsProxy() const override { return true; }
    Object* Target() const override { return target.Get(); }
    // A mask of the same target and positions.
    Object* Clone() const override;
    void Recycle() override;

    // The list the mask looks into, with one reference.
    PtrWrapper target;
    // One bit per position of the target; a position past its end is not
    // selected.
    BitVector mask;

private:
    // A copy of the target's value cut down to the selected positions.
    PtrWrapper Selection() const;
    // `change` on the selection, then the selection written back into the
    // target's selected positions.
    template <class Change>
    void Update(Change change);
};

}  // namespace CalcEngine
