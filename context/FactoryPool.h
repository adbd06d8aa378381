// Sixteen object factories lent to calls, one per running call, so that
// calculations run in parallel without a lock on object creation.
#pragma once

#include <cstddef>

namespace CalcEngine {

class ObjectFactory;

// Borrows a free factory, spinning while all sixteen are lent. A call nested
// on a thread that holds one already (a host callback calling back into the
// library) shares that one: a thread takes at most one factory, so nested
// calls can never wait for each other.
ObjectFactory* BorrowFactory();
// Ends one borrowing of this thread's factory; the last gives it back.
void ReturnFactory();

// How many borrowings this thread holds at the moment; the fault guard ends
// those that a faulting call could not end itself.
size_t BorrowedOnThisThread();
void ReturnBorrowedBeyond(size_t depth);

// Objects held in all pools (leak checks; call when no calculation runs).
size_t PooledObjectCount();

}  // namespace CalcEngine
