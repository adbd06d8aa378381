// A storm of faults and exceptions in the host's callbacks: eight threads on
// one client, while another thread prepares and frees. Each faulted call
// answers -7 with a report, every other call its value, and what the faulted
// calls held is given back: memory stays flat. Also run under
// ThreadSanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "interface/ordo.h"
#include "tests/AllocatedBytes.h"
#include "tests/TestClient.h"

namespace {

enum class Symbol { Value, Fault, Throw };

std::atomic<int> reportsWritten{0};

int32_t CountReports(const char16_t* text, int32_t priority) {
    if (priority == ORDODLL_LOG_ENTRY_PRIORITY_CRITICAL_ERROR &&
        std::u16string(text).rfind(u"Exception: ", 0) == 0)
        ++reportsWritten;
    return ORDODLL_RESULT_OK;
}

// The call's data says how the symbol behaves: it is 1, it reads through a
// null pointer (on purpose: the undefined-behaviour checker must not stop
// it first), or it throws.
__attribute__((no_sanitize("undefined"))) int32_t StormySymbol(const char16_t*,
                                                               DTCalcFunctionParameterValue*,
                                                               int32_t, DTCalcResult* result,
                                                               void* data) {
    switch (*static_cast<const Symbol*>(data)) {
        case Symbol::Fault: {
            volatile int* nowhere = nullptr;
            return *nowhere;
        }
        case Symbol::Throw:
            throw std::runtime_error("storm");
        case Symbol::Value:
            break;
    }
    return AnswerNumber(result, 1);
}

// Each thread calculates `rounds` times, faulting in two calls out of three;
// answers the number of wrong outcomes.
int Storm(void* client, void* handle, int rounds) {
    int wrong = 0;
    for (int i = 0; i < rounds; ++i) {
        const Symbol symbol = static_cast<Symbol>(i % 3);
        DTCalcResult result{};
        const int32_t code = iCalcCalculate(client, handle, &result, const_cast<Symbol*>(&symbol));
        const double value = TakeNumber(code, result);
        if (symbol == Symbol::Value ? value != 502500 : code != ORDODLL_RESULT_UNHANDLED_EXCEPTION)
            ++wrong;
    }
    return wrong;
}

TEST(FaultStorm, ManyThreadsFaultAndMemoryStaysFlat) {
    void* client =
        NewTestClient(StormySymbol, ORDODLL_FLAG_FORCE_FLOAT_RESULT, nullptr, CountReports);
    ASSERT_NE(client, nullptr);
    // A fault leaves a list of a thousand numbers in the library's frames.
    void* handle = PrepareHandle(client, u"Sum([1..1000] + x + x)");
    ASSERT_NE(handle, nullptr);
    std::atomic<int> wrong{0};
    const auto storm = [&](int rounds) {
        std::atomic<bool> stop{false};
        std::thread preparer([&] {
            while (!stop) iCalcFreeFormula(client, PrepareHandle(client, u"[3 4] * 2 + 1"));
        });
        std::vector<std::thread> threads;
        for (int t = 0; t < 8; ++t)
            threads.emplace_back([&] { wrong += Storm(client, handle, rounds); });
        for (std::thread& thread : threads) thread.join();
        stop = true;
        preparer.join();
    };

    // The first storms fill the caches of the stack walk and give the
    // allocator its arenas for many threads.
    storm(150);
    storm(150);
    const size_t before = AllocatedBytes();
    const int reportsBefore = reportsWritten;
    constexpr int faults = 8 * 1250;
    storm(1875);
    const size_t after = AllocatedBytes();

    EXPECT_EQ(wrong.load(), 0);
    EXPECT_EQ(reportsWritten - reportsBefore, faults);
    // Anything a faulted call lost would be at least a 32-byte block each
    // time; the allocator's per-thread bookkeeping may still settle by some
    // kilobytes, which is far below that.
    EXPECT_LT(after, before + faults * 4) << before << " bytes before, " << after << " after";
    EXPECT_EQ(iCalcFreeFormula(client, handle), ORDODLL_RESULT_OK);
    iCalcFinalize(client);
}

}  // namespace
