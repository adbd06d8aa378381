// Faults and exceptions in the host's callbacks: the call answers -7, the
// host's log gets a report of the fault, where it lies and the stack that
// led there, and the client goes on.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "OrdoHost.h"
#include "tests/TestClient.h"

using namespace ordotest;

namespace {

thread_local std::vector<std::string> reports;

int32_t KeepReports(const char16_t* text, int32_t priority) {
    if (priority == ORDODLL_LOG_ENTRY_PRIORITY_CRITICAL_ERROR) reports.push_back(Narrow(text));
    return ORDODLL_RESULT_OK;
}

// Symbols: "a" is 1, "nul" reads through a null pointer, "divide" divides an
// integer by 0, "deep" recurses until its stack overflows, "throw" throws.
__attribute__((noinline)) int Deeper(int depth) {
    volatile char frame[512];
    frame[0] = static_cast<char>(depth);
    static volatile bool forever = true;
    return forever ? Deeper(depth + 1) + frame[0] : 0;
}

// Faults on purpose: the undefined-behaviour checker must not stop it first.
__attribute__((noinline, no_sanitize("undefined"))) int32_t ReadThroughNull() {
    volatile int* nowhere = nullptr;
    return *nowhere;
}

// Faults on purpose: the undefined-behaviour checker must not stop it first.
__attribute__((noinline, no_sanitize("undefined"))) int32_t DivideByZero() {
    volatile int numerator = 7;
    volatile int zero = 0;
    return numerator / zero;
}

int32_t Symbols(const char16_t* name, DTCalcFunctionParameterValue*, int32_t, DTCalcResult* result,
                void*) {
    const std::string symbol = Narrow(name);
    if (symbol == "nul") return ReadThroughNull();
    if (symbol == "divide") return DivideByZero();
    if (symbol == "deep") return Deeper(0);
    if (symbol == "throw") throw std::runtime_error("the host gave up");
    return AnswerNumber(result, 1);
}

int32_t NullFunction(int32_t, DTCalcFunctionParameterValue*, void*, DTCalcResult*) {
    return ReadThroughNull();
}

void* NewClient() {
    void* client = NewTestClient(Symbols, ORDODLL_FLAG_DEFAULT, nullptr, KeepReports);
    EXPECT_NE(client, nullptr);
    DTCalcFunctionParameter parameter{u"x", 0, ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBER, nullptr};
    DTCalcFunction function{u"Boom",     nullptr, u"Host",
                            &parameter,  0,       ORDODLL_FUNCTION_RESULT_TYPE_NUMBER,
                            NullFunction};
    EXPECT_EQ(iCalcRegisterFunction(client, &function), ORDODLL_RESULT_OK);
    return client;
}

struct Crash {
    const char* formula;
    const char* exceptionLine;  // the report's first line, or its beginning
    const char* faultingFunction;
    // One of the library's frames on the way; null where the faulting
    // function's own frames fill the walk.
    const char* libraryFunction;
};

// Calculates on a thread of its own whose stack is small, so that an
// overflow comes quickly.
int32_t CalculateOnSmallStack(void* client, const std::u16string& formula) {
    int32_t code = 0;
    std::vector<std::string> threadReports;
    EXPECT_TRUE(RunOnStackOf(512 * 1024, [&] {
        DTCalcResult result{};
        code = iCalcCalculateFormula(client, formula.c_str(), &result, nullptr);
        iCalcFreeMemory(result.xResultBuffer);
        threadReports = reports;
    }));
    reports = threadReports;
    return code;
}

TEST(CrashReport, FaultOrExceptionInACallbackIsReported) {
    const Crash crashes[] = {
        {"[1 2] + nul + a", "Exception: ACCESS_VIOLATION (0x", "ReadThroughNull",
         "CalcClient::AskSymbolValue"},
        {"a + Boom(a)", "Exception: ACCESS_VIOLATION (0x", "ReadThroughNull",
         "ExternalFunction::Calculate"},
        {"1 + divide", "Exception: INT_DIVIDE_BY_ZERO (0x00000000c0000094)", "DivideByZero",
         "CalcClient::AskSymbolValue"},
        {"1 + deep", "Exception: STACK_OVERFLOW (0x00000000c00000fd)", "Deeper", nullptr},
    };
    void* client = NewClient();
    for (const Crash& crash : crashes) {
        SCOPED_TRACE(crash.formula);
        reports.clear();
        EXPECT_EQ(CalculateOnSmallStack(client, Wide(crash.formula)),
                  ORDODLL_RESULT_UNHANDLED_EXCEPTION);
        ASSERT_EQ(reports.size(), 1u);
        const std::string& report = reports[0];
        EXPECT_EQ(report.rfind(crash.exceptionLine, 0), 0u) << report;
        const size_t second = report.find("\r\n") + 2;
        EXPECT_EQ(report.compare(second, 17, "Fault address: 0x"), 0) << report;
        EXPECT_NE(report.find("\r\nDllBase=0x"), std::string::npos) << report;
        const size_t stack = report.find("\r\nCallstack:\r\n");
        ASSERT_NE(stack, std::string::npos) << report;
        EXPECT_EQ(report.substr(report.size() - 4), "\r\n\r\n");
        // The faulting function comes first, the exported call further on.
        const size_t faulting = report.find(crash.faultingFunction, stack);
        EXPECT_NE(faulting, std::string::npos) << report;
        if (!crash.libraryFunction) continue;
        const size_t library = report.find(crash.libraryFunction, stack);
        const size_t exported = report.find("\tiCalcCalculate+", stack);
        EXPECT_LT(faulting, library) << report;
        EXPECT_LT(library, exported) << report;
        EXPECT_NE(exported, std::string::npos) << report;
    }
    // An exception is reported with its text in place of a stack.
    reports.clear();
    DTCalcResult result{};
    EXPECT_EQ(iCalcCalculateFormula(client, u"[1 2] + throw", &result, nullptr),
              ORDODLL_RESULT_UNHANDLED_EXCEPTION);
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0],
              "Exception: C++ exception (0x00000000e06d7363)\r\nthe host gave up\r\n\r\n");
    // The client goes on.
    result = DTCalcResult{};
    EXPECT_EQ(iCalcCalculateFormula(client, u"a + 1", &result, nullptr), ORDODLL_RESULT_OK);
    EXPECT_EQ(TakeResult(ORDODLL_RESULT_OK, result).text, "2");
    iCalcFinalize(client);
}

}  // namespace
