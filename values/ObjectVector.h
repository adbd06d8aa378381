// The "Itemlist" value: a list of objects, the top of the promotion ranks.
// Its operators apply to each item through the formula tree's binary
// operator core; its report functors fold the items into one value for the
// list functions. Both work in the environment the list was made in, which
// must be set.
#pragma once

#include <cstdint>
#include <vector>

#include "values/Object.h"

namespace CalcEngine {

class FloatObject;
class NumberVectorObject;

// `left op right` over two finished values, with one reference for the
// caller: the core of the formula tree's binary operators (BinOp::Apply).
// The value model cannot include the tree, so the tree installs it here.
using BinaryOperatorCore = Object* (*)(int32_t op, Environment& environment, Object& left,
                                       Object& right);
extern BinaryOperatorCore binaryOperatorCore;

class ObjectVector : public Object {
public:
    ORDO_DECLARE_VALUE_TYPE

    // Folds the items into one value: the first non-null item goes to
    // Start, every later one to Add, and Finish hands out the result.
    class ReportFunc {
    public:
        virtual ~ReportFunc() = default;
        // The result starts as a copy of the item's value.
        virtual void Start(Object& item);
        virtual void Add(Object& item) { (void)item; }
        // The result, with one reference for the caller.
        virtual Object* Finish() { return result.Detach(); }

    protected:
        // Released with the functor unless Finish has handed it out.
        PtrWrapper result;
    };

    // The sum, promoted as a binary plus promotes: 1 and 2.5 give 3.5.
    class ReportSumFunc : public ReportFunc {
    public:
        void Add(Object& item) override;
    };

    // A fold over numbers. The first item decides the mode: a scalar makes
    // the result a Number and every item is read as one number; anything
    // else makes it a Numberlist and every item is read as a list, the
    // shorter of two lists extended by its default value.
    class ReportNumericFunc : public ReportFunc {
    public:
        void Start(Object& item) override;

    protected:
        // Adds `item`: its number through `scalarOp` in scalar mode,
        // otherwise its numbers through `listOp`, position by position.
        template <class ScalarOp, class ListOp>
        void Combine(Object& item, ScalarOp scalarOp, ListOp listOp);
        FloatObject& Number() const;
        NumberVectorObject& Numbers() const;

        bool scalar = false;
    };

    class ReportMinFunc : public ReportNumericFunc {
    public:
        void Add(Object& item) override;
    };

    class ReportMaxFunc : public ReportNumericFunc {
    public:
        void Add(Object& item) override;
    };

    class ReportMeanFunc : public ReportNumericFunc {
    public:
        void Start(Object& item) override;
        void Add(Object& item) override;
        Object* Finish() override;

    private:
        int32_t count = 0;
    };

    ObjectVector() : Object(Type::Instance()) {}

    // Runs `func` over the non-null items: its result with one reference,
    // or a new Void for a list without items.
    Object* Report(ReportFunc& func) const;

    void Dump(WString& out, int options) const override;
    // Empties the list, releasing the items.
    void Clear() override { items.clear(); }
    // Always 0: a list of items has no single number.
    void GetInt(int32_t& out) const override;
    void GetNumber(double& out) const override;
    // The items' texts joined by the context's item separator.
    void GetText(WString& out) const override;
    void AppendToNumbers(DoubleVector& out, bool skipNulls) const override;
    void AppendToStrings(StringVector& out) const override;
    // The setters change every item, or the items and the numbers or
    // strings in step until either ends.
    void SetNumber(double value) override;
    void SetText(const WString& text) override;
    void SetFromNumbers(const DoubleVector& numbers) override;
    void SetFromStrings(const StringVector& strings) override;
    void Shift(int n) override;
    Object* Reverse() override;
    // Item `index` with one reference, null past the end. With `across`,
    // over a list of lists: a new list of item `index` of each item.
    Object* GetItem(unsigned index, bool across) const override;
    void Assign(const Object& src, bool whole) override;
    // A number meeting an item list on its right becomes a list of copies
    // of itself, one per item.
    void AssignPromoted(const Object& src, const Object& other) override;
    bool IsScalar() const override { return false; }
    unsigned Size() const override { return static_cast<unsigned>(items.size()); }

    // The operators apply to each item in turn; see Broadcast.
    void UnaryPlus() override;
    void UnaryMinus() override;
    void OperatorPlus(const Object& right) override;
    void OperatorMinus(const Object& right) override;
    void OperatorDiv(const Object& right) override;
    void OperatorMod(const Object& right) override;
    void OperatorIntDiv(const Object& right) override;
    void OperatorMul(const Object& right) override;
    void OperatorPow(const Object& right) override;
    // The right side is evaluated first, always: no short cut. The list
    // stays the accumulator: all three return null.
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

    // Keeps the items whose bit is set, dropping those past the mask's end.
    Object* Filter(const BitVector& mask) override;
    // The k-th set position takes item k of `values`; past its end the
    // position keeps its item.
    void Scatter(const Object& values, const BitVector& mask) override;
    Object* Sum() const override;
    Object* Clone() const override;
    void Recycle() override;

    // Takes the items of `src`, shared: one more reference on each.
    void SetItem(const ObjectVector& src);
    // The item at position `index.GetInt()` with one reference; past the end
    // or at a null item a new Void.
    Object* GetItemAt(const Object& index) const;

    // An item may be null; every walk over the items skips those.
    std::vector<PtrWrapper> items;

private:
    Object* Retain() {
        AddRef(this);
        return this;
    }
    // Item `index` ready to be changed in place: an item that another owner
    // holds too (lists share items through SetItem and Clone) is first
    // replaced by a copy, so that the change stays in this list.
    Object& Writable(size_t index);
    // `change(item, i)` on each non-null item i below `count`, made
    // writable first.
    template <class Change>
    void ChangeItems(size_t count, Change change);
    // `op` on each non-null item and the right value of its position, the
    // item replaced by the answer.
    template <class Func>
    void Broadcast(const Object& right, Func op);
    // Broadcast with the right side of a logical operator, evaluated first.
    template <class Func>
    void BroadcastEvaluated(const LazyOperand& right, Func op);
    void ApplyUnary(void (Object::*op)());
    void AssignWhole(const Object& src);
    void AssignItems(const Object& src);
    Object* ItemsAcross(unsigned index) const;
};

}  // namespace CalcEngine
