#include "context/FactoryPool.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <thread>

#include "values/ObjectFactory.h"

namespace CalcEngine {

namespace {

constexpr size_t PoolSize = 16;

// A factory and whether it is lent, on cache lines of their own: threads
// that borrow different factories never write to the same line.
struct alignas(64) Slot {
    std::atomic<int32_t> inUse{0};
    ObjectFactory factory;

    bool TryTake() {
        int32_t expected = 0;
        return inUse.load(std::memory_order_relaxed) == 0 &&
               inUse.compare_exchange_strong(expected, 1, std::memory_order_acquire);
    }
};

struct FactoryPool {
    std::array<Slot, PoolSize> slots;
    // Where the next search starts. Relaxed: a lost update would only shift
    // the start of a search.
    std::atomic<uint32_t> next{0};
};

// Initialised as a constant (all zeros) before any code runs, so that no
// call checks for its construction; never destroyed, as threads may still
// calculate while the process exits.
union PoolStorage {
    FactoryPool pool;
    constexpr PoolStorage() : pool() {}
    ~PoolStorage() {}
};
constinit PoolStorage storage;

FactoryPool& Pool() { return storage.pool; }

// The factory this thread holds or held last, and how many calls on the
// thread borrowed it.
thread_local size_t heldIndex = PoolSize;
thread_local size_t borrowings = 0;

// Searches the pool from a moving start until a factory is free. Out of
// line: a borrow almost always gets the factory its thread had last.
[[gnu::noinline]] ObjectFactory* SearchFactory(FactoryPool& pool) {
    for (;;) {
        const uint32_t index = pool.next.fetch_add(1, std::memory_order_relaxed) & (PoolSize - 1);
        if (pool.slots[index].TryTake()) {
            heldIndex = index;
            return &pool.slots[index].factory;
        }
        if (index == PoolSize - 1) std::this_thread::yield();
    }
}

}  // namespace

// A thread asks first for the factory it had last time: with no more
// threads than factories, that one is free, and the search costs one
// compare-exchange on a line no other thread writes.
ObjectFactory* BorrowFactory() {
    FactoryPool& pool = Pool();
    if (borrowings++ > 0) return &pool.slots[heldIndex].factory;
    if (heldIndex < PoolSize && pool.slots[heldIndex].TryTake())
        return &pool.slots[heldIndex].factory;
    return SearchFactory(pool);
}

void ReturnFactory() {
    if (--borrowings == 0) Pool().slots[heldIndex].inUse.store(0, std::memory_order_release);
}

size_t BorrowedOnThisThread() { return borrowings; }

void ReturnBorrowedBeyond(size_t depth) {
    while (borrowings > depth) ReturnFactory();
}

size_t PooledObjectCount() {
    size_t count = DefaultFactory().PooledCount();
    for (const Slot& slot : Pool().slots) count += slot.factory.PooledCount();
    return count;
}

}  // namespace CalcEngine
