#include "interface/Handles.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <new>
#include <span>
#include <vector>

#include "context/CalcFormula.h"
#include "interface/PrepareLock.h"

namespace {

enum class Kind : uint32_t { Free = 0, Client = 1, Formula = 2 };

// User-space addresses on x86-64 take 47 bits; the generation takes the 16
// above 48.
constexpr int generationShift = 48;
constexpr uintptr_t addressMask = (uintptr_t{1} << generationShift) - 1;
constexpr uint32_t lastGeneration = 0xFFFF;
constexpr size_t slabSize = 256;

// One handle's record. `state` packs the generation and the kind, so that
// one compare checks both. Issuing stores it last (release) and a lookup
// loads it first (acquire); the other fields are atomic only so that a
// lookup racing a reuse reads them without a data race.
struct Record {
    std::atomic<uint32_t> state{0};
    std::atomic<void*> object{nullptr};
    std::atomic<const CalcClient*> owner{nullptr};
    Record* nextFree = nullptr;  // under the prepare lock
};

constexpr uint32_t State(uint32_t generation, Kind kind) {
    return generation << 8 | static_cast<uint32_t>(kind);
}
constexpr uint32_t GenerationOf(uint32_t state) { return state >> 8; }
constexpr Kind KindOf(uint32_t state) { return static_cast<Kind>(state & 0xFF); }

// Every record ever made, in slabs, and the free ones in a list. Never
// destroyed: a host's static destructor may still hand in a handle late.
struct Pool {
    std::vector<std::unique_ptr<Record[]>> slabs;
    Record* freeList = nullptr;
};

Pool& ThePool() {
    static Pool& pool = *new Pool;
    return pool;
}

void AddSlab(Pool& pool) {
    auto slab = std::make_unique<Record[]>(slabSize);
    if (reinterpret_cast<uintptr_t>(&slab[slabSize - 1]) > addressMask) throw std::bad_alloc();
    for (Record& record : std::span(slab.get(), slabSize)) {
        record.nextFree = pool.freeList;
        pool.freeList = &record;
    }
    pool.slabs.push_back(std::move(slab));
}

void* Issue(void* object, Kind kind, const CalcClient* owner) {
    PrepareLock lock;
    Pool& pool = ThePool();
    if (!pool.freeList) AddSlab(pool);
    Record* record = pool.freeList;
    pool.freeList = record->nextFree;
    record->object.store(object, std::memory_order_relaxed);
    record->owner.store(owner, std::memory_order_relaxed);
    const uint32_t generation = GenerationOf(record->state.load(std::memory_order_relaxed));
    record->state.store(State(generation, kind), std::memory_order_release);
    return reinterpret_cast<void*>(uintptr_t{generation} << generationShift |
                                   reinterpret_cast<uintptr_t>(record));
}

// Under the prepare lock. The record keeps nothing of its object, so that
// the leak checker would see an object that outlives its handle. A record
// whose generation is spent is never reused: no stale handle can ever match
// it again.
void Retire(Record& record) {
    const uint32_t generation = GenerationOf(record.state.load(std::memory_order_relaxed));
    const bool spent = generation == lastGeneration;
    record.state.store(State(spent ? generation : generation + 1, Kind::Free),
                       std::memory_order_release);
    record.object.store(nullptr, std::memory_order_relaxed);
    record.owner.store(nullptr, std::memory_order_relaxed);
    if (spent) return;
    Pool& pool = ThePool();
    record.nextFree = pool.freeList;
    pool.freeList = &record;
}

Record* RecordOf(void* handle) {
    return reinterpret_cast<Record*>(reinterpret_cast<uintptr_t>(handle) & addressMask);
}

// The record behind `handle` when the handle is live and of `kind`, else
// null.
Record* LiveRecord(void* handle, Kind kind) {
    Record* record = RecordOf(handle);
    const auto generation =
        static_cast<uint32_t>(reinterpret_cast<uintptr_t>(handle) >> generationShift);
    if (!record || record->state.load(std::memory_order_acquire) != State(generation, kind))
        return nullptr;
    return record;
}

}  // namespace

void* NewClientHandle(CalcClient& client) { return Issue(&client, Kind::Client, nullptr); }

void* NewFormulaHandle(RecyclableCalcFormula& formula, const CalcClient& owner) {
    return Issue(&formula, Kind::Formula, &owner);
}

CalcClient* ClientOfHandle(void* handle) {
    Record* record = LiveRecord(handle, Kind::Client);
    return record ? static_cast<CalcClient*>(record->object.load(std::memory_order_relaxed))
                  : nullptr;
}

RecyclableCalcFormula* FormulaOfHandle(void* handle, const CalcClient* owner) {
    Record* record = LiveRecord(handle, Kind::Formula);
    if (!record || record->owner.load(std::memory_order_relaxed) != owner) return nullptr;
    return static_cast<RecyclableCalcFormula*>(record->object.load(std::memory_order_relaxed));
}

void RetireHandle(void* handle) {
    PrepareLock lock;
    Retire(*RecordOf(handle));
}

void DeleteFormulasOf(const CalcClient& owner) {
    PrepareLock lock;
    for (const std::unique_ptr<Record[]>& slab : ThePool().slabs) {
        for (Record& record : std::span(slab.get(), slabSize)) {
            if (KindOf(record.state.load(std::memory_order_relaxed)) != Kind::Formula ||
                record.owner.load(std::memory_order_relaxed) != &owner)
                continue;
            delete static_cast<RecyclableCalcFormula*>(
                record.object.load(std::memory_order_relaxed));
            Retire(record);
        }
    }
}
