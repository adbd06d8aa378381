#include "context/FactoryPool.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

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

thread_local std::vector<ObjectFactory*> borrowed;

}  // namespace

ObjectFactory* BorrowFactory() {
    FactoryPool& pool = Pool();
    for (;;) {
        uint32_t index = (pool.next.fetch_add(1, std::memory_order_relaxed) + 1) & (PoolSize - 1);
        int32_t expected = 0;
        if (pool.inUse[index].compare_exchange_strong(expected, 1, std::memory_order_acquire)) {
            borrowed.push_back(pool.factories[index]);
            return pool.factories[index];
        }
        if (index == PoolSize - 1) std::this_thread::yield();
    }
}

void ReturnFactory(ObjectFactory* factory) {
    FactoryPool& pool = Pool();
    for (size_t i = 0; i < PoolSize; ++i) {
        if (pool.factories[i] == factory) {
            pool.inUse[i].store(0, std::memory_order_release);
            break;
        }
    }
    if (!borrowed.empty() && borrowed.back() == factory) borrowed.pop_back();
}

size_t BorrowedOnThisThread() { return borrowed.size(); }

void ReturnBorrowedBeyond(size_t depth) {
    while (borrowed.size() > depth) ReturnFactory(borrowed.back());
}

size_t PooledObjectCount() {
    size_t count = DefaultFactory().PooledCount();
    for (ObjectFactory* factory : Pool().factories) count += factory->PooledCount();
    return count;
}

}  // namespace CalcEngine
