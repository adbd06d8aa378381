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

// Trivial, so that reaching it costs no first-use check. The block handed
// out last is most often the next one given back (a symbol's answer, a
// result): it is known to be small without asking the allocator.
struct SmallBlocks {
    FreeBlock* first;
    void* handedOut;
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

// Once per thread that keeps blocks: its owner gives them back at the end.
void RegisterOwner() {
    if (!smallBlocks.ownerRegistered) {
        static_cast<void>(&smallBlocksOwner);  // registers its destructor
        smallBlocks.ownerRegistered = true;
    }
}

void Keep(void* memory) {
    auto* block = static_cast<FreeBlock*>(memory);
    block->next = smallBlocks.first;
    smallBlocks.first = block;
    ++smallBlocks.count;
}

// The rare paths of a small allocation and of a free stay out of line, so
// that the frequent ones inline as a few instructions. A thread that hands
// out a block of its own will keep blocks.
[[gnu::noinline]] void* NewSmallBlock() {
    RegisterOwner();
    return std::aligned_alloc(smallBytes, smallBytes);
}

// Any block but the one handed out last.
[[gnu::noinline]] void FreeOtherMemory(void* memory) {
    if (!memory) return;
    if (memory == smallBlocks.handedOut) smallBlocks.handedOut = nullptr;
    if (smallBlocks.count < keptBlocks && IsSmallBlock(memory)) {
        RegisterOwner();
        Keep(memory);
    } else {
        std::free(memory);
    }
}

}  // namespace

void* AllocateHostMemory(size_t bytes) {
    if (bytes > smallBytes) return std::malloc(bytes);
    FreeBlock* block = smallBlocks.first;
    if (block) {
        smallBlocks.first = block->next;
        --smallBlocks.count;
    } else {
        block = static_cast<FreeBlock*>(NewSmallBlock());
    }
    smallBlocks.handedOut = block;
    return block;
}

// The block handed out last came from this thread's kept blocks or was new
// to it: either way the thread's owner is registered.
void FreeHostMemory(void* memory) {
    if (memory && memory == smallBlocks.handedOut && smallBlocks.count < keptBlocks) {
        smallBlocks.handedOut = nullptr;
        Keep(memory);
        return;
    }
    FreeOtherMemory(memory);
}

#endif

}  // namespace CalcEngine
