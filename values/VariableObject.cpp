#include "values/VariableObject.h"

#include "values/Exception.h"
#include "values/NumberVectorObject.h"
#include "values/ObjectFactory.h"

namespace CalcEngine {

const VariableObject::Type& VariableObject::Type::Instance() {
    static const Type instance;
    return instance;
}

const Object& VariableObject::Defined() const {
    if (!target) RaiseRuntimeError(u"illegal usage of undefined variable");
    return *target;
}

PtrWrapper VariableObject::WorkingCopy() const { return PtrWrapper(Defined().Clone()); }

void VariableObject::Define(Object* value) { target.Reset(value); }

void VariableObject::Dump(WString& out, int options) const { Defined().Dump(out, options); }

void VariableObject::SetNumber(double value) {
    if (target)
        target->SetNumber(value);
    else
        Define(CurrentFactory()->CreateFloat(environment, value));
}

void VariableObject::SetText(const WString& text) {
    if (target)
        target->SetText(text);
    else
        Define(CurrentFactory()->CreateString(environment, text));
}

void VariableObject::SetFromNumbers(const DoubleVector& numbers) {
    if (!target) Define(CurrentFactory()->CreateNumberVector(environment));
    target->SetFromNumbers(numbers);
}

void VariableObject::SetFromStrings(const StringVector& strings) {
    if (!target) Define(CurrentFactory()->CreateString(environment));
    target->SetFromStrings(strings);
}

void VariableObject::Assign(const Object& src, bool whole) {
    if (target && (!target->IsProxy() || target->Target())) {
        target->Assign(src, whole);
        return;
    }
    const Object* value = src.IsProxy() ? src.Target() : &src;
    if (value) Define(value->Clone());
}

Object* VariableObject::Dereference() {
    Object* value = target ? target->Clone() : CurrentFactory()->CreateEmpty(environment);
    value->refCount.store(0, std::memory_order_relaxed);
    return value;
}

Object* VariableObject::Clone() const {
    PtrWrapper value(target ? target->Clone() : nullptr);
    PtrWrapper copy(CurrentFactory()->CreateVariable(environment, nullptr));
    static_cast<VariableObject&>(*copy).Define(value.Detach());
    return copy.Detach();
}

void VariableObject::Recycle() { CurrentFactory()->RecycleVariable(this); }

}  // namespace CalcEngine
