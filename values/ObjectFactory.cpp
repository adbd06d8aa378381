#include "values/ObjectFactory.h"

#include "values/ICalcContext.h"
#include "values/NumberVectorObject.h"
#include "values/ObjectVector.h"
#include "values/ScalarObjects.h"
#include "values/StringObject.h"
#include "values/VariableObject.h"
#include "values/VectorObjectMask.h"

namespace CalcEngine {

ObjectFactory::ObjectFactory() {
    // Pushing into a pool must never allocate on the operator path.
    for (Pool* pool : PoolsOf(*this)) pool->reserve(PoolLimit);
}

ObjectFactory::~ObjectFactory() {
    for (Pool* pool : PoolsOf(*this)) {
        for (Object* object : *pool) delete object;
    }
}

template <class T>
T* ObjectFactory::Take(Pool& pool, Environment* environment) {
    T* object;
    if (pool.empty()) {
        object = new T();
    } else {
        object = static_cast<T*>(pool.back());
        pool.pop_back();
        object->refCount.store(1, std::memory_order_relaxed);
    }
    object->environment = environment;
    return object;
}

// The class's own Clear, called without going through the virtual table.
template <class T>
void ObjectFactory::Recycle(Pool& pool, T* object) {
    object->T::Clear();
    if (pool.size() >= PoolLimit) {
        delete object;
    } else {
        pool.push_back(object);
    }
}

void ObjectFactory::RecycleVariable(VariableObject* object) { Recycle(variablePool, object); }
void ObjectFactory::RecycleMask(VectorObjectMask* object) { Recycle(maskPool, object); }
void ObjectFactory::RecycleNumberVector(NumberVectorObject* object) {
    Recycle(numberVectorPool, object);
}
void ObjectFactory::RecycleString(StringObject* object) { Recycle(stringPool, object); }
void ObjectFactory::RecycleObjectVector(ObjectVector* object) { Recycle(objectVectorPool, object); }
void ObjectFactory::RecycleFloat(FloatObject* object) { Recycle(floatPool, object); }
void ObjectFactory::RecycleInt(IntObject* object) { Recycle(intPool, object); }
void ObjectFactory::RecycleEmpty(EmptyObject* object) { Recycle(emptyPool, object); }

Object* ObjectFactory::Duplicate(const Object* src) { return src ? src->Clone() : nullptr; }

Object* ObjectFactory::CreateBool(Environment* environment, bool value) {
    Object* object = new BoolObject(value);
    object->environment = environment;
    return object;
}

Object* ObjectFactory::CreateChar(Environment* environment, char16_t value) {
    Object* object = new CharObject(value);
    object->environment = environment;
    return object;
}

Object* ObjectFactory::CreateInt(Environment* environment, int32_t value) {
    IntObject* object = Take<IntObject>(intPool, environment);
    object->value = value;
    return object;
}

Object* ObjectFactory::CreateFloat(Environment* environment, double value) {
    FloatObject* object = Take<FloatObject>(floatPool, environment);
    object->value = value;
    return object;
}

Object* ObjectFactory::CreateNumberVector(Environment* environment) {
    return Take<NumberVectorObject>(numberVectorPool, environment);
}

Object* ObjectFactory::CreateString(Environment* environment, const WString& text) {
    StringObject* object = Take<StringObject>(stringPool, environment);
    object->SetText(text);
    return object;
}

Object* ObjectFactory::CreateObjectVector(Environment* environment) {
    return Take<ObjectVector>(objectVectorPool, environment);
}

Object* ObjectFactory::CreateEmpty(Environment* environment) {
    return Take<EmptyObject>(emptyPool, environment);
}

Object* ObjectFactory::CreateMask(Environment* environment, Object* target, const BitVector& mask) {
    VectorObjectMask* object = Take<VectorObjectMask>(maskPool, environment);
    AddRef(target);
    object->target.Reset(target);
    object->mask = mask;
    return object;
}

Object* ObjectFactory::CreateMask(Environment* environment, Object* target,
                                  const DoubleVector& mask) {
    BitVector bits(mask.values.size());
    for (size_t i = 0; i < bits.size(); ++i) bits[i] = IsTrue(mask.values[i]);
    return CreateMask(environment, target, bits);
}

Object* ObjectFactory::CreateVariable(Environment* environment, Object* value) {
    if (value && value->GetType().IsA(VariableObject::Type::Instance())) {
        AddRef(value);
        return value;
    }
    VariableObject* variable = Take<VariableObject>(variablePool, environment);
    if (value) variable->Assign(*value, true);
    return variable;
}

size_t ObjectFactory::PooledCount() const {
    size_t count = 0;
    for (const Pool* pool : PoolsOf(*this)) count += pool->size();
    return count;
}

ObjectFactory& DefaultFactory() {
    // Never destroyed: objects released during process exit still recycle
    // into it.
    static ObjectFactory* const factory = new ObjectFactory();
    return *factory;
}

}  // namespace CalcEngine
