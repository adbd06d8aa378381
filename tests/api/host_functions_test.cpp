// Functions the host registers: their parameters as the handler receives
// them, their results, their names beside the builtins, and their failures.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "OrdoHost.h"
#include "tests/TestClient.h"

using namespace ordotest;

namespace {

constexpr int32_t Number = ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBER;
constexpr int32_t Text = ORDODLL_FUNCTION_PARAMETER_TYPE_STRING;
constexpr int32_t List = ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBERLIST;
constexpr int32_t Reference = ORDODLL_FUNCTION_PARAMETER_TYPE_VARREF;
constexpr int32_t Repeating = ORDODLL_FUNCTION_PARAMETER_FLAG_ONE_OR_MORE;

// One parameter as the handler saw it: its type and a text of its value.
struct Seen {
    int32_t type;
    std::string value;
    bool operator==(const Seen&) const = default;
};
using SeenList = std::vector<Seen>;

std::string Describe(const DTCalcFunctionParameterValue& parameter);

std::string DescribeAll(const DTCalcFunctionParameterValue* parameters) {
    std::string out;
    for (; parameters; parameters = parameters->xdtNext)
        out += (out.empty() ? "" : "|") + Describe(*parameters);
    return out;
}

// Numbers in %g form, lists as {a b}, references as name(arguments).
std::string Describe(const DTCalcFunctionParameterValue& parameter) {
    char number[32];
    switch (parameter.iType) {
        case ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBER:
            std::snprintf(number, sizeof number, "%g", *static_cast<double*>(parameter.xValue));
            return number;
        case ORDODLL_FUNCTION_PARAMETER_TYPE_STRING:
            return Narrow(static_cast<const char16_t*>(parameter.xValue));
        case ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBERLIST: {
            uint64_t count;
            std::memcpy(&count, parameter.xValue, sizeof count);
            std::string out = "{";
            for (uint64_t i = 0; i < count; ++i) {
                double x;
                std::memcpy(&x, static_cast<char*>(parameter.xValue) + 8 + 8 * i, sizeof x);
                std::snprintf(number, sizeof number, "%g", x);
                out += (i ? " " : "") + std::string(number);
            }
            return out + "}";
        }
        default: {
            auto* reference = static_cast<DTCalcFunctionVarRefParameterValue*>(parameter.xValue);
            return Narrow(reference->xcIdentifier) + "(" + DescribeAll(reference->xdtParameters) +
                   ")";
        }
    }
}

// What the last handler call saw.
thread_local SeenList seen;
thread_local int32_t seenFlags;

void Record(int32_t flags, DTCalcFunctionParameterValue* parameters) {
    seenFlags = flags;
    seen.clear();
    for (; parameters; parameters = parameters->xdtNext)
        seen.push_back({parameters->iType, Describe(*parameters)});
}

void AnswerText(DTCalcResult* result, const std::u16string& text) {
    const size_t bytes = (text.size() + 1) * sizeof(char16_t);
    result->xResultBuffer = static_cast<char16_t*>(xCalcAllocateMemory(bytes));
    std::memcpy(result->xResultBuffer, text.c_str(), bytes);
    result->iResultBufferLength = static_cast<int32_t>(bytes);
}

// Records its parameters and answers "ok".
int32_t Recording(int32_t flags, DTCalcFunctionParameterValue* parameters, void*,
                  DTCalcResult* result) {
    Record(flags, parameters);
    AnswerText(result, u"ok");
    return ORDODLL_RESULT_OK;
}

// The sum of its number parameters, as a number.
int32_t Add(int32_t, DTCalcFunctionParameterValue* parameters, void*, DTCalcResult* result) {
    double sum = 0;
    for (; parameters; parameters = parameters->xdtNext)
        sum += *static_cast<double*>(parameters->xValue);
    return AnswerNumber(result, sum);
}

// Answers 1, 2 and null as a list.
int32_t NumberList(int32_t, DTCalcFunctionParameterValue*, void*, DTCalcResult* result) {
    const uint64_t count = 3;
    const double numbers[] = {1, 2, NAN};
    auto* buffer = static_cast<char*>(xCalcAllocateMemory(sizeof count + sizeof numbers));
    std::memcpy(buffer, &count, sizeof count);
    std::memcpy(buffer + sizeof count, numbers, sizeof numbers);
    result->xResultBuffer = reinterpret_cast<char16_t*>(buffer);
    result->iResultBufferLength = sizeof count + sizeof numbers;
    return ORDODLL_RESULT_OK;
}

int32_t Failing(int32_t, DTCalcFunctionParameterValue*, void*, DTCalcResult* result) {
    AnswerText(result, u"no such day");
    return ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR;
}

int32_t Throwing(int32_t, DTCalcFunctionParameterValue*, void*, DTCalcResult*) {
    throw std::runtime_error("handler");
}

// Leaves no buffer, or a buffer shorter than a number.
int32_t EmptyAnswer(int32_t, DTCalcFunctionParameterValue*, void*, DTCalcResult*) {
    return ORDODLL_RESULT_OK;
}

int32_t ShortAnswer(int32_t, DTCalcFunctionParameterValue*, void*, DTCalcResult* result) {
    result->xResultBuffer = static_cast<char16_t*>(xCalcAllocateMemory(4));
    result->iResultBufferLength = 4;
    return ORDODLL_RESULT_OK;
}

// Calculates its text parameter as a formula of the same client.
void* reentryClient = nullptr;
int32_t Reentering(int32_t, DTCalcFunctionParameterValue* parameters, void*, DTCalcResult* result) {
    return iCalcCalculateFormula(reentryClient, static_cast<const char16_t*>(parameters->xValue),
                                 result, nullptr);
}

struct Declared {
    int32_t type;
    int32_t flags = 0;
};

int32_t Register(void* client, const char16_t* name, TCalcFunctionHandler handler,
                 std::vector<Declared> parameters, int32_t resultType,
                 const char16_t* secondName = nullptr, int32_t flags = 0) {
    std::vector<DTCalcFunctionParameter> records(parameters.size());
    for (size_t i = 0; i < parameters.size(); ++i) {
        records[i] = {u"parameter", parameters[i].flags, parameters[i].type,
                      i + 1 < records.size() ? &records[i + 1] : nullptr};
    }
    DTCalcFunction function{name,  secondName, u"Host", records.empty() ? nullptr : records.data(),
                            flags, resultType, handler};
    return iCalcRegisterFunction(client, &function);
}

TEST(HostFunctions, ParametersReachTheHandlerTyped) {
    Host host;
    host.symbols["x"] = Outcome{0, 0, true, 7, ""};
    ASSERT_EQ(Register(host.client, u"Show", Recording, {{Number}, {Text}, {List}, {Reference}},
                       ORDODLL_FUNCTION_RESULT_TYPE_STRING),
              ORDODLL_RESULT_OK);
    struct Row {
        const char* formula;
        SeenList parameters;
    };
    const Row rows[] = {
        {"Show(x, x, x, x)", {{Number, "7"}, {Text, "7"}, {List, "{7}"}, {Reference, "x()"}}},
        {"Show(1.5, \"\", [1 2], x(2, \"a\"))",
         {{Number, "1.5"}, {Text, ""}, {List, "{1 2}"}, {Reference, "x(2|a)"}}},
        {"show(\"3\", 4, \"5 6\", x + 1)", {{Number, "3"}, {Text, "4"}, {List, "{5 6}"}}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.formula);
        seen.clear();
        Outcome outcome = host.Calc(row.formula);
        if (row.parameters.size() < 4) {
            // Anything but a symbol or a variable for a reference parameter.
            EXPECT_EQ(outcome.code, ORDODLL_RESULT_EVALUATION_ERROR);
            EXPECT_NE(outcome.text.find("attempted to use non-symbol reference as function "
                                        "parameter expecting a symbol reference"),
                      std::string::npos)
                << outcome.text;
            continue;
        }
        EXPECT_EQ(outcome.text, "ok");
        EXPECT_EQ(seen, row.parameters);
    }
}

TEST(HostFunctions, RepeatingParameterTakesTheSurplus) {
    Host host;
    ASSERT_EQ(Register(host.client, u"Tail", Recording, {{Number}, {Text, Repeating}, {Number}},
                       ORDODLL_FUNCTION_RESULT_TYPE_STRING),
              0);
    EXPECT_EQ(host.Calc("Tail(1, 2, 3, 4, 5)").text, "ok");
    EXPECT_EQ(seen,
              (SeenList{{Number, "1"}, {Text, "2"}, {Text, "3"}, {Text, "4"}, {Number, "5"}}));
    EXPECT_EQ(host.Calc("Tail(1, 2, 3)").text, "ok");
    EXPECT_EQ(seen, (SeenList{{Number, "1"}, {Text, "2"}, {Number, "3"}}));
}

struct CountRow {
    const char* formula;
    const char* message;  // empty: accepted
};

TEST(HostFunctions, ParameterCounts) {
    Host host;
    Register(host.client, u"One", Recording, {{Number}}, ORDODLL_FUNCTION_RESULT_TYPE_STRING);
    Register(host.client, u"Many", Recording, {{Number}, {Number, Repeating}},
             ORDODLL_FUNCTION_RESULT_TYPE_STRING);
    // An unknown type declares no parameter.
    Register(host.client, u"Odd", Recording, {{Number}, {99}}, ORDODLL_FUNCTION_RESULT_TYPE_STRING);
    const CountRow rows[] = {
        {"One()", "(got 0 parameter when 1 parameter was expected)"},
        {"One(1, 2)", "(got 2 parameters when 1 parameter was expected)"},
        {"Many(1)", "(got 1 parameter when 2 parameters were expected)"},
        {"Many(1, 2, 3, 4)", ""},
        {"Odd(1)", ""},
    };
    for (const CountRow& row : rows) {
        void* handle = nullptr;
        Outcome outcome = host.Prepare(row.formula, &handle);
        iCalcFreeFormula(host.client, handle);
        if (!*row.message) {
            EXPECT_EQ(outcome.code, ORDODLL_RESULT_OK) << row.formula;
            continue;
        }
        const std::string name(row.formula, std::strchr(row.formula, '('));
        EXPECT_EQ(outcome.text,
                  "Formula preparation failed\r\nSemantic error:\r\nWrong number of "
                  "parameters for function " +
                      name + " " + row.message + "\r\n\r\n");
    }
}

TEST(HostFunctions, ResultsOfEachType) {
    Host host;
    Register(host.client, u"AsNumber", Add, {{Number, Repeating}},
             ORDODLL_FUNCTION_RESULT_TYPE_NUMBER);
    Register(host.client, u"AsList", NumberList, {}, ORDODLL_FUNCTION_RESULT_TYPE_NUMBERLIST);
    Register(host.client, u"AsRawList", NumberList, {},
             ORDODLL_FUNCTION_RESULT_TYPE_RAW_NUMBERLIST);
    Register(host.client, u"AsText", Recording, {}, ORDODLL_FUNCTION_RESULT_TYPE_STRING);
    Register(host.client, u"Nothing", EmptyAnswer, {}, ORDODLL_FUNCTION_RESULT_TYPE_NUMBER);
    Register(host.client, u"TooShort", ShortAnswer, {}, ORDODLL_FUNCTION_RESULT_TYPE_NUMBER);
    Register(host.client, u"Unknown", Recording, {}, 42);
    reentryClient = host.client;
    Register(host.client, u"Nested", Reentering, {{Text}}, ORDODLL_FUNCTION_RESULT_TYPE_STRING);
    struct Row {
        const char* formula;
        int32_t code;
        const char* text;
    };
    const Row rows[] = {
        {"AsNumber(1, 2.5) * 2", 0, "7"},
        {"AsList() + 1", 0, "2 3 NULL"},
        // A raw list's null raises unless nulls are accepted: a null result.
        {"AsRawList()", 0, "NULL!"},
        {"IsNull(AsRawList())", 0, "0 0 1"},
        {"AsText() + \"!\"", 0, "ok!"},
        {"Nothing()", 0, ""},
        {"TooShort()", 0, "0"},
        {"Unknown()", ORDODLL_RESULT_EVALUATION_ERROR, "Calculation OK\r\n"},
        // The handler calculates a formula of the same client, which calls it again.
        {"Nested(\"Nested(\\\"6 * 7\\\")\")", 0, "42"},
        // A number argument that fails to fetch fails the call, and leaves no
        // buffer behind.
        {"AsNumber(1, zz)", ORDODLL_RESULT_EVALUATION_ERROR,
         "Calculation failed\r\nRuntime error:\r\nError: Illegal parameter error occurred while "
         "evaluating value for external symbol: zz\r\n\r\n"},
    };
    for (const Row& row : rows) {
        Outcome outcome = host.Calc(row.formula);
        EXPECT_EQ(outcome.code, row.code) << row.formula;
        EXPECT_EQ(outcome.isNumber ? "NULL!" : outcome.text, row.text) << row.formula;
    }
}

TEST(HostFunctions, FailuresAndMisbehaviour) {
    Host host;
    Register(host.client, u"Failing", Failing, {}, ORDODLL_FUNCTION_RESULT_TYPE_STRING);
    Register(host.client, u"Throwing", Throwing, {}, ORDODLL_FUNCTION_RESULT_TYPE_STRING);
    Outcome failed = host.Calc("Failing()");
    EXPECT_EQ(failed.code, ORDODLL_RESULT_EVALUATION_ERROR);
    EXPECT_EQ(failed.text,
              "Calculation failed\r\nRuntime error:\r\nError calculating function : Failing. no "
              "such day\r\n\r\n");
    EXPECT_EQ(host.Calc("Throwing()").code, ORDODLL_RESULT_UNHANDLED_EXCEPTION);
    EXPECT_EQ(host.Calc("1 + 1").text, "2");  // the client goes on

    DTCalcFunction record{u"NoHandler", nullptr, nullptr, nullptr, 0, 0, nullptr};
    EXPECT_EQ(iCalcRegisterFunction(host.client, &record), ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR);
    EXPECT_EQ(iCalcRegisterFunction(host.client, nullptr), ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR);
    // A function without names is registered and reached by no formula.
    DTCalcFunction nameless{nullptr, nullptr, nullptr, nullptr, 0, 0, Recording};
    EXPECT_EQ(iCalcRegisterFunction(host.client, &nameless), ORDODLL_RESULT_OK);
    host.symbols["_"] = Outcome{0, 0, true, 1, ""};
    EXPECT_EQ(host.Calc("_()").text, "1");
}

// A host function takes over its names, and only those, for formulas
// prepared later; a formula prepared before keeps the builtin.
TEST(HostFunctions, ReplacingABuiltinsName) {
    Host host;
    void* before = nullptr;
    ASSERT_EQ(host.Prepare("If(x, 1, 2)", &before).code, 0);
    host.symbols["x"] = Outcome{0, 0, true, 1, ""};
    Register(host.client, u"IF", Recording, {{Number}, {Number}, {Number}},
             ORDODLL_FUNCTION_RESULT_TYPE_STRING);
    // Another text: the cache would hand out the formula prepared before.
    EXPECT_EQ(host.Calc("If(x, 1, 3)").text, "ok");
    EXPECT_EQ(host.Calc("iif(x, 1, 2)").text, "1");
    EXPECT_EQ(host.Calculate(before).text, "1");
    iCalcFreeFormula(host.client, before);
}

// The host is told of each call of its functions at every preparation; a
// failure there fails the preparation.
TEST(HostFunctions, CallsAreReportedAtPreparation) {
    HostOptions options;
    options.listensForCalls = true;
    Host host(options);
    Register(host.client, u"Hosted", Recording, {}, ORDODLL_FUNCTION_RESULT_TYPE_STRING);
    void* handle = nullptr;
    ASSERT_EQ(host.Prepare("Hosted() + If(1, Hosted(), 0)", &handle).code, 0);
    EXPECT_EQ(host.callsReported, (std::vector<std::string>{"Hosted", "Hosted"}));
    void* again = nullptr;
    ASSERT_EQ(host.Prepare("Hosted() + If(1, Hosted(), 0)", &again).code, 0);
    EXPECT_EQ(host.callsReported.size(), 4u);  // a cached formula is reported again
    host.callReportFailure = ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR;
    void* failing = nullptr;
    EXPECT_EQ(host.Prepare("Hosted()", &failing).text,
              "Formula preparation failed\r\nSemantic error:\r\nError: Illegal parameter error "
              "occurred while initializing external function call to function: Hosted\r\n\r\n");
    iCalcFreeFormula(host.client, handle);
    iCalcFreeFormula(host.client, again);
}

TEST(HostFunctions, FlagsOfTheCall) {
    Host host;
    Register(host.client, u"Constant", Recording, {{Number}}, ORDODLL_FUNCTION_RESULT_TYPE_STRING,
             u"Second", ORDODLL_EXTERNAL_FUNCTION_FLAG_CONST);
    void* handle = nullptr;
    int32_t flags = 0;
    ASSERT_EQ(host.Prepare("Constant(1)", &handle, &flags).code, 0);
    EXPECT_EQ(flags,
              ORDODLL_PREPARED_FORMULA_FLAG_CONST | ORDODLL_PREPARED_FORMULA_FLAG_CONST_REFERENCES);
    iCalcFreeFormula(host.client, handle);
    EXPECT_EQ(host.Calc("second_(1)").text, "ok");
    EXPECT_EQ(seenFlags, ORDODLL_EXTERNAL_FUNCTION_HANDLER_FLAG_IGNORE_NULL);
    EXPECT_EQ(host.Calc("Second(1)").text, "ok");
    EXPECT_EQ(seenFlags, 0);
}

// Registration takes the client's lock; formulas that prepare others while
// they calculate (Evaluate) read the names at the same time.
int32_t SymbolIsTwo(const char16_t*, DTCalcFunctionParameterValue*, int32_t, DTCalcResult* result,
                    void*) {
    return AnswerNumber(result, 2);
}

TEST(HostFunctions, RegisteringWhileOthersCalculate) {
    void* client = NewTestClient(SymbolIsTwo);
    DTCalcFormulaPreparationResult preparation{};
    void* handle = nullptr;
    ASSERT_EQ(iCalcPrepareFormula(client, u"x * Evaluate(\"If(1, 3, 0)\")", &preparation, &handle,
                                  nullptr),
              0);
    std::vector<std::thread> calculating;
    std::atomic<int> wrong{0};
    for (int t = 0; t < 2; ++t) {
        calculating.emplace_back([&] {
            for (int i = 0; i < 300; ++i) {
                DTCalcResult result{};
                const int32_t code = iCalcCalculate(client, handle, &result, nullptr);
                if (TakeResult(code, result).text != "6") ++wrong;
            }
        });
    }
    for (int i = 0; i < 100; ++i) {
        const std::u16string name = u"Late" + Wide(std::to_string(i));
        EXPECT_EQ(Register(client, name.c_str(), Recording, {}, 1), 0);
    }
    for (std::thread& thread : calculating) thread.join();
    EXPECT_EQ(wrong.load(), 0);
    iCalcFreeFormula(client, handle);
    iCalcFinalize(client);
}

}  // namespace
