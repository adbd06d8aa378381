#include "values/HostMemory.h"

#include <malloc.h>

#include <cstdint>
#include <cstdlib>

namespace CalcEngine {

#ifdef ORDO_SANITIZED

// The sanitizers watch every block: no reuse that would hide a late access.
void* AllocateHostMemory(size_t bytes) { return std::malloc(bytes); }
void FreeHostMemory(void* memory) { std::free(memory); }

#else

namespace {

// A number result, a symbol's number and short texts cross the interface on
// every calculation: each thread keeps a few blocks of this size for reuse
// instead of a malloc and a free per buffer. A block freed on another thread
// than the one that allocated it simply joins that thread's blocks. Each
// block is a cache line of its own: a buffer that one thread writes on every
// call must not share a line with what other threads read, such as a
// formula's tree.
constexpr size_t smallBytes = 64;
constexpr int keptBlocks = 64;

struct FreeBlock {
    FreeBlock* next;
};

// Trivial, so that reaching it costs no first-use check.
struct SmallBlocks {
    FreeBlock* first;
    int count;
    bool ownerRegistered;
};
thread_local SmallBlocks smallBlocks;

// Gives the thread's blocks back when the thread ends; blocks freed after
// that (by later thread-exit work) go straight back to malloc.
struct SmallBlocksOwner {
    ~SmallBlocksOwner() {
        while (FreeBlock* block = smallBlocks.first) {
            smallBlocks.first = block->next;
            std::free(block);
        }
        smallBlocks.count = keptBlocks;
    }
};
thread_local SmallBlocksOwner smallBlocksOwner;

// Whether a block is one of the small blocks: line-aligned, and able to
// serve any small request without wasting a large one.
bool IsSmallBlock(void* memory) {
    return reinterpret_cast<uintptr_t>(memory) % smallBytes == 0 &&
           malloc_usable_size(memory) - smallBytes < smallBytes;
}

}  // namespace

void* AllocateHostMemory(size_t bytes) {
    if (bytes > smallBytes) return std::malloc(bytes);
    if (FreeBlock* block = smallBlocks.first) {
        smallBlocks.first = block->next;
        --smallBlocks.count;
        return block;
    }
    return std::aligned_alloc(smallBytes, smallBytes);
}

void FreeHostMemory(void* memory) {
    if (!memory) return;
    if (smallBlocks.count >= keptBlocks || !IsSmallBlock(memory)) {
        std::free(memory);
        return;
    }
    if (!smallBlocks.ownerRegistered) {
        static_cast<void>(&smallBlocksOwner);  // registers its destructor
        smallBlocks.ownerRegistered = true;
    }
    auto* block = static_cast<FreeBlock*>(memory);
    block->next = smallBlocks.first;
    smallBlocks.first = block;
    ++smallBlocks.count;
}

#endif

}  // namespace CalcEngine
