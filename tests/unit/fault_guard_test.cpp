// A fault in the library's own code. Where a sanitizer watches the build,
// the guard leaves it to the sanitizer, whose report names the bug; in other
// builds the call answers -7 with a report and the library stays usable.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "context/CalcFormula.h"
#include "context/HostCall.h"
#include "interface/ordo.h"
#include "tests/TestClient.h"
#include "values/Text.h"

using namespace CalcEngine;

namespace {

std::vector<WString> reports;

int32_t KeepReports(const char16_t* text, int32_t priority) {
    if (priority == ORDODLL_LOG_ENTRY_PRIORITY_CRITICAL_ERROR) reports.push_back(text);
    return ORDODLL_RESULT_OK;
}

// Faults on purpose: the undefined-behaviour checker must not stop it first.
__attribute__((noinline, no_sanitize("undefined"))) void ReadThroughNull() {
    volatile int* nowhere = nullptr;
    (void)*nowhere;
}

int32_t CalculateWithProbe(void (*probe)()) {
    void* client = NewTestClient(nullptr, ORDODLL_FLAG_DEFAULT, nullptr, KeepReports);
    calculationProbe = probe;
    DTCalcResult result{};
    const int32_t code = iCalcCalculateFormula(client, u"[1 2] + 1", &result, nullptr);
    calculationProbe = nullptr;
    iCalcFreeMemory(result.xResultBuffer);
    iCalcFinalize(client);
    return code;
}

#if defined(__SANITIZE_ADDRESS__)

TEST(FaultGuardDeathTest, LeavesTheLibrarysOwnFaultsToTheSanitizer) {
    EXPECT_DEATH(CalculateWithProbe(ReadThroughNull), "AddressSanitizer: SEGV");
}

#else

TEST(FaultGuard, ReportsAFaultInTheLibrary) {
    reports.clear();
    EXPECT_EQ(CalculateWithProbe(ReadThroughNull), ORDODLL_RESULT_UNHANDLED_EXCEPTION);
    ASSERT_EQ(reports.size(), 1u);
    const std::string report = ToUtf8(reports[0]);
    EXPECT_EQ(report.rfind("Exception: ACCESS_VIOLATION (0x00000000c0000005)\r\n", 0), 0u);
    const size_t probe = report.find("ReadThroughNull");
    const size_t calculation = report.find("RecyclableCalcFormula::CalculateToResult");
    EXPECT_NE(probe, std::string::npos) << report;
    EXPECT_LT(probe, calculation) << report;
    EXPECT_NE(calculation, std::string::npos) << report;
    // The thread's lock, factory and context were given back.
    EXPECT_EQ(CalculateWithProbe(nullptr), ORDODLL_RESULT_OK);
}

#endif

// Host code may fault with anything in the registers that its callers keep
// across calls.
__attribute__((noinline)) int32_t SpoilRegistersAndFault() {
    asm volatile(
        "mov $8, %%rbx\n\tmov $8, %%r12\n\tmov $8, %%r13\n\tmov $8, %%r14\n\t"
        "mov $8, %%r15\n\tmovl $0, 0\n\t" ::
            : "rbx", "r12", "r13", "r14", "r15", "memory");
    return 0;
}

__attribute__((noinline)) uint64_t Opaque(uint64_t value) { return value; }

TEST(HostCall, AFaultInHostCodeGivesTheCallerItsRegistersBack) {
    EXPECT_EQ(CalculateWithProbe(nullptr), ORDODLL_RESULT_OK);  // installs the guard
    // Five values that live across the call, in the registers an optimised
    // build keeps them in, and are read again once the fault has unwound.
    const uint64_t a = Opaque(1), b = Opaque(2), c = Opaque(3), d = Opaque(4), e = Opaque(5);
    bool faulted = false;
    try {
        CallHost(SpoilRegistersAndFault);
    } catch (const HostFault&) {
        faulted = true;
        EXPECT_EQ(Opaque(a) + 10 * Opaque(b) + 100 * Opaque(c) + 1000 * Opaque(d) +
                      10000 * Opaque(e),
                  54321u);
    }
    EXPECT_TRUE(faulted);
}

}  // namespace
