#include "context/FactoryPool.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <thread>

#include "values/ObjectFactory.h"

namespace CalcEngine {

namespace {

constexpr size_t PoolSize = 16;

struct FactoryPool {
    std::array<std::atomic<int32_t>, PoolSize> inUse{};
    std::array<ObjectFactory*, PoolSize> factories{};
    // Where the next search starts. Relaxed: a lost update would only shift
    // the start of the search.
    std::atomic<uint32_t> next{static_cast<uint32_t>(-1)};

    FactoryPool() {
        for (auto& factory : factories) factory = new ObjectFactory();
    }
};

FactoryPool& Pool() {
    // Never destroyed: threads may still calculate while the process exits.
    static FactoryPool* pool = new FactoryPool();
    return *pool;
}

// The factory this thread holds, and how many calls on the thread borrowed it.
thread_local size_t heldIndex = 0;
thread_local size_t borrowings = 0;

}  // namespace

ObjectFactory* BorrowFactory() {
    FactoryPool& pool = Pool();
    if (borrowings++ > 0) return pool.factories[heldIndex];
    for (;;) {
        uint32_t index = (pool.next.fetch_add(1, std::memory_order_relaxed) + 1) & (PoolSize - 1);
        int32_t expected = 0;
        if (pool.inUse[index].compare_exchange_strong(expected, 1, std::memory_order_acquire)) {
            heldIndex = index;
            return pool.factories[index];
        }
        if (index == PoolSize - 1) std::this_thread::yield();
    }
}

void ReturnFactory() {
    if (--borrowings == 0) Pool().inUse[heldIndex].store(0, std::memory_order_release);
}

size_t BorrowedOnThisThread() { return borrowings; }

void ReturnBorrowedBeyond(size_t depth) {
    while (borrowings > depth) ReturnFactory();
}

size_t PooledObjectCount() {
    size_t count = DefaultFactory().PooledCount();
    for (ObjectFactory* factory : Pool().factories) count += factory->PooledCount();
    return count;
}

}  // namespace CalcEngine
