// Many threads calculating the same handles, while another thread prepares
// and frees other formulas on the same client. Also run under
// ThreadSanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "interface/ordo.h"
#include "tests/TestClient.h"

namespace {

// Every symbol is worth the thread's own number, passed as vxData.
int32_t SymbolIsThreadNumber(const char16_t*, DTCalcFunctionParameterValue*, int32_t,
                             DTCalcResult* result, void* data) {
    return AnswerNumber(result, static_cast<double>(reinterpret_cast<intptr_t>(data)));
}

void* Prepare(void* client, const std::u16string& text) {
    void* handle = PrepareHandle(client, text.c_str());
    EXPECT_NE(handle, nullptr) << std::string(text.begin(), text.end());
    return handle;
}

double Calculate(void* client, void* handle, intptr_t threadNumber) {
    DTCalcResult result{};
    return TakeNumber(
        iCalcCalculate(client, handle, &result, reinterpret_cast<void*>(threadNumber)), result);
}

TEST(Concurrency, SharedHandlesWhilePreparingAndFreeing) {
    void* client = NewTestClient(SymbolIsThreadNumber, ORDODLL_FLAG_FORCE_FLOAT_RESULT);
    ASSERT_NE(client, nullptr);
    // Twenty threads on sixteen factories: some must wait for a free one.
    constexpr int threadCount = 20;
    constexpr int rounds = 300;
    void* arithmetic = Prepare(client, u"(x * 2 + 1) - (x - 1) * 3");
    void* list = Prepare(client, u"[1..100] * x + [x]");
    void* constant = Prepare(client, u"[1..10] * 2");
    std::atomic<int> wrong{0};
    std::atomic<bool> stop{false};

    std::thread preparer([&] {
        for (int i = 0; !stop; ++i) {
            std::u16string text = u"x + " + std::u16string(1, static_cast<char16_t>(u'0' + i % 10));
            void* handle = Prepare(client, text);
            void* again = Prepare(client, text);
            if (handle != again) ++wrong;
            iCalcFreeFormula(client, handle);
            iCalcFreeFormula(client, again);
        }
    });
    std::vector<std::thread> threads;
    for (intptr_t t = 1; t <= threadCount; ++t) {
        threads.emplace_back([&, t] {
            double x = static_cast<double>(t);
            for (int i = 0; i < rounds; ++i) {
                if (Calculate(client, arithmetic, t) != (x * 2 + 1) - (x - 1) * 3) ++wrong;
                if (Calculate(client, list, t) != 1 * x + x) ++wrong;
                if (Calculate(client, constant, t) != 2) ++wrong;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    stop = true;
    preparer.join();
    EXPECT_EQ(wrong.load(), 0);
    for (void* handle : {arithmetic, list, constant})
        EXPECT_EQ(iCalcFreeFormula(client, handle), 0);
    iCalcFinalize(client);
}

// A constant formula is calculated during its preparation, but outside the
// lock that preparations share: while one precalculation waits for its
// host, another client prepares on.
std::promise<void> otherPrepared;
const std::shared_future<void> otherPreparedSignal = otherPrepared.get_future().share();
std::atomic<bool> waitedInVain{false};

int32_t SlowConstantSymbol(const char16_t*, DTCalcFunctionParameterValue*, int32_t,
                           DTCalcResult* result, void* data) {
    if (otherPreparedSignal.wait_for(std::chrono::seconds(10)) != std::future_status::ready)
        waitedInVain = true;
    return SymbolIsThreadNumber(nullptr, nullptr, 0, result, data);
}

int32_t EveryReferenceIsConstant(DTExternalObjectReferenceData* data, void*) {
    data->iFlags |= ORDODLL_EXTERNAL_OBJECT_REFERENCE_FLAG_CONST_VALUE;
    return ORDODLL_RESULT_OK;
}

TEST(Concurrency, PrecalculationHoldsUpNoOtherPreparation) {
    void* slow = NewTestClient(SlowConstantSymbol, ORDODLL_FLAG_FORCE_FLOAT_RESULT,
                               EveryReferenceIsConstant);
    void* other = NewTestClient(SymbolIsThreadNumber);
    std::thread preparing([&] {
        DTCalcFormulaPreparationResult preparation{};
        void* handle = nullptr;
        EXPECT_EQ(iCalcPrepareFormula(slow, u"c + 1", &preparation, &handle,
                                      reinterpret_cast<void*>(intptr_t{41})),
                  ORDODLL_RESULT_OK);
        EXPECT_EQ(preparation.iFlags, ORDODLL_PREPARED_FORMULA_FLAG_CONST |
                                          ORDODLL_PREPARED_FORMULA_FLAG_CONST_REFERENCES);
        EXPECT_EQ(Calculate(slow, handle, 0), 42);  // the result of the preparation
        iCalcFreeFormula(slow, handle);
    });
    iCalcFreeFormula(other, Prepare(other, u"1 + 1"));
    otherPrepared.set_value();
    preparing.join();
    EXPECT_FALSE(waitedInVain);
    iCalcFinalize(slow);
    iCalcFinalize(other);
}

bool Refused(void* client, void* handle) {
    DTCalcResult result{};
    const int32_t code = iCalcCalculate(client, handle, &result, nullptr);
    TakeNumber(code, result);
    return code == ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR;
}

// Handle checks take no lock: calculations with live and with ended handles
// run while another thread ends handles and hands their records out again
// to new formulas and clients.
TEST(Concurrency, EndedHandlesStayEndedWhileTheirRecordsAreReused) {
    void* client = NewTestClient(SymbolIsThreadNumber, ORDODLL_FLAG_FORCE_FLOAT_RESULT);
    void* live = Prepare(client, u"x * 6");
    void* ended = Prepare(client, u"x + 1");
    ASSERT_EQ(iCalcFreeFormula(client, ended), ORDODLL_RESULT_OK);
    void* endedClient = NewTestClient(SymbolIsThreadNumber);
    ASSERT_EQ(iCalcFinalize(endedClient), ORDODLL_RESULT_OK);
    std::atomic<bool> stop{false};
    std::atomic<int> wrong{0};

    std::thread churn([&] {
        for (int i = 0; !stop; ++i) {
            void* other = NewTestClient(SymbolIsThreadNumber, ORDODLL_FLAG_FORCE_FLOAT_RESULT);
            void* formula = Prepare(other, u"x + " + std::u16string(1, u'0' + i % 10));
            if (Calculate(other, formula, 1) != 1 + i % 10) ++wrong;
            iCalcFreeFormula(other, formula);
            iCalcFinalize(other);
        }
    });
    std::vector<std::thread> threads;
    for (intptr_t t = 1; t <= 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 500; ++i) {
                if (Calculate(client, live, t) != t * 6) ++wrong;
                if (!Refused(client, ended) || !Refused(endedClient, live)) ++wrong;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    stop = true;
    churn.join();
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_EQ(iCalcFreeFormula(client, live), ORDODLL_RESULT_OK);
    EXPECT_EQ(iCalcFinalize(client), ORDODLL_RESULT_OK);
}

}  // namespace
