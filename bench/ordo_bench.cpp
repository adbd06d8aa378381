// Speed of preparation, of calculation through the exported functions, and
// of tree evaluation below them.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "context/CalcContext.h"
#include "interface/Handles.h"
#include "interface/ordo.h"
#include "tests/TestClient.h"
#include "tree/Environment.h"
#include "values/Object.h"

using namespace CalcEngine;

namespace {

int32_t SymbolIsTwo(const char16_t*, DTCalcFunctionParameterValue*, int32_t, DTCalcResult* result,
                    void*) {
    auto* value = static_cast<double*>(xCalcAllocateMemory(sizeof(double)));
    *value = 2;
    result->xResultBuffer = reinterpret_cast<char16_t*>(value);
    result->iResultBufferLength = sizeof(double);
    result->iType = ORDODLL_FUNCTION_RESULT_TYPE_NUMBER;
    return ORDODLL_RESULT_OK;
}

// A host function of two numbers: their sum.
int32_t Add(int32_t, DTCalcFunctionParameterValue* parameters, void*, DTCalcResult* result) {
    auto* sum = static_cast<double*>(xCalcAllocateMemory(sizeof(double)));
    *sum = *static_cast<double*>(parameters->xValue) +
           *static_cast<double*>(parameters->xdtNext->xValue);
    result->xResultBuffer = reinterpret_cast<char16_t*>(sum);
    result->iResultBufferLength = sizeof(double);
    return ORDODLL_RESULT_OK;
}

void* NewClient() {
    void* client = NewTestClient(SymbolIsTwo, ORDODLL_FLAG_FORCE_FLOAT_RESULT);
    DTCalcFunctionParameter second{u"b", 0, ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBER, nullptr};
    DTCalcFunctionParameter first{u"a", 0, ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBER, &second};
    DTCalcFunction add{
        u"HostAdd", nullptr, u"Bench", &first, 0, ORDODLL_FUNCTION_RESULT_TYPE_NUMBER, Add};
    iCalcRegisterFunction(client, &add);
    return client;
}

void* Client() {
    static void* client = NewClient();
    return client;
}

void* Prepare(const char16_t* text) {
    DTCalcFormulaPreparationResult preparation{};
    void* handle = nullptr;
    iCalcPrepareFormula(Client(), text, &preparation, &handle, nullptr);
    return handle;
}

// 60 characters; the symbols keep it from being precalculated.
const char16_t* const sixtyCharacters =
    u"(price * 1.21 + 4.5) / (count - 2) + [1 2 3] * rate - 7.25";
// 20 nodes: 10 constants and 9 operators under one parenthesis block.
const char16_t* const twentyNodes = u"(1 + 2 * 3 - 4 / 5 + 6 * 7 - 8 + 9 * 10)";
const char16_t* const millionList = u"[1..1000000] * 2 + 1";

void PrepareMiss(benchmark::State& state) {
    for (auto _ : state) {
        void* handle = Prepare(sixtyCharacters);
        iCalcFreeFormula(Client(), handle);  // the first free evicts: the next prepare parses again
    }
}
BENCHMARK(PrepareMiss);

void PrepareCached(benchmark::State& state) {
    void* handle = Prepare(sixtyCharacters);
    for (auto _ : state) benchmark::DoNotOptimize(Prepare(sixtyCharacters));
    for (int64_t i = 0; i < state.iterations(); ++i) iCalcFreeFormula(Client(), handle);
    iCalcFreeFormula(Client(), handle);
}
BENCHMARK(PrepareCached);

void CalculatePrecalculated(benchmark::State& state) {
    void* handle = Prepare(u"6 * 7");
    for (auto _ : state) {
        DTCalcResult result{};
        iCalcCalculate(Client(), handle, &result, nullptr);
        iCalcFreeMemory(result.xResultBuffer);
    }
    iCalcFreeFormula(Client(), handle);
}
BENCHMARK(CalculatePrecalculated);

// One iCalcCalculate of a prepared formula that reads the host symbol x.
void CalculateWithSymbol(benchmark::State& state, const char16_t* text) {
    void* handle = Prepare(text);
    for (auto _ : state) {
        DTCalcResult result{};
        iCalcCalculate(Client(), handle, &result, nullptr);
        iCalcFreeMemory(result.xResultBuffer);
    }
    iCalcFreeFormula(Client(), handle);
}
BENCHMARK_CAPTURE(CalculateWithSymbol, Arithmetic, u"x * 2 + 1");
// A builtin with two arguments.
BENCHMARK_CAPTURE(CalculateWithSymbol, BuiltinCall, u"Coalesce(x, 0)");
// A lazy builtin that evaluates two of its three arguments.
BENCHMARK_CAPTURE(CalculateWithSymbol, If, u"If(x > 0, x, -x)");
// A host function with two number arguments.
BENCHMARK_CAPTURE(CalculateWithSymbol, HostFunction, u"HostAdd(x, 1)");

// Evaluation of a parsed tree inside a calculation context, as a calculate
// does it, without the result conversion; reported per unit of work (a node,
// a list element, a character).
void Evaluate(benchmark::State& state, const char16_t* text, int64_t units, const char* unit) {
    CalcContext context(ClientOfHandle(Client()), nullptr);
    Environment formula;
    formula.Parse(text, &context);
    for (auto _ : state) {
        Object* value = formula.Calculate(&context);
        benchmark::DoNotOptimize(value);
        Release(value);
    }
    state.counters[std::string("ns/") + unit] =
        benchmark::Counter(static_cast<double>(state.iterations() * units),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// Upper of a text of 1,000 characters.
const std::u16string upperOfThousand = u"Upper(\"" + std::u16string(1000, u'a') + u"\")";

BENCHMARK_CAPTURE(Evaluate, TwentyNodeTree, twentyNodes, 20, "node");
BENCHMARK_CAPTURE(Evaluate, MillionList, millionList, 1000000, "element")
    ->Unit(benchmark::kMillisecond);
// The range alone, and the range through Sqrt: the difference is Sqrt's.
BENCHMARK_CAPTURE(Evaluate, RangeOfMillion, u"[1..1000000]", 1000000, "element")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Evaluate, SqrtOfMillionList, u"Sqrt([1..1000000])", 1000000, "element")
    ->Unit(benchmark::kMillisecond);
// Reductions of the same range to one number.
BENCHMARK_CAPTURE(Evaluate, SumOfMillionList, u"Sum([1..1000000])", 1000000, "element")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Evaluate, StDevOfMillionList, u"StDev([1..1000000])", 1000000, "element")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Evaluate, MedianOfMillionList, u"Median([1..1000000])", 1000000, "element")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Evaluate, UpperOfThousandCharacters, upperOfThousand.c_str(), 1000, "character");
// Scalar conversions and dates, per call. AddToDate steps two billion days
// in the time of one.
BENCHMARK_CAPTURE(Evaluate, TextOfNumber, u"Text(1234.5678, 2)", 1, "call");
BENCHMARK_CAPTURE(Evaluate, FormatOfNumber, u"Format(\"%.2f\", 1234.5678)", 1, "call");
BENCHMARK_CAPTURE(Evaluate, WeekOfDate, u"WeekOfDate(40909)", 1, "call");
BENCHMARK_CAPTURE(Evaluate, AddToDateTwoBillionDays, u"AddToDate(40909, 1, 2, 2000000000)", 1,
                  "call");

// IRR of 120 monthly cash flows: an investment, a return each month and a
// reinvestment every two years; a rate for each of the 120 start periods.
std::u16string IrrOfCashFlow() {
    std::u16string text = u"IRR([-1000";
    for (int month = 1; month < 120; ++month) text += month % 24 == 0 ? u" -300" : u" 25";
    return text + u"], 0.01)";
}
const std::u16string irrOf120Periods = IrrOfCashFlow();
BENCHMARK_CAPTURE(Evaluate, IrrOf120Periods, irrOf120Periods.c_str(), 1, "call")
    ->Unit(benchmark::kMicrosecond);

// NPErlbChs of 10,000 traffic values from 0.01 to 100 Erlang at 2% blocking:
// one step of the Erlang B recursion per channel, about 60 per element.
BENCHMARK_CAPTURE(Evaluate, ErlangChannelsOfTenThousand, u"NPErlbChs([1..10000] / 100, 0.02)",
                  10000, "element")
    ->Unit(benchmark::kMicrosecond);

// The same work as the million-element formula, written as plain C++.
void PlainLoopMillionList(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<double> values;
        values.reserve(1000000);
        for (int i = 1; i <= 1000000; ++i) values.push_back(i);
        for (double& value : values) value *= 2;
        for (double& value : values) value += 1;
        benchmark::DoNotOptimize(values.data());
    }
}
BENCHMARK(PlainLoopMillionList)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
