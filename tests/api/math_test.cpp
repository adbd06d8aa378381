// The mathematical and system builtins through the exported interface:
// formula in, result text out. Number literals are floats, TRUE and FALSE
// integers, NULL the empty value; 1 / 0 is a null number. The host knows no
// symbol, so a reference to zz fails the calculation, which brings the
// warnings written before into the summary.
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "OrdoHost.h"

using namespace ordotest;

namespace {

struct Row {
    std::string formula;
    std::string text;  // the value's text, or the summary when the calculation fails
};

HostOptions Options(int32_t flags = ORDODLL_FLAG_DEFAULT) {
    HostOptions options;
    options.lineFeed = u"\n";
    options.flags = flags;
    return options;
}

void ExpectTexts(const std::vector<Row>& rows) {
    Host host(Options());
    for (const Row& row : rows) {
        SCOPED_TRACE(row.formula);
        EXPECT_EQ(host.Calc(row.formula).text, row.text);
    }
}

// The numbers of a list's text.
std::vector<double> Numbers(const std::string& text) {
    std::vector<double> numbers;
    std::istringstream in(text);
    for (double x; in >> x;) numbers.push_back(x);
    return numbers;
}

TEST(Math, ElementFunctions) {
    ExpectTexts({
        {"Abs(-2.5)", "2.5"},
        {"Abs([-1 2 -3])", "1 2 3"},
        {"Abs(\"-3\")", "3"},
        {"Sin(0)", "0"},
        {"Cos(0)", "1"},
        {"Tan(1)", "1.5574"},
        {"Sinh(1)", "1.1752"},
        {"Cosh(1)", "1.5431"},
        {"Tanh(1)", "0.7616"},
        {"Cotan(1)", "0.6421"},
        {"cot(1)", "0.6421"},
        {"Cotan(0)", "inf"},
        {"Ceil(-1.5)", "-1"},
        {"Floor(-1.5)", "-2"},
        {"Exp(1)", "2.7183"},
        {"Exp(1000)", "inf"},  // a range error gives the infinity, no message
        {"Ln(Exp(2))", "2"},
        {"Ln(0)", "-inf"},
        {"Ln(-1)", "NULL"},  // a domain error gives a null
        {"Log10(1000)", "3"},
        {"lg(1000)", "3"},
        {"log(8)", "3"},  // log is base 2
        {"LOG(8)", "3"},
        {"Log2([8 0.5])", "3 -1"},
        {"Sqr(-3)", "9"},
        {"Sqrt([4 -1])", "2 NULL"},
        {"Acos(1)", "0"},
        {"Asin(2)", "NULL"},
        {"Atan(1)", "0.7854"},
        {"Trunc(-1.5)", "-1"},
        {"Int(2.9)", "2"},
        {"Trunc(3000000000)", "-2147483648"},
        {"Trunc(-3000000000)", "-2147483648"},
        {"Trunc(1 / 0)", "0"},
        {"Frac(-1.25)", "-0.25"},
        {"Frac(3000000000)", "5147483648"},
        {"Frac(1 / 0)", "NULL"},
        {"Sign([-2 0 3])", "-1 0 1"},
        {"Sign(1 / 0)", "0"},
        {"Zero([0 0.001 -1])", "0 1 1"},
        {"Zero(1 / 0)", "1"},
        {"Abs(NULL)", ""},
    });
}

// 0 ^ 0 is 0 for a scalar but null in a number list: it tells a
// one-element list from a number.
TEST(Math, ScalarsStayScalarsAndListsStayLists) {
    ExpectTexts({
        {"Abs(0) ^ 0", "0"},
        {"Abs([0]) ^ 0", "NULL"},
        {"Radius(0, 0) ^ 0", "NULL"},
        {"Arg(1, 0) ^ 0", "NULL"},
        {"IPower(0, 1) ^ 0", "NULL"},
    });
}

TEST(Math, ListAndVariableArgumentsStayIntact) {
    ExpectTexts({
        {R"(Let("a", [-1 2], Sequence(Abs(Local("a")), Local("a"))))", "-1 2"},
        {R"(Let("a", [-1 2], Abs(Local("a"))))", "1 2"},
        {R"(Let("a", 0, Sequence(Not(Local("a")), Local("a"))))", "0"},
        {R"(Let("a", 0, Not(Local("a"))))", "1"},
        {R"(Let("a", [2.45 1], Sequence(Round(Local("a"), 1), Local("a"))))", "2.45 1"},
        {R"(Let("a", [1.25 1], Round(Local("a"), 1)))", "1.3 1"},
        {R"(Let("a", [2 3], Sequence(Pow(Local("a"), 2), Local("a"))))", "2 3"},
    });
    // A prepared formula calculates the same each time: its constant lists
    // are not changed by the functions that change a list in place.
    Host host(Options());
    for (const char* formula :
         {"Abs([-1 2])", "Sqr([-1 2]) + [-1 2]", "Round([1.25 2], 1)", "Not([0 1])"}) {
        SCOPED_TRACE(formula);
        void* handle = nullptr;
        ASSERT_EQ(host.Prepare(formula, &handle).code, ORDODLL_RESULT_OK);
        const std::string first = host.Calculate(handle).text;
        EXPECT_EQ(host.Calculate(handle).text, first);
        iCalcFreeFormula(host.client, handle);
    }
}

TEST(Math, Round) {
    ExpectTexts({
        // One parameter: a half away from zero, through 32 bits.
        {"Round(2.5)", "3"},
        {"Round(-2.5)", "-3"},
        {"Round(-2.4)", "-2"},
        {"Round(1 / 0)", "0"},
        {"Round(3000000000)", "-2147483648"},
        {"Round([0.5 -0.5 1.49])", "1 -1 1"},
        // A second parameter without a value: still the one-parameter form;
        // NULL is a value, which reads as 0 decimals.
        {"Round(-2.5, Rem())", "-3"},
        {"Round(-2.5, NULL)", "-2"},
        // Decimals: floor(x * 10^d + 0.5) / 10^d, a half towards the higher number.
        {"Round(-2.5, 0)", "-2"},
        {"Round(1234.5678, 2)", "1234.57"},
        {"Round(1234.5678, 2.9)", "1234.57"},
        {"Round(1234.5678, -2)", "1200"},
        {"Round(-1250, -2)", "-1200"},
        {"Round(3000000000.4, 0)", "3000000000"},
        {"Round([1.25 -2.55 NULL], 1)", "1.3 -2.5 NULL"},
        {"Round(\"1.25\", 1)", "1"},  // a text takes no part in multiplication
        // At most 20 zeros: with -21, 5e20 would round up to 1e21.
        {"Round(5e20, -21)", "500000000000000000000"},
        {"Round(Rem(), 2)", Failure("couldn't evaluate 1st parameter", "Round")},
    });
}

// The warnings a formula writes, seen in the summary of its failure.
std::string WarningsOf(const std::string& formula) {
    Host host(Options());
    const std::string summary = host.Calc(formula + " + zz").text;
    std::string warnings;
    std::istringstream lines(summary);
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("Warning: ", 0) == 0) warnings += line + "\n";
    }
    return warnings;
}

TEST(Math, RoundWarnsBeyondTwentyDecimals) {
    const std::string decimals = "Warning: only 20 decimals supported when rounding numbers\n";
    const std::string zeros = "Warning: only 20 zeros supported when rounding numbers\n";
    const Row rows[] = {
        {"Round(1, 20)", ""},       {"Round(1, -20)", ""},
        {"Round(1, 21)", decimals}, {"Round([1 2], 100)", decimals},
        {"Round(1, -21)", zeros},   {"Round(1, 21) + Round(1, -21)", decimals + zeros},
        {"Round(1)", ""},
    };
    for (const Row& row : rows) EXPECT_EQ(WarningsOf(row.formula), row.text) << row.formula;
}

TEST(Math, Pow) {
    ExpectTexts({
        {"Pow(2, 3)", "8"},
        {"Power(2, 0.5)", "1.4142"},
        {"Pow(2, -1)", "0.5"},
        {"Pow(-8, 1 / 3)", "NULL"},
        {"Pow(0, 0)", "0"},
        {"Pow([0], [0])", "NULL"},
        {"Pow([0 2], 0)", "NULL 1"},
        {"Pow([2 3], 2)", "4 9"},
        {"Pow(2, [1 2])", "2 4"},
        {"Pow(TRUE + TRUE, 3)", "8"},
        // The exponent is checked first.
        {"Pow(Rem(), Rem())", Failure("couldn't evaluate 2nd parameter", "Pow")},
        {"Pow(Rem(), 1)", Failure("couldn't evaluate 1st parameter", "Pow")},
    });
}

TEST(Math, RadiusArgIPower) {
    ExpectTexts({
        {"Radius(3, 4)", "5"},
        {"Radius(-3, [4 0])", "5"},  // the first number of a list
        {"Radius(1 / 0, 1)", "NULL"},
        {"Radius(Rem(), 1)", Failure("couldn't evaluate 1st parameter", "Radius")},
        {"IPower(2, -2)", "0.25"},
        {"IPower(0, 0)", "1"},
        {"IPower(2.9, 3.9)", "8"},  // both cut to integers
        {"IPower(-2, 3)", "-8"},
        {"IPower(0, -1)", "inf"},
        {"IPower(0, 5)", "0"},
        {"IPower(1, -2147483648)", "1"},
        // Huge exponents give what multiplying that often would.
        {"IPower(-1, 2147483647)", "-1"},
        {"IPower(-1, 2147483646)", "1"},
        {"IPower(2, 2147483647)", "inf"},
        {"IPower(-2, 2147483647)", "-inf"},
        {"IPower(-3, 2147483646)", "inf"},
        {"IPower(2, -2147483648)", "0"},
        {"IPower(3000000000, 2)", "4611686018427387904"},
    });
    // Arg exactly: on the y axis, the origin included, +pi/2 above it and
    // -pi/2 otherwise.
    struct {
        const char* formula;
        double number;
    } angles[] = {
        {"Arg(0, 0)", -1.5707963267948966},  {"Arg(0, 1)", 1.5707963267948966},
        {"Arg(0, -1)", -1.5707963267948966}, {"Arg(1, 1)", 0.7853981633974483},
        {"Arg(-1, 0)", 3.141592653589793},   {"Arg(-1, -1)", 3.9269908169872414},
    };
    Host host(Options(ORDODLL_FLAG_FORCE_FLOAT_RESULT));
    for (const auto& row : angles)
        EXPECT_EQ(host.Calc(row.formula).number, row.number) << row.formula;
}

TEST(Math, NotAndEqualWithinRange) {
    ExpectTexts({
        {"Not(0)", "1"},
        {"Not(2.5)", "0"},
        {"Not(1 / 0)", "0"},
        {"Not(Sqrt([0 4 -1]))", "1 0 0"},
        {"Not(TRUE)", "0"},
        {"Not(NULL)", ""},
        {"Not(Rem())", Failure("couldn't evaluate 1st parameter", "Not")},
        {"EqualWithinRange(1, 1, 0)", "false"},
        {"EqualWithinRange(1, 1.4, 0.5)", "true"},
        {"EqualWithinRange(1.5, 1, 0.5)", "false"},
        {"EqualWithinRange(1, 1 / 0, 5)", "false"},
        {"EqualWithinRange(-1, 1, 2.1)", "true"},
    });
}

TEST(Math, Log2UsesItsConstant) {
    // ln(x) times 1.442695040889, not the exact base-2 logarithm.
    Host host(Options(ORDODLL_FLAG_FORCE_FLOAT_RESULT));
    EXPECT_DOUBLE_EQ(host.Calc("Log2(8)").number, 3.0000000000000759);
    EXPECT_NE(host.Calc("Log2(8)").number, 3.0);
}

TEST(Math, ParameterCounts) {
    ExpectTexts({
        {"Abs()", WrongCount("Abs (got 0 parameter when at least 1 parameter was expected)")},
        {"Radius(1)",
         WrongCount("Radius (got 1 parameter when at least 2 parameters were expected)")},
        {"Round(1, 2, 3)",
         WrongCount("Round (got 3 parameters when at most 2 parameters were expected)")},
        {"Random(1, 2)",
         WrongCount("Random (got 2 parameters when at most 1 parameter was expected)")},
        {"GetUserName(1)",
         WrongCount("GetUserName (got 1 parameter when at most 0 parameter was expected)")},
    });
}

TEST(Math, RandomCountsAndRange) {
    Host host(Options());
    for (const char* formula : {"Random()", "Random(1)", "Random(1.9)"})
        EXPECT_EQ(Numbers(host.Calc(formula).text).size(), 1u) << formula;
    EXPECT_EQ(Numbers(host.Calc("Random(2)").text).size(), 2u);
    const std::vector<double> numbers = Numbers(host.Calc("Random(1000)").text);
    ASSERT_EQ(numbers.size(), 1000u);
    for (double x : numbers) {
        EXPECT_GE(x, 0.0);
        EXPECT_LE(x, 1.0);
    }
    EXPECT_NE(*std::min_element(numbers.begin(), numbers.end()),
              *std::max_element(numbers.begin(), numbers.end()));

    const std::string notPositive = Failure("1st parameter has to be positive integer", "Random");
    const std::string tooMany =
        Failure("1st parameter exceeds the maximum amount of 1000000 values", "Random");
    ExpectTexts({
        {"Random(0)", notPositive},
        {"Random(-1)", notPositive},
        {"Random(0.9)", notPositive},
        {"Random(NULL)", notPositive},
        {"Random(3000000000)", notPositive},  // beyond 32 bits
        {"Random(1000001)", tooMany},
        {"Random(2147483647)", tooMany},
    });
}

// Each thread has a sequence of its own, seeded when it first draws: two
// threads do not repeat each other's numbers.
TEST(Math, RandomSequencePerThread) {
    auto draw = [] {
        std::string text;
        std::thread([&text] {
            Host host(Options());
            text = host.Calc("Random(50)").text;
        }).join();
        return text;
    };
    const std::string first = draw();
    const std::string second = draw();
    EXPECT_EQ(Numbers(first).size(), 50u);
    EXPECT_EQ(Numbers(second).size(), 50u);
    EXPECT_NE(first, second);
}

TEST(Math, GetUserName) {
    const passwd* entry = getpwuid(geteuid());
    ASSERT_NE(entry, nullptr);
    const std::string expected = std::string(entry->pw_name).substr(0, 64);
    Host host(Options());
    const std::string name = host.Calc("GetUserName()").text;
    EXPECT_FALSE(name.empty());
    EXPECT_LE(name.size(), 64u);
    EXPECT_EQ(name, expected);
}

}  // namespace
