// What calculations cost beyond their result: memory given back after large
// values, and lists that grow with their input, not faster.
#include <gtest/gtest.h>
#include <malloc.h>

#include <fstream>

#include "OrdoHost.h"

using namespace ordotest;

namespace {

std::string Repeat(const std::string& piece, int times) {
    std::string out;
    for (int i = 0; i < times; ++i) out += piece;
    return out;
}

// A list of 10,000 ranges: built once, not copied once per range.
TEST(Resources, ManyRangesInOneList) {
    HostOptions options;
    options.flags = ORDODLL_FLAG_FORCE_FLOAT_RESULT;
    Host host(options);
    Outcome outcome = host.Calc("[" + Repeat("1..100 ", 10000) + "] + 1");
    EXPECT_EQ(outcome.code, ORDODLL_RESULT_OK);
    EXPECT_EQ(outcome.number, 2);
}

long ResidentBytes() {
    std::ifstream statm("/proc/self/statm");
    long size = 0, resident = 0;
    statm >> size >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

// Sixty lists of a million numbers each are alive at once; afterwards the
// pools keep only small storage, and the memory goes back.
TEST(Resources, LargeValuesGiveTheirMemoryBack) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer's allocator keeps freed memory on purpose";
#endif
    // Large blocks come from and go back to the system directly, whatever
    // the allocator learnt before.
    mallopt(M_MMAP_THRESHOLD, 1 << 20);
    HostOptions options;
    options.flags = ORDODLL_FLAG_FORCE_FLOAT_RESULT;
    Host host(options);
    const long before = ResidentBytes();
    std::string formula = "[1..1000000]";
    for (int i = 1; i < 60; ++i) formula = "[1..1000000] + (" + formula + ")";
    Outcome outcome = host.Calc(formula);
    ASSERT_EQ(outcome.code, ORDODLL_RESULT_OK);
    EXPECT_EQ(outcome.number, 60);
    EXPECT_LT(ResidentBytes() - before, 64L << 20);
}

}  // namespace
