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
        {R"(Let("a", [-1 2], Abs(Local("a"))))", "1 2"},
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
        {"Ln(0)", "-inf"},
        {"Ln(-1)", "NULL"},  // a domain error gives a null
        {"Log10(1000)", "3"},
        {"lg(1000)", "3"},
        {"log(8)", "3"},  // log is base 2
        {"Log2([8 0.5])", "3 -1"},
        {"Sqr(-3)", "9"},
        {"Sqrt([4 -1])", "2 NULL"},
        {"Acos(1)", "0"},
        {"Asin(2)", "NULL"},
        {"Atan(1)", "0.7854"},
        {"Trunc(-1.5)", "-1"},
        {"Int(2.9)", "2"},
        {"Trunc(3000000000)", "-2147483648"},
        {"Trunc(1 / 0)", "0"},
        {"Frac(-1.25)", "-0.25"},
        {"Frac(3000000000)", "5147483648"},
        {"Frac(1 / 0)", "NULL"},
        {"Sign([-2 0 3])", "-1 0 1"},
        {"Sign(1 / 0)", "0"},
        {"Zero([0 0.001 -1])", "0 1 1"},
        {"Zero(1 / 0)", "1"},
        {"Abs(NULL)", ""},
        // 0 ^ 0 is 0 for a scalar but null in a number list: it tells a
        // one-element list from a number.
        {"Abs(0) ^ 0", "0"},
        {"Abs([0]) ^ 0", "NULL"},
        {"Radius(0, 0) ^ 0", "NULL"},
        {"Arg(1, 0) ^ 0", "NULL"},
        {"IPower(0, 1) ^ 0", "NULL"},
        {"Not(2.5)", "0"},
        {"Not(1 / 0)", "0"},
        {"Not(Sqrt([0 4 -1]))", "1 0 0"},
        {"Not(NULL)", ""},
        {"Not(Rem())", Failure("couldn't evaluate 1st parameter", "Not")},
        {"EqualWithinRange(1, 1, 0)", "false"},
        {"EqualWithinRange(1, 1.4, 0.5)", "true"},
        {"EqualWithinRange(1.5, 1, 0.5)", "false"},
        {"EqualWithinRange(1, 1 / 0, 5)", "false"},
        {"EqualWithinRange(-1, 1, 2.1)", "true"},
    });
}

TEST(Math, Round) {
    ExpectTexts({
        // One parameter: a half away from zero, through 32 bits.
        {"Round(2.5)", "3"},
        {"Round(-2.5)", "-3"},
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
        {"Round(3000000000.4, 0)", "3000000000"},
        {"Round([1.25 -2.55 NULL], 1)", "1.3 -2.5 NULL"},
        {"Round(\"1.25\", 1)", "1"},  // a text takes no part in multiplication
        // At most 20 zeros: with -21, 5e20 would round up to 1e21.
        {"Round(5e20, -21)", "500000000000000000000"},
        {"Round(Rem(), 2)", Failure("couldn't evaluate 1st parameter", "Round")},
    });
}

TEST(Math, RoundWarnsBeyondTwentyDecimals) {
    const std::string decimals = "only 20 decimals supported when rounding numbers|";
    const std::string zeros = "only 20 zeros supported when rounding numbers|";
    const TextRow rows[] = {
        {"Round(1, 20)", ""},       {"Round(1, -20)", ""},
        {"Round(1, 21)", decimals}, {"Round([1 2], 100)", decimals},
        {"Round(1, -21)", zeros},   {"Round(1, 21) + Round(1, -21)", decimals + zeros},
        {"Round(1)", ""},
    };
    Host host(HostOptions{.lineFeed = u"\n"});
    for (const TextRow& row : rows)
        EXPECT_EQ(WarningsOf(host, row.formula), row.text) << row.formula;
}

TEST(Math, PowRadiusArgIPower) {
    ExpectTexts({
        {"Power(2, 0.5)", "1.4142"},
        {"Pow(-8, 1 / 3)", "NULL"},
        {"Pow(0, 0)", "0"},
        {"Pow([0], [0])", "NULL"},
        {"Pow([0 2], 0)", "NULL 1"},
        {"Pow(2, [1 2])", "2 4"},
        // The exponent is checked first.
        {"Pow(Rem(), Rem())", Failure("couldn't evaluate 2nd parameter", "Pow")},
        {"Pow(Rem(), 1)", Failure("couldn't evaluate 1st parameter", "Pow")},
        {"Radius(3, 4)", "5"},
        {"Radius(-3, [4 0])", "5"},  // the first number of a list
        {"Radius(1 / 0, 1)", "NULL"},
        {"Radius(Rem(), 1)", Failure("couldn't evaluate 1st parameter", "Radius")},
        {"IPower(2, -2)", "0.25"},
        {"IPower(0, 0)", "1"},
        {"IPower(2.9, 3.9)", "8"},  // both cut to integers
        {"IPower(0, -1)", "inf"},
        {"IPower(1, -2147483648)", "1"},
        // Huge exponents give what multiplying that often would.
        {"IPower(-1, 2147483647)", "-1"},
        {"IPower(2, 2147483647)", "inf"},
        {"IPower(-2, 2147483647)", "-inf"},
        {"IPower(-3, 2147483646)", "inf"},
        {"IPower(2, -2147483648)", "0"},
        {"IPower(3000000000, 2)", "4611686018427387904"},
    });
    // Arg exactly: on the y axis, the origin included, +pi/2 above it and
    // -pi/2 otherwise. Log2 is ln(x) times 1.442695040889, not the exact
    // base-2 logarithm.
    struct {
        const char* formula;
        double number;
    } exact[] = {
        {"Arg(0, 0)", -1.5707963267948966},  {"Arg(0, 1)", 1.5707963267948966},
        {"Arg(0, -1)", -1.5707963267948966}, {"Arg(1, 1)", 0.7853981633974483},
        {"Arg(-1, 0)", 3.141592653589793},   {"Arg(-1, -1)", 3.9269908169872414},
        {"Log2(8)", 3.0000000000000759},
    };
    Host host(HostOptions{.flags = ORDODLL_FLAG_FORCE_FLOAT_RESULT});
    for (const auto& row : exact)
        EXPECT_EQ(host.Calc(row.formula).number, row.number) << row.formula;
}

TEST(Math, RandomCountsAndRange) {
    Host host(HostOptions{.lineFeed = u"\n"});
    for (const char* formula : {"Random()", "Random(1)", "Random(1.9)"})
        EXPECT_EQ(Numbers(host.Calc(formula).text).size(), 1u) << formula;
    EXPECT_EQ(Numbers(host.Calc("Random(2)").text).size(), 2u);
    const std::vector<double> numbers = Numbers(host.Calc("Random(1000)").text);
    ASSERT_EQ(numbers.size(), 1000u);
    const auto [low, high] = std::minmax_element(numbers.begin(), numbers.end());
    EXPECT_TRUE(*low >= 0 && *high <= 1 && *low != *high) << *low << " to " << *high;

    const std::string notPositive = Failure("1st parameter has to be positive integer", "Random");
    const std::string tooMany =
        Failure("1st parameter exceeds the maximum amount of 1000000 values", "Random");
    ExpectTexts({
        {"Random(0)", notPositive},
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
    std::string texts[2];
    for (std::string& text : texts) {
        std::thread([&text] { text = Host().Calc("Random(50)").text; }).join();
        EXPECT_EQ(Numbers(text).size(), 50u);
    }
    EXPECT_NE(texts[0], texts[1]);
}

TEST(Math, GetUserName) {
    const passwd* entry = getpwuid(geteuid());
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(Host().Calc("GetUserName()").text, std::string(entry->pw_name).substr(0, 64));
}

}  // namespace
