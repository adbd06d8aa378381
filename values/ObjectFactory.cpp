#include "values/ObjectFactory.h"

#include "values/ICalcContext.h"
#include "values/NumberVectorObject.h"
#include "values/ObjectVector.h"
#include "values/ScalarObjects.h"
#include "values/StringObject.h"
#include "values/VariableObject.h"
#include "values/VectorObjectMask.h"

namespace CalcEngine {

ObjectFactory::~ObjectFactory() {
    for (Pool* pool : PoolsOf(*this)) {
        for (size_t i = 0; i < pool->count; ++i) delete pool->objects[i];
    }
}

namespace {

// A new object when the pool is empty: kept out of line, so that taking one
// from the pool needs no frame of its own.
template <class T>
[[gnu::noinline]] T* NewObject() {
    return new T();
}

}  // namespace

template <class T>
T* ObjectFactory::Take(Pool& pool, Environment* environment) {
    T* object;
    if (pool.count == 0) {
        object = NewObject<T>();
    } else {
        object = static_cast<T*>(pool.objects[--pool.count]);
        object->refCount.store(1, std::memory_order_relaxed);
    }
    object->environment = environment;
    return object;
}

// The class's own Clear, called without going through the virtual table.
template <class T>
void ObjectFactory::Recycle(Pool& pool, T* object) {
    object->T::Clear();
    if (pool.count >= PoolLimit) {
        delete object;
    } else {
        pool.objects[pool.count++] = object;
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
    for (const Pool* pool : PoolsOf(*this)) count += pool->count;
    return count;
}

ObjectFactory& DefaultFactory() {
    // Never destroyed: objects released during process exit still recycle
    // into it.
    static ObjectFactory* const factory = new ObjectFactory();
    return *factory;
}

}  // namespace CalcEngine
