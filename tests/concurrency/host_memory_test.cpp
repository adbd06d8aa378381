// Buffers of xCalcAllocateMemory cross threads freely: a block allocated on
// one thread and freed on another is fine, and what a thread kept for reuse
// is given back when the thread ends.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#include "interface/ordo.h"
#include "tests/AllocatedBytes.h"

namespace {

// Sizes on either side of what a thread keeps for reuse.
constexpr size_t sizes[] = {0, 1, 8, 40, 64, 65, 120, 4096};

std::vector<void*> AllocateFilled(int count) {
    std::vector<void*> blocks;
    for (int i = 0; i < count; ++i) {
        for (size_t size : sizes) {
            void* block = xCalcAllocateMemory(size);
            std::memset(block, i, size);
            blocks.push_back(block);
        }
    }
    return blocks;
}

void FreeAll(const std::vector<void*>& blocks) {
    for (void* block : blocks) EXPECT_EQ(iCalcFreeMemory(block), ORDODLL_RESULT_OK);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// A small buffer that one thread writes on every call must not share a
// cache line with anything another thread touches.
TEST(HostMemory, SmallBuffersTakeACacheLineEach) {
    for (size_t size : sizes) {
        if (size > 64) continue;
        void* blocks[2] = {xCalcAllocateMemory(size), xCalcAllocateMemory(size)};
        for (void* block : blocks) EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 64, 0u) << size;
        FreeAll({blocks[0], blocks[1]});
    }
}
#endif

TEST(HostMemory, ThreadsGiveBackWhatTheyKept) {
    // Once, so that the threads' own bookkeeping has settled and this
    // thread keeps all the blocks it may keep.
    std::thread([] { FreeAll(AllocateFilled(200)); }).join();
    FreeAll(AllocateFilled(200));
    const size_t before = AllocatedBytes();
    for (int round = 0; round < 20; ++round) {
        // Allocated here, freed and kept there, and the other way round.
        const std::vector<void*> mine = AllocateFilled(200);
        std::vector<void*> theirs;
        std::thread([&] {
            theirs = AllocateFilled(200);
            FreeAll(mine);
        }).join();
        FreeAll(theirs);
    }
    std::thread([] {}).join();
    EXPECT_LT(AllocatedBytes(), before + 8 * 1024);
}

}  // namespace
