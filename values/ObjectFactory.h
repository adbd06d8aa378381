// Creates values and pools them: at most 100 recycled objects per class,
// reused last-in first-out so that lists keep their storage. A factory has
// no lock: it serves the one thread of the context that borrowed it.
#pragma once

#include <array>
#include <cstdint>

#include "values/ICalcContext.h"
#include "values/Object.h"

namespace CalcEngine {

class EmptyObject;
class FloatObject;
class IntObject;
class NumberVectorObject;
class ObjectVector;
class StringObject;
class VariableObject;
class VectorObjectMask;

class ObjectFactory {
public:
    static constexpr size_t PoolLimit = 100;
    // A recycled list or text keeps storage for this many elements at most,
    // so that pools hold little memory however large the values were.
    static constexpr size_t PooledCapacity = 1024;

    // Constant: a factory may be constant-initialised.
    constexpr ObjectFactory() = default;
    ~ObjectFactory();
    ObjectFactory(const ObjectFactory&) = delete;
    ObjectFactory& operator=(const ObjectFactory&) = delete;

    Object* Create(Environment* environment, const Type& type) { return type.Create(environment); }
    Object* Duplicate(const Object* src);

    Object* CreateBool(Environment* environment, bool value = false);
    Object* CreateChar(Environment* environment, char16_t value = 0);
    Object* CreateInt(Environment* environment, int32_t value = 0);
    Object* CreateFloat(Environment* environment, double value = 0.0);
    Object* CreateNumberVector(Environment* environment);
    Object* CreateString(Environment* environment, const WString& text = WString());
    Object* CreateObjectVector(Environment* environment);
    Object* CreateEmpty(Environment* environment);
    // A mask over `target` (a reference of its own), selecting the positions
    // whose bit is set.
    Object* CreateMask(Environment* environment, Object* target, const BitVector& mask);
    // The same, selecting the positions whose number is neither null nor 0.0.
    Object* CreateMask(Environment* environment, Object* target, const DoubleVector& mask);
    // A variable holding `value` (a reference of its own; null leaves it
    // undefined); a `value` that is a variable already is that variable.
    Object* CreateVariable(Environment* environment, Object* value);

    // Each clears the object and keeps it in its pool, or deletes it when the
    // pool is full.
    void RecycleVariable(VariableObject* object);
    void RecycleMask(VectorObjectMask* object);
    void RecycleNumberVector(NumberVectorObject* object);
    void RecycleString(StringObject* object);
    void RecycleObjectVector(ObjectVector* object);
    void RecycleFloat(FloatObject* object);
    void RecycleInt(IntObject* object);
    void RecycleEmpty(EmptyObject* object);
    void Discard(Object* object) { delete object; }

    // Objects held in this factory's pools (leak checks).
    size_t PooledCount() const;

private:
    // Idle objects of one class, last in first out. Its room is fixed, so
    // that taking and giving back never allocate.
    struct Pool {
        size_t count = 0;
        Object* objects[PoolLimit]{};
    };
    // The object pushed last, else a new one; counted once, in `environment`.
    template <class T>
    static T* Take(Pool& pool, Environment* environment);
    template <class T>
    static void Recycle(Pool& pool, T* object);
    // Every pool of `self`, const or not.
    template <class Self>
    static auto PoolsOf(Self& self) {
        return std::array{&self.emptyPool,        &self.floatPool,   &self.intPool,
                          &self.objectVectorPool, &self.stringPool,  &self.numberVectorPool,
                          &self.maskPool,         &self.variablePool};
    }

    Pool emptyPool, floatPool, intPool, objectVectorPool, stringPool, numberVectorPool, maskPool,
        variablePool;
};

// The process-wide default factory, serving when no context is current.
ObjectFactory& DefaultFactory();

// The factory of the thread's current context, or the default factory.
inline ObjectFactory* CurrentFactory() {
    ICalcContext* context = CurrentContext();
    return context ? context->GetObjectFactory() : &DefaultFactory();
}

}  // namespace CalcEngine
