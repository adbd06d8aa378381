#include "values/VectorObjectMask.h"

#include "values/ObjectFactory.h"

namespace CalcEngine {

const VectorObjectMask::Type& VectorObjectMask::Type::Instance() {
    static const Type instance;
    return instance;
}

PtrWrapper VectorObjectMask::Selection() const {
    PtrWrapper value(Resolve(target.Get()));
    PtrWrapper copy(value->Clone());
    return PtrWrapper(copy->Filter(mask));
}

template <class Change>
void VectorObjectMask::Update(Change change) {
    PtrWrapper selection(Selection());
    change(*selection);
    PtrWrapper value(Resolve(target.Get()));
    value->Scatter(*selection, mask);
    target->Assign(*value, true);
}

void VectorObjectMask::Clear() {
    target.Reset(nullptr);
    mask.clear();
}

void VectorObjectMask::SetNumber(double value) {
    Update([value](Object& selection) { selection.SetNumber(value); });
}

void VectorObjectMask::SetText(const WString& text) {
    Update([&text](Object& selection) { selection.SetText(text); });
}

void VectorObjectMask::SetFromNumbers(const DoubleVector& numbers) {
    Update([&numbers](Object& selection) { selection.SetFromNumbers(numbers); });
}

void VectorObjectMask::SetFromStrings(const StringVector& strings) {
    Update([&strings](Object& selection) { selection.SetFromStrings(strings); });
}

void VectorObjectMask::Assign(const Object& src, bool whole) {
    Update([&src, whole](Object& selection) { selection.Assign(src, whole); });
}

Object* VectorObjectMask::Dereference() {
    Object* selection = Selection().Detach();
    selection->refCount.store(0, std::memory_order_relaxed);
    return selection;
}

Object* VectorObjectMask::Clone() const {
    return CurrentFactory()->CreateMask(environment, target.Get(), mask);
}

void VectorObjectMask::Recycle() { CurrentFactory()->RecycleMask(this); }

}  // namespace CalcEngine
