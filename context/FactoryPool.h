// Sixteen object factories lent to calls, one per running call, so that
// calculations run in parallel without a lock on object creation.
#pragma once

#include <cstddef>

namespace CalcEngine {

class ObjectFactory;

// Borrows a free factory, spinning while all sixteen are lent.
ObjectFactory* BorrowFactory();
void ReturnFactory(ObjectFactory* factory);

// Factories this thread holds at the moment; the fault guard returns those
// that a faulting call could not return itself.
size_t BorrowedOnThisThread();
void ReturnBorrowedBeyond(size_t depth);

// Objects held in all pools (leak checks; call when no calculation runs).
size_t PooledObjectCount();

}  // namespace CalcEngine
