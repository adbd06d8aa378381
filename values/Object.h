// The runtime value interface. Every value is an Object: reference counted,
// created by an ObjectFactory and recycled into it. Binary operators change
// an accumulator in place and read the right operand through Get...().
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <vector>

#include "interface/ordo.h"
#include "values/Text.h"
#include "values/Vectors.h"

namespace CalcEngine {

class Environment;
class Object;

// A selection of positions, one bit each: what masks hold, Filter keeps and
// Scatter writes to.
using BitVector = std::vector<bool>;

class StreamDumpable {
public:
    virtual ~StreamDumpable() = default;
    virtual void Dump(WString& out, int options) const;
};

// What a logical operator receives as its right side: a value not computed
// yet, which the operator computes only when the left side does not decide
// (the short circuit). The formula tree provides it.
class LazyOperand {
public:
    // One reference for the caller; may be null.
    virtual Object* Evaluate() const = 0;

protected:
    ~LazyOperand() = default;
};

// One instance per value class; drives promotion by rank.
class Type : public StreamDumpable {
public:
    // An indirect class (a variable, a mask, a reference) stands for a value
    // and meets operators only through it.
    explicit Type(const Type* parent, bool indirect = false) : parent(parent), indirect(indirect) {}
    void Dump(WString& out, int options) const override;
    // An empty object of the class from the current factory; null for
    // classes that cannot be created this way.
    virtual Object* Create(Environment* environment) const;
    virtual const char16_t* Name() const { return u"UNKNOWN"; }
    virtual uint32_t Rank() const { return 0; }
    // Asked on every operator: a plain field, not a virtual call.
    bool IsIndirect() const { return indirect; }

    // The plain type, parent of every class's type.
    static const Type& Root();
    // True when this is target or refines it.
    bool IsA(const Type& target) const;

    const Type* const parent;

private:
    const bool indirect;
};

// Names an Object's Type.
class ObjectType {
public:
    explicit ObjectType(const Type* type) : type(type) {}
    // The higher rank wins; on equal rank `other` does (answer true).
    bool Promote(ObjectType& result, const ObjectType& other) const;
    const Type* type;
};

class Object : public StreamDumpable {
public:
    explicit Object(const Type& type);
    ~Object() override;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    void Dump(WString& out, int options) const override;
    virtual void Clear() {}
    virtual void GetInt(int32_t& out) const = 0;
    virtual void GetNumber(double& out) const = 0;
    virtual void GetText(WString& out) const = 0;
    virtual void AppendToNumbers(DoubleVector& out, bool skipNulls) const;
    virtual void AppendToStrings(StringVector& out) const;
    // Fills a host result record with a buffer from the host allocator.
    virtual void ToResult(DTCalcResult& out) const;
    virtual void SetNumber(double value) = 0;
    virtual void SetText(const WString& text) = 0;
    virtual void SetFromNumbers(const DoubleVector& numbers);
    virtual void SetFromStrings(const StringVector& strings);
    virtual void Shift(int n) { (void)n; }
    virtual Object* Reverse() { return this; }
    virtual Object* GetItem(unsigned index, bool across) const;
    virtual void Assign(const Object& src, bool whole) = 0;
    virtual void AssignPromoted(const Object& src, const Object& other) {
        (void)other;
        Assign(src, true);
    }
    virtual bool IsScalar() const { return true; }
    virtual bool IsNumeric() const { return false; }
    virtual unsigned Size() const { return 0; }

    virtual void UnaryPlus();
    virtual void UnaryMinus();
    virtual void OperatorPlus(const Object& right);
    virtual void OperatorMinus(const Object& right);
    virtual void OperatorDiv(const Object& right);
    virtual void OperatorMod(const Object& right);
    virtual void OperatorIntDiv(const Object& right);
    virtual void OperatorMul(const Object& right);
    virtual void OperatorPow(const Object& right);
    // Logical operators take the unevaluated right side and return a
    // replacement accumulator (one reference for the caller) or null.
    virtual Object* OperatorLand(const LazyOperand& right);
    virtual Object* OperatorLor(const LazyOperand& right);
    virtual Object* OperatorLxor(const LazyOperand& right);
    virtual void OperatorEqual(const Object& right);
    virtual void OperatorNotEqual(const Object& right);
    virtual void OperatorLt(const Object& right);
    virtual void OperatorGt(const Object& right);
    virtual void OperatorLe(const Object& right);
    virtual void OperatorGe(const Object& right);
    virtual void OperatorLnot();

    // Widening of this object to meet `other`, one reference for the caller:
    // a list when `other` is a number list, else this object.
    virtual Object* WidenForPlus(Object& other) { return Widen(other); }
    virtual Object* WidenForMinus(Object& other) { return Widen(other); }
    virtual Object* WidenForDiv(Object& other) { return Widen(other); }
    virtual Object* WidenForMul(Object& other) { return Widen(other); }
    virtual Object* WidenForMod(Object& other) { return Widen(other); }
    virtual Object* WidenForPow(Object& other) { return Widen(other); }
    virtual Object* WidenForLogic(Object& other) { return Widen(other); }
    virtual Object* WidenForCompare(Object& other) { return Widen(other); }

    // Keeps the positions whose bit is set; answers the result with one
    // reference. By default the value has no positions and stays whole.
    virtual Object* Filter(const BitVector& mask);
    // Writes `values` into the positions whose bit is set. By default the
    // value takes `values` whole when any bit is set.
    virtual void Scatter(const Object& values, const BitVector& mask) {
        if (std::find(mask.begin(), mask.end(), true) != mask.end()) Assign(values, true);
    }

    // The value this object stands for: itself, or for a proxy a fresh
    // object whose count is stored as 0 (Resolve counts it up).
    virtual Object* Dereference() { return this; }
    // A proxy (a variable, a mask) stands for another object, its target.
    virtual bool IsProxy() const { return false; }
    virtual Object* Target() const { return nullptr; }
    virtual Object* Sum() const;
    virtual Object* Clone() const = 0;
    virtual bool IsSingleValue() const { return false; }
    // Called when the count reaches 0: back into the current factory's pool.
    virtual void Recycle();
    const Type& GetType() const { return *objectType.type; }

    ObjectType objectType;
    // The scope the value was made in, handed on to the values made from it.
    // A mark only, never followed: a value may outlive its formula.
    Environment* environment = nullptr;
    std::atomic<int32_t> refCount{1};

    // Objects alive in the process, pooled ones included (leak checks).
    static long LiveCount();

protected:
    Object* Widen(Object& other);
};

inline void AddRef(Object* object) { object->refCount.fetch_add(1, std::memory_order_relaxed); }
inline void Release(Object* object) {
    // A sole owner needs no atomic decrement: nobody else can take a
    // reference to an object they do not hold.
    if (object->refCount.load(std::memory_order_acquire) == 1 ||
        object->refCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
        object->Recycle();
}

// Owns one reference and drops it at scope exit unless handed over.
// Movable, so that lists of arguments and items can hold it by value.
class PtrWrapper {
public:
    PtrWrapper() = default;
    explicit PtrWrapper(Object* object) : object(object) {}
    ~PtrWrapper() {
        if (object) Release(object);
    }
    PtrWrapper(const PtrWrapper&) = delete;
    PtrWrapper& operator=(const PtrWrapper&) = delete;
    PtrWrapper(PtrWrapper&& other) noexcept : object(other.Detach()) {}
    PtrWrapper& operator=(PtrWrapper&& other) noexcept {
        if (this != &other) Reset(other.Detach());
        return *this;
    }
    void Reset(Object* replacement) {
        if (object) Release(object);
        object = replacement;
    }
    Object* Detach() {
        Object* o = object;
        object = nullptr;
        return o;
    }
    Object* Get() const { return object; }
    Object* operator->() const { return object; }
    Object& operator*() const { return *object; }
    explicit operator bool() const { return object != nullptr; }

private:
    Object* object = nullptr;
};

// The accumulator of a binary operator, with one reference: the value in
// `left` itself when its type is the wider (the reference moves out of
// `left`), else a new object of the wider type assigned from it; null when
// either type is indirect.
Object* PromoteOperands(Environment* environment, PtrWrapper& left, const Object& right);

// Follows Dereference until an object answers itself; one reference for the
// caller; null stays null.
Object* Resolve(Object* object);

// The process-wide null number: a quiet NaN with bits 0x7FFFFFFFFFFFFFFF.
double NullNumber();
// Any NaN is null.
inline bool IsNull(double value) { return value != value; }
// A number is true when it is neither null nor 0, as a condition or a mask
// bit reads it.
inline bool IsTrue(double value) { return !IsNull(value) && value != 0.0; }

// A double truncated toward zero to 32 bits as the processor does it: NaN and
// values out of range give 0x80000000.
inline int32_t TruncateToInt32(double value) {
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int32_t>(value) : INT32_MIN;
}
// The same, with null read as 0.
inline int32_t NumberToInt32(double value) { return IsNull(value) ? 0 : TruncateToInt32(value); }

// The nested Type of a value class: one instance, a parent of Type::Root(),
// and the class's name, promotion rank and factory operation.
#define ORDO_DECLARE_VALUE_TYPE                                  \
    class Type : public CalcEngine::Type {                       \
    public:                                                      \
        static const Type& Instance();                           \
        Object* Create(Environment* environment) const override; \
        const char16_t* Name() const override;                   \
        uint32_t Rank() const override;                          \
                                                                 \
    private:                                                     \
        Type() : CalcEngine::Type(&CalcEngine::Type::Root()) {}  \
    };

}  // namespace CalcEngine
