// Host symbols: values asked of the host at every calculation, references
// reported at every preparation, and the preparation flags that follow.
#include <gtest/gtest.h>

#include <csignal>
#include <stdexcept>
#include <thread>

#include "OrdoHost.h"
#include "tests/TestClient.h"

using namespace ordotest;

namespace {

constexpr int32_t Const = ORDODLL_PREPARED_FORMULA_FLAG_CONST;
constexpr int32_t ConstReferences = ORDODLL_PREPARED_FORMULA_FLAG_CONST_REFERENCES;
constexpr int32_t EmptyList = ORDODLL_EXTERNAL_OBJECT_REFERENCE_FLAG_EMPTY_PARAM_LIST;
constexpr int32_t Number = ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBER;
constexpr int32_t Text = ORDODLL_FUNCTION_PARAMETER_TYPE_STRING;
constexpr int32_t List = ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBERLIST;

using Parameters = std::vector<std::pair<int32_t, std::string>>;

Outcome NumberSymbol(double value) { return Outcome{0, 0, true, value, ""}; }

int32_t PreparationFlags(Host& host, const std::string& formula) {
    void* handle = nullptr;
    int32_t flags = -1;
    EXPECT_EQ(host.Prepare(formula, &handle, &flags).code, ORDODLL_RESULT_OK) << formula;
    iCalcFreeFormula(host.client, handle);
    return flags;
}

struct FlagsRow {
    const char* formula;
    int32_t flags;
};

// A formula is constant when every node is; a reference counts as constant
// while the tree is built, and only the host's answer makes it so for good.
TEST(Symbols, PreparationFlags) {
    const FlagsRow rows[] = {
        {"1 + 2", Const | ConstReferences},
        {"x", Const},
        {"If(x > 0, x, -x)", Const},
        {"x := 1", 0},
        {"Print(\"a\")", ConstReferences},
    };
    Host host;
    for (const FlagsRow& row : rows) EXPECT_EQ(PreparationFlags(host, row.formula), row.flags);

    HostOptions options;
    options.listensForReferences = true;
    Host listening(options);
    listening.constSymbols = {"c"};
    EXPECT_EQ(PreparationFlags(listening, "x + c"), Const);
    EXPECT_EQ(PreparationFlags(listening, "c + 1"), Const | ConstReferences);
}

TEST(Symbols, ReferencesAreReportedAtEveryPreparation) {
    HostOptions options;
    options.listensForReferences = true;
    Host host(options);
    void* first = nullptr;
    void* second = nullptr;
    ASSERT_EQ(host.Prepare("  a + b(1, \"t\", [1 2]) + c() + d(a)", &first).code, 0);
    ASSERT_EQ(host.references.size(), 5u);
    // Arguments are reported before the reference that has them.
    const std::vector<std::pair<std::string, int32_t>> expected = {
        {"a", 2}, {"b", 6}, {"c", 25}, {"a", 33}, {"d", 31}};
    for (size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(host.references[i].symbol, expected[i].first);
        EXPECT_EQ(host.references[i].position, expected[i].second);
    }
    const ReferenceReport& b = host.references[1];
    EXPECT_EQ(b.flags, 0);
    ASSERT_TRUE(b.hasConstParams);
    EXPECT_EQ(b.constParams, (Parameters{{Number, "1"}, {Text, "t"}, {List, ""}}));
    EXPECT_EQ(host.references[0].flags, EmptyList);  // a plain name
    EXPECT_EQ(host.references[2].flags, EmptyList);  // an empty argument list
    // An argument that may vary sends no arguments, and no empty-list flag.
    EXPECT_FALSE(host.references[4].hasConstParams);
    EXPECT_EQ(host.references[4].flags, 0);

    // A cached formula is reported again when it is prepared again.
    ASSERT_EQ(host.Prepare("  a + b(1, \"t\", [1 2]) + c() + d(a)", &second).code, 0);
    EXPECT_EQ(second, first);
    EXPECT_EQ(host.references.size(), 10u);
    iCalcFreeFormula(host.client, first);
    iCalcFreeFormula(host.client, second);
}

// The constant arguments are calculated at preparation, where a constant
// reference among them is asked for its value.
TEST(Symbols, ConstantArgumentsMayHoldConstantReferences) {
    HostOptions options;
    options.listensForReferences = true;
    Host host(options);
    host.constSymbols = {"rate"};
    host.symbols["rate"] = NumberSymbol(0.5);
    void* handle = nullptr;
    ASSERT_EQ(host.Prepare("f(rate * 2)", &handle).code, 0);
    ASSERT_EQ(host.references.size(), 2u);
    EXPECT_EQ(host.references[1].constParams, (Parameters{{Number, "1"}}));
    iCalcFreeFormula(host.client, handle);
}

TEST(Symbols, FailingReferenceReportFailsThePreparation) {
    HostOptions options;
    options.listensForReferences = true;
    Host host(options);
    void* handle = nullptr;
    ASSERT_EQ(host.Prepare("x + 1", &handle).code, 0);
    host.referenceFailure = ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR;
    void* again = nullptr;
    Outcome failed = host.Prepare("x + 1", &again);
    EXPECT_EQ(failed.code, ORDODLL_RESULT_PARSE_ERROR);
    EXPECT_EQ(failed.text,
              "Formula preparation failed\r\nSemantic error:\r\nError: Illegal parameter error "
              "occurred while initializing external object reference to symbol: x\r\n\r\n");
    EXPECT_EQ(again, nullptr);
    EXPECT_EQ(host.Prepare("y", &again).code, ORDODLL_RESULT_PARSE_ERROR);
    // The cached formula is as it was: one use, still calculating.
    host.symbols["x"] = NumberSymbol(1);
    EXPECT_EQ(host.Calculate(handle).text, "2");
    EXPECT_EQ(iCalcFreeFormula(host.client, handle), 0);
}

TEST(Symbols, ValuesAndFailures) {
    Host host;
    host.symbols["price"] = NumberSymbol(2.5);
    host.symbols["name"] = Outcome{0, 0, false, 0, "Ordo"};
    host.symbols["a.b.c"] = NumberSymbol(7);
    EXPECT_EQ(host.Calc("price * 4").text, "10");
    EXPECT_EQ(host.Calc("name + \"!\"").text, "Ordo!");
    EXPECT_EQ(host.Calc("a.b.c").text, "7");
    const Outcome unknown = host.Calc("Price");
    EXPECT_EQ(unknown.code, ORDODLL_RESULT_EVALUATION_ERROR);
    EXPECT_EQ(unknown.text,
              "Calculation failed\r\nRuntime error:\r\n"
              "Error: Illegal parameter error occurred while evaluating value for external symbol: "
              "Price\r\n\r\n");
    host.symbolFailure = 5;
    EXPECT_EQ(
        host.Calc("price").text,
        "Calculation failed\r\nRuntime error:\r\n"
        "Error: Unknown error occurred while evaluating value for external symbol: price\r\n\r\n");
}

// Only a known function followed by '(' is a call; any other name is the
// host's, with or without arguments.
TEST(Symbols, NamesThatAreNoCallsAreSymbols) {
    Host host;
    host.symbols["If"] = NumberSymbol(3);
    host.symbols["Sinus"] = NumberSymbol(4);
    EXPECT_EQ(host.Calc("If + If(1, 2)").text, "5");
    EXPECT_EQ(host.Calc("Sinus(1, 2)").text, "4");
    EXPECT_EQ(host.symbolRequests, (std::vector<std::string>{"If", "Sinus"}));
    EXPECT_EQ(host.lastArguments.size(), 2u);
}

TEST(Symbols, ArgumentsGoOutTypedAndLabelled) {
    Host host;
    host.symbols["x"] = NumberSymbol(1);
    EXPECT_EQ(host.Calc("x(1, \"a\", [1 2], n = 2, \"my label\" = 3, \"\" = 4)").text, "1");
    EXPECT_EQ(host.lastArguments, (Parameters{{Number, ""},
                                              {Text, ""},
                                              {List, ""},
                                              {Number, "n"},
                                              {Number, "my label"},
                                              {Number, ""}}));
    EXPECT_EQ(host.Calc("x()").text, "1");
    EXPECT_TRUE(host.lastArguments.empty());
    // The value of a local variable goes out as the value it holds.
    EXPECT_EQ(host.Calc("Let(\"v\", \"t\", x(Local(\"v\")))").text, "1");
    EXPECT_EQ(host.lastArguments, (Parameters{{Text, ""}}));

    HostOptions options;
    options.flags = ORDODLL_FLAG_FORCE_NUMBER_SYMBOL_PARAMETER_TYPE;
    Host forced(options);
    forced.symbols["x"] = NumberSymbol(1);
    EXPECT_EQ(forced.Calc("x(1, \"a\", [1 2], NULL)").text, "1");
    EXPECT_EQ(forced.lastArguments, (Parameters{{Number, ""}, {List, ""}, {List, ""}, {List, ""}}));
}

// The host is told to ignore nulls inside IgnoreNull and in a call marked
// with a trailing underscore, unless RaiseNull holds the setting.
TEST(Symbols, IgnoreNullFlag) {
    const std::pair<const char*, int32_t> rows[] = {
        {"x", 0},
        {"IgnoreNull(x)", ORDODLL_GET_SYMBOL_VALUE_FLAG_IGNORE_NULL},
        {"If_(1, x)", ORDODLL_GET_SYMBOL_VALUE_FLAG_IGNORE_NULL},
        {"RaiseNull(If_(1, x))", 0},
        {"IgnoreNull(RaiseNull(x))", 0},
        {"Sequence(IgnoreNull(1), x)", 0},
    };
    Host host;
    host.symbols["x"] = NumberSymbol(1);
    for (const auto& [formula, flags] : rows) {
        host.lastSymbolFlags = -1;
        EXPECT_EQ(host.Calc(formula).text, "1") << formula;
        EXPECT_EQ(host.lastSymbolFlags, flags) << formula;
    }
}

// An argument that fails to evaluate ends the call as unhandled, with a
// report in the log that names the argument.
TEST(Symbols, FailingArgumentEndsTheCall) {
    Host host;
    host.symbols["x"] = NumberSymbol(1);
    Outcome outcome = host.Calc("x(y)");
    EXPECT_EQ(outcome.code, ORDODLL_RESULT_UNHANDLED_EXCEPTION);
    ASSERT_EQ(host.log.size(), 2u);
    EXPECT_EQ(host.log[1].priority, ORDODLL_LOG_ENTRY_PRIORITY_CRITICAL_ERROR);
    EXPECT_NE(host.log[1].text.find("occurred while evaluating value for external symbol: y\r\n"
                                    "Error occurred while evaluating 1. parameter for function x."),
              std::string::npos)
        << host.log[1].text;
}

// An answer of failure that still hands over a buffer: the library frees it.
int32_t FailingSymbolWithBuffer(const char16_t*, DTCalcFunctionParameterValue*, int32_t,
                                DTCalcResult* result, void*) {
    result->xResultBuffer = static_cast<char16_t*>(xCalcAllocateMemory(64));
    result->iResultBufferLength = 64;
    return ORDODLL_RESULT_UNKNOWN_ERROR;
}

TEST(Symbols, FailingAnswerWithABuffer) {
    void* failing = NewTestClient(FailingSymbolWithBuffer);
    DTCalcResult result{};
    EXPECT_EQ(iCalcCalculateFormula(failing, u"x", &result, nullptr),
              ORDODLL_RESULT_EVALUATION_ERROR);
    EXPECT_EQ(TakeResult(0, result).text,
              "Calculation failed\r\nRuntime error:\r\nError: Unknown error occurred while "
              "evaluating value for external symbol: x\r\n\r\n");
    iCalcFinalize(failing);
}

int32_t ThrowingReport(DTExternalObjectReferenceData*, void*) { throw std::logic_error("host"); }

int32_t FaultingReport(DTExternalObjectReferenceData*, void*) {
    raise(SIGSEGV);
    return ORDODLL_RESULT_OK;
}

// A report callback runs under the prepare lock, inside the parse: an
// exception it throws fails the preparation, a fault ends the call; either
// way the lock is free for every other thread.
TEST(Symbols, FailingReportCallbackLeavesNothingHeld) {
    const std::pair<TCalcOnExternalObjectReferenceCreatedFunc, int32_t> cases[] = {
        {ThrowingReport, ORDODLL_RESULT_PARSE_ERROR},
        {FaultingReport, ORDODLL_RESULT_UNHANDLED_EXCEPTION}};
    for (const auto& [report, code] : cases) {
        void* client = NewTestClient(nullptr, ORDODLL_FLAG_DEFAULT, report);
        ASSERT_NE(client, nullptr);
        DTCalcResult result{};
        {
            // A fault skips the frames that held the formula being prepared.
            LeakCheckPause pause;
            EXPECT_EQ(iCalcCalculateFormula(client, u"x + 1", &result, nullptr), code);
        }
        std::thread other([&] {
            DTCalcResult sum{};
            EXPECT_EQ(iCalcCalculateFormula(client, u"1 + 1", &sum, nullptr), ORDODLL_RESULT_OK);
            EXPECT_EQ(TakeResult(0, sum).text, "2");
        });
        other.join();
        iCalcFinalize(client);
    }
}

}  // namespace
