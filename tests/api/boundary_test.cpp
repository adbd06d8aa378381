// The exported functions' argument rules, preparation results and the
// formula cache, driven through libordo.so.
#include <gtest/gtest.h>

#include <string>

#include "OrdoHost.h"
#include "tests/TestClient.h"

using namespace ordotest;

namespace {

int32_t FailingLog(const char16_t*, int32_t) { return ORDODLL_RESULT_UNKNOWN_ERROR; }

TEST(Boundary, InitializeChecksVersionAndRecord) {
    void* handle = reinterpret_cast<void*>(0x1234);
    DTCalcInit init{};
    init.iVersion = 8200;
    init.xWriteLogEntryFunc = IgnoreLogEntry;
    init.xxClientHandle = &handle;
    EXPECT_EQ(iCalcInitialize(&init), ORDODLL_RESULT_INCOMPATIBLE_INTERFACE_VERSION_ERROR);
    EXPECT_EQ(handle, reinterpret_cast<void*>(0x1234));
    EXPECT_EQ(iCalcInitialize(nullptr), ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR);
    init.iVersion = ORDODLL_VERSION;
    init.xWriteLogEntryFunc = nullptr;
    EXPECT_EQ(iCalcInitialize(&init), ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR);
    init.xWriteLogEntryFunc = FailingLog;
    EXPECT_EQ(iCalcInitialize(&init), ORDODLL_RESULT_UNKNOWN_ERROR);
    EXPECT_EQ(handle, reinterpret_cast<void*>(0x1234));
}

TEST(Boundary, InitializeWritesTheStartUpLine) {
    Host host;
    ASSERT_NE(host.client, nullptr);
    ASSERT_EQ(host.log.size(), 1u);
    EXPECT_EQ(host.log[0].text, "Ordo.dll version 8400 initialized successfully.");
    EXPECT_EQ(host.log[0].priority, ORDODLL_LOG_ENTRY_PRIORITY_NOTIFICATION);
}

TEST(Boundary, NullArguments) {
    Host host;
    DTCalcResult result{};
    DTCalcFormulaPreparationResult preparation{};
    void* handle = reinterpret_cast<void*>(0x1234);
    EXPECT_EQ(iCalcPrepareFormula(host.client, nullptr, &preparation, &handle, nullptr),
              ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR);
    EXPECT_EQ(handle, nullptr);  // cleared before any test
    EXPECT_EQ(iCalcPrepareFormula(nullptr, u"1", &preparation, &handle, nullptr),
              ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR);
    EXPECT_EQ(iCalcPrepareFormula(host.client, u"1", nullptr, &handle, nullptr),
              ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR);
    EXPECT_EQ(iCalcCalculate(host.client, nullptr, &result, nullptr),
              ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR);
    void* formula = nullptr;
    ASSERT_EQ(host.Prepare("1", &formula).code, ORDODLL_RESULT_OK);
    EXPECT_EQ(iCalcCalculate(host.client, formula, nullptr, nullptr),
              ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR);
    EXPECT_EQ(iCalcCalculate(nullptr, formula, &result, nullptr),
              ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR);
    iCalcFreeFormula(host.client, formula);
    EXPECT_EQ(iCalcFreeFormula(nullptr, &handle), ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR);
    EXPECT_EQ(iCalcFreeFormula(host.client, nullptr), ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR);
    EXPECT_EQ(iCalcRegisterFunction(nullptr, nullptr), ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR);
    EXPECT_EQ(iCalcFinalize(nullptr), ORDODLL_RESULT_OK);
    EXPECT_EQ(iCalcFreeMemory(nullptr), ORDODLL_RESULT_OK);
}

TEST(Boundary, ParseErrorCarriesTextAndLengthInCharacters) {
    Host host;
    std::u16string formula = u"(1";
    DTCalcFormulaPreparationResult preparation{};
    void* handle = nullptr;
    ASSERT_EQ(iCalcPrepareFormula(host.client, formula.c_str(), &preparation, &handle, nullptr),
              ORDODLL_RESULT_PARSE_ERROR);
    std::string text = Narrow(preparation.xResultBuffer);
    EXPECT_EQ(text,
              "Formula preparation failed\r\nparser exception: line 1:3: missing right parenthesis "
              "')'\r\n\r\n");
    EXPECT_EQ(preparation.iResultBufferLength, static_cast<int32_t>(text.size() + 1));
    EXPECT_EQ(preparation.iType, ORDODLL_FUNCTION_RESULT_TYPE_STRING);
    EXPECT_EQ(handle, nullptr);
    iCalcFreeMemory(preparation.xResultBuffer);

    DTCalcResult result{};
    result.iResultBufferLength = 99;
    EXPECT_EQ(iCalcCalculateFormula(host.client, formula.c_str(), &result, nullptr),
              ORDODLL_RESULT_PARSE_ERROR);
    EXPECT_EQ(result.iResultBufferLength, 0);
    EXPECT_EQ(result.xResultBuffer, nullptr);
}

TEST(Cache, SameTextSharesOneFormulaUntilTheFirstFree) {
    Host host;
    void* first = nullptr;
    void* second = nullptr;
    void* third = nullptr;
    ASSERT_EQ(host.Prepare("x + 1", &first).code, 0);
    ASSERT_EQ(host.Prepare("x + 1", &second).code, 0);
    EXPECT_EQ(first, second);
    // Another key: case and blanks count.
    ASSERT_EQ(host.Prepare("x+1", &third).code, 0);
    EXPECT_NE(third, first);
    host.symbols["x"] = Outcome{0, 0, true, 2, ""};
    EXPECT_EQ(iCalcFreeFormula(host.client, first), 0);
    EXPECT_EQ(host.Calculate(second).text, "3");  // still valid for the other use
    void* fourth = nullptr;
    ASSERT_EQ(host.Prepare("x + 1", &fourth).code, 0);
    EXPECT_NE(fourth, second);  // evicted at the first free: parsed anew
    EXPECT_EQ(iCalcFreeFormula(host.client, second), 0);
    EXPECT_EQ(iCalcFreeFormula(host.client, third), 0);
    EXPECT_EQ(iCalcFreeFormula(host.client, fourth), 0);
}

// The result of a constant formula is kept; each call gets a copy of it.
TEST(Cache, ConstantFormulaGivesEachCallABufferOfItsOwn) {
    Host host;
    void* handle = nullptr;
    ASSERT_EQ(host.Prepare("2 * 21", &handle).code, 0);
    DTCalcResult a{}, b{};
    ASSERT_EQ(iCalcCalculate(host.client, handle, &a, nullptr), 0);
    ASSERT_EQ(iCalcCalculate(host.client, handle, &b, nullptr), 0);
    EXPECT_NE(a.xResultBuffer, b.xResultBuffer);  // each call its own buffer
    EXPECT_EQ(TakeResult(0, a).text, "42");
    EXPECT_EQ(TakeResult(0, b).text, "42");
    iCalcFreeFormula(host.client, handle);
}

TEST(Cache, FailedPrecalculationIsReplayed) {
    HostOptions options;
    options.quota = 2;
    Host host(options);
    void* handle = nullptr;
    ASSERT_EQ(host.Prepare("1 + 2", &handle).code, 0);  // precalculated, and failed by quota
    for (int i = 0; i < 2; ++i) {
        Outcome outcome = host.Calculate(handle);
        EXPECT_EQ(outcome.code, ORDODLL_RESULT_QUOTA_EXCEEDED_ERROR);
        EXPECT_EQ(outcome.text, "Calculation OK\r\n");
    }
    iCalcFreeFormula(host.client, handle);
}

struct BadInput {
    const char* name;
    std::u16string formula;
    int32_t code;
    std::string textStart;
};

std::u16string Repeat(const std::u16string& piece, size_t times) {
    std::u16string out;
    for (size_t i = 0; i < times; ++i) out += piece;
    return out;
}

TEST(BadInput, EndsWithACodeAndAMessage) {
    const BadInput cases[] = {
        {"lone high surrogate", u"1 + \xD800", ORDODLL_RESULT_PARSE_ERROR,
         "Formula preparation failed\r\nparser exception: line 1:5: unexpected char: "},
        {"million-character string", u"\"" + Repeat(u"x", 1000000) + u"\"", ORDODLL_RESULT_OK,
         "xxxx"},
        {"sum of 100000 terms", u"0" + Repeat(u"+1", 100000), ORDODLL_RESULT_OK, "100000"},
        {"100000 nested parentheses", Repeat(u"(", 100000) + u"1" + Repeat(u")", 100000),
         ORDODLL_RESULT_PARSE_ERROR, "Formula preparation failed\r\nparser exception: line 1:"},
        {"100000 nested lists", Repeat(u"[", 100000) + u"1" + Repeat(u"]", 100000),
         ORDODLL_RESULT_PARSE_ERROR, "Formula preparation failed\r\nparser exception: line 1:"},
        {"100000 unary minus", Repeat(u"-", 100000) + u"1", ORDODLL_RESULT_PARSE_ERROR,
         "Formula preparation failed\r\nparser exception: line 1:"},
        {"range past the limit", u"[0..1000000]", ORDODLL_RESULT_UNHANDLED_EXCEPTION, ""},
        {"list modulo a fraction", u"[5] MOD 0.5", ORDODLL_RESULT_UNHANDLED_EXCEPTION, ""},
        // Integers come only from TRUE and FALSE: 2^31 wraps to the most negative one.
        {"integer overflow in division",
         u"(TRUE+TRUE)^((TRUE+TRUE)^(TRUE+TRUE+TRUE+TRUE+TRUE) - TRUE) DIV -TRUE",
         ORDODLL_RESULT_UNHANDLED_EXCEPTION, ""},
        {"integer overflow in modulo",
         u"(TRUE+TRUE)^((TRUE+TRUE)^(TRUE+TRUE+TRUE+TRUE+TRUE) - TRUE) MOD -TRUE",
         ORDODLL_RESULT_UNHANDLED_EXCEPTION, ""},
        {"number overflow in modulo", u"-2147483648 MOD -1", ORDODLL_RESULT_UNHANDLED_EXCEPTION,
         ""},
    };
    for (const BadInput& c : cases) {
        SCOPED_TRACE(c.name);
        Host host;
        void* handle = nullptr;
        DTCalcFormulaPreparationResult preparation{};
        int32_t code =
            iCalcPrepareFormula(host.client, c.formula.c_str(), &preparation, &handle, nullptr);
        Outcome outcome;
        if (code == ORDODLL_RESULT_OK) {
            outcome = host.Calculate(handle);
            iCalcFreeFormula(host.client, handle);
        } else {
            outcome.code = code;
            outcome.text = Narrow(preparation.xResultBuffer);
            iCalcFreeMemory(preparation.xResultBuffer);
        }
        EXPECT_EQ(outcome.code, c.code);
        EXPECT_EQ(outcome.text.substr(0, c.textStart.size()), c.textStart);
        if (c.code == ORDODLL_RESULT_UNHANDLED_EXCEPTION) {
            ASSERT_EQ(host.log.size(), 2u);
            EXPECT_EQ(host.log[1].priority, ORDODLL_LOG_ENTRY_PRIORITY_CRITICAL_ERROR);
            EXPECT_EQ(host.log[1].text.substr(0, 11), "Exception: ");
        }
    }
}

// Many hosts run formulas on threads with 1 MiB stacks: 256 levels of
// nesting must prepare and calculate there.
TEST(BadInput, DeepButOrdinaryNestingWorksOnASmallStack) {
    Host host;
    std::u16string formula =
        Repeat(u"(", 128) + Repeat(u"[", 127) + u"-1" + Repeat(u"]", 127) + Repeat(u")", 128);
    Outcome outcome;
    ASSERT_TRUE(RunOnStackOf(1 << 20, [&] {
        DTCalcResult result{};
        const int32_t code = iCalcCalculateFormula(host.client, formula.c_str(), &result, nullptr);
        outcome = TakeResult(code, result);
    }));
    EXPECT_EQ(outcome.code, ORDODLL_RESULT_OK);
    EXPECT_EQ(outcome.text, "-1");
}

}  // namespace
