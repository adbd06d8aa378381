// Host callbacks that call back into the library, from more threads than
// there are pooled object factories, and the Evaluate builtin run from many
// threads at once. Also run under ThreadSanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include "interface/ordo.h"
#include "tests/TestClient.h"

namespace {

// More threads than the library has factories to lend.
constexpr int threadCount = 24;

// How the symbol callback reaches back into the library; passed as vxData.
struct Reentry {
    void* client;
    bool separateCalls;  // prepare, calculate and free instead of one call
    int failAt;          // the depth at which the callback fails; -1 never
};

// Symbol callbacks run on this thread so far.
thread_local int symbolCalls = 0;

std::u16string Decimal(int n) {
    std::string digits = std::to_string(n);
    return std::u16string(digits.begin(), digits.end());
}

int32_t CalculateText(Reentry& host, const std::u16string& text, double& value) {
    DTCalcResult result{};
    int32_t code;
    if (host.separateCalls) {
        DTCalcFormulaPreparationResult preparation{};
        void* handle = nullptr;
        code = iCalcPrepareFormula(host.client, text.c_str(), &preparation, &handle, &host);
        if (code != ORDODLL_RESULT_OK) {
            iCalcFreeMemory(preparation.xResultBuffer);
            return code;
        }
        code = iCalcCalculate(host.client, handle, &result, &host);
        iCalcFreeFormula(host.client, handle);
    } else {
        code = iCalcCalculateFormula(host.client, text.c_str(), &result, &host);
    }
    value = TakeNumber(code, result);
    return code;
}

// depth(n) is n, found by calculating depth(n-1) + 1 from inside the callback.
int32_t Depth(const char16_t*, DTCalcFunctionParameterValue* params, int32_t, DTCalcResult* result,
              void* data) {
    ++symbolCalls;
    Reentry& host = *static_cast<Reentry*>(data);
    if (!params || params->iType != ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBER)
        return ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR;
    const int n = static_cast<int>(*static_cast<double*>(params->xValue));
    if (n == host.failAt) return ORDODLL_RESULT_UNKNOWN_ERROR;
    if (n <= 0) return AnswerNumber(result, 0);
    double nested;
    if (int32_t code = CalculateText(host, u"depth(" + Decimal(n - 1) + u") + 1", nested);
        code != ORDODLL_RESULT_OK)
        return code;
    return AnswerNumber(result, nested);
}

// Calls every reference constant, so that a formula of them is calculated
// once, at preparation.
int32_t EveryReferenceConstant(DTExternalObjectReferenceData* reference, void*) {
    reference->iFlags |= ORDODLL_EXTERNAL_OBJECT_REFERENCE_FLAG_CONST_VALUE;
    return ORDODLL_RESULT_OK;
}

// Runs `work(thread)` on threadCount threads at once.
template <class Work>
void OnManyThreads(Work work) {
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t) threads.emplace_back(work, t);
    for (std::thread& thread : threads) thread.join();
}

struct ReentryCase {
    int depth;
    bool separateCalls;
};

class CalculationReentry : public ::testing::TestWithParam<ReentryCase> {};

// Each nested frame must share its thread's factory: were it to borrow one
// more, 24 threads would hold all sixteen and wait for each other forever.
// Nor may an outermost preparation wait for a factory while it holds the
// preparation lock that the nested frames of other threads wait for.
TEST_P(CalculationReentry, EveryThreadGetsItsDepth) {
    const ReentryCase& param = GetParam();
    void* client = NewTestClient(Depth, ORDODLL_FLAG_FORCE_FLOAT_RESULT);
    ASSERT_NE(client, nullptr);
    std::atomic<int> wrong{0};
    OnManyThreads([&](int) {
        Reentry host{client, param.separateCalls, -1};
        for (int round = 0; round < 4; ++round) {
            double value;
            if (CalculateText(host, u"depth(" + Decimal(param.depth) + u")", value) != 0 ||
                value != param.depth)
                ++wrong;
        }
    });
    EXPECT_EQ(wrong.load(), 0);
    iCalcFinalize(client);
}

INSTANTIATE_TEST_SUITE_P(Depths, CalculationReentry,
                         ::testing::Values(ReentryCase{1, false}, ReentryCase{8, false},
                                           ReentryCase{1, true}, ReentryCase{8, true}));

// depth(5) with a callback that fails at depth(2): each frame above passes
// the failure on and the outermost call answers an evaluation error. The
// failed calls must give their factories back, or the next wave would wait
// for ever.
TEST(FailingReentry, OuterCallAnswersEvaluationError) {
    void* client = NewTestClient(Depth, ORDODLL_FLAG_FORCE_FLOAT_RESULT);
    ASSERT_NE(client, nullptr);
    std::atomic<int> wrong{0};
    for (int wave = 0; wave < 2; ++wave) {
        OnManyThreads([&](int t) {
            Reentry failing{client, t % 2 == 0, 2};
            Reentry passing{client, t % 2 == 0, -1};
            double value;
            if (CalculateText(failing, u"depth(5)", value) != ORDODLL_RESULT_EVALUATION_ERROR)
                ++wrong;
            if (CalculateText(passing, u"depth(3)", value) != ORDODLL_RESULT_OK || value != 3)
                ++wrong;
        });
    }
    EXPECT_EQ(wrong.load(), 0);
    iCalcFinalize(client);
}

// A formula of references the host calls constant is calculated while it
// is prepared: the callback's own preparations re-enter on the same thread
// and share the thread's factory. Their texts are the same on every thread,
// so a thread may find them prepared and calculated by another.
TEST(PreparationReentry, ConstantFormulaCallsBackWhilePrepared) {
    void* client = NewTestClient(Depth, ORDODLL_FLAG_FORCE_FLOAT_RESULT, EveryReferenceConstant);
    ASSERT_NE(client, nullptr);
    std::atomic<int> wrong{0};
    OnManyThreads([&](int t) {
        Reentry host{client, t % 2 == 0, -1};
        // A text of its own per thread, so that no thread finds it prepared.
        const std::u16string text = u"depth(3) + " + Decimal(t);
        DTCalcFormulaPreparationResult preparation{};
        void* handle = nullptr;
        symbolCalls = 0;
        if (iCalcPrepareFormula(client, text.c_str(), &preparation, &handle, &host) != 0) {
            iCalcFreeMemory(preparation.xResultBuffer);
            ++wrong;
            return;
        }
        // depth(3), and below it what no other thread had prepared, all
        // during the preparation.
        const int callsWhilePreparing = symbolCalls;
        DTCalcResult result{};
        const int32_t code = iCalcCalculate(client, handle, &result, &host);
        if (TakeNumber(code, result) != 3 + t ||
            !(preparation.iFlags & ORDODLL_PREPARED_FORMULA_FLAG_CONST) ||
            callsWhilePreparing < 1 || callsWhilePreparing > 4 ||
            symbolCalls != callsWhilePreparing)
            ++wrong;
        iCalcFreeFormula(client, handle);
    });
    EXPECT_EQ(wrong.load(), 0);
    iCalcFinalize(client);
}

// The symbol x is worth the calling thread's number, passed as vxData.
int32_t XIsThreadNumber(const char16_t*, DTCalcFunctionParameterValue*, int32_t,
                        DTCalcResult* result, void* data) {
    return AnswerNumber(result, static_cast<double>(reinterpret_cast<intptr_t>(data)));
}

double Calculate(void* client, void* handle, intptr_t thread) {
    DTCalcResult result{};
    return TakeNumber(iCalcCalculate(client, handle, &result, reinterpret_cast<void*>(thread)),
                      result);
}

// The formulas depend on x so that Evaluate runs at every calculation; the
// value is perX * x + constant, or none (NAN) for an evaluation error.
struct EvaluateCase {
    const char16_t* text;
    double perX;
    double constant;
};

constexpr EvaluateCase evaluateCases[] = {
    {u"x * 0 + Evaluate(\"(1+2)*3\")", 0, 9},
    {u"If(x > 0, Evaluate(\"2*3\"), 0)", 0, 6},
    // Local variables belong to the call: another thread's x must not show.
    {u"Let(\"a\", x, Evaluate(\"Local(\\\"a\\\") * 3\"))", 3, 0},
    {u"x + Evaluate(\"Evaluate(\\\"1+1\\\") * 2\")", 1, 4},
    // A text that does not parse fails its own Evaluate only.
    {u"Try(Evaluate(\"1 +\"), x * 10)", 10, 0},
    // Host symbols are refused inside Evaluate only: the other cases read x
    // while this one runs.
    {u"If(x > 0, Evaluate(\"x\"), 0)", 0, NAN},
};

TEST(EvaluateOnManyThreads, SharedHandles) {
    void* client = NewTestClient(XIsThreadNumber, ORDODLL_FLAG_FORCE_FLOAT_RESULT);
    ASSERT_NE(client, nullptr);
    std::vector<void*> handles;
    for (const EvaluateCase& test : evaluateCases) {
        handles.push_back(PrepareHandle(client, test.text));
        ASSERT_NE(handles.back(), nullptr);
    }
    // Wrong results by case.
    std::vector<std::atomic<int>> wrong(handles.size());
    OnManyThreads([&](int t) {
        const double x = t + 1;
        for (int round = 0; round < 20; ++round) {
            for (size_t i = 0; i < handles.size(); ++i) {
                const EvaluateCase& test = evaluateCases[i];
                const double value = Calculate(client, handles[i], t + 1);
                const double expected = test.perX * x + test.constant;
                if (value != expected && !(std::isnan(value) && std::isnan(expected))) ++wrong[i];
            }
        }
    });
    for (size_t i = 0; i < handles.size(); ++i)
        EXPECT_EQ(wrong[i].load(), 0) << "case " << i;
    for (void* handle : handles) EXPECT_EQ(iCalcFreeFormula(client, handle), 0);
    iCalcFinalize(client);
}

}  // namespace
