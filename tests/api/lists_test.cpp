// The list and statistics builtins through the exported interface. Number
// literals are floats, so [1 2 3] is a number list; NULL in a list is a null
// element. A result that is a number and not a list shows in `F(...) ^ 0`:
// 0 to the 0 is 0 for a number and null in a list. For Count the host
// answers n with the text "NULL" (a null from the host); zz is unknown.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "OrdoHost.h"

using namespace ordotest;

namespace {

const std::string TooLong = "the resulting list would exceed the maximum length of 1000000 values";

TEST(Lists, Reductions) {
    ExpectTexts({
        {"Sum(1, [2 3], \"4 5\")", "15"},
        {"Prod([2 3], 4)", "24"},
        {"Min([3 -1 2], 0)", "-1"},
        {"Max(-5, [-3 -4])", "-3"},
        {"Mean([1 2], 6)", "3"},
        {"Median(3, 1, 2, 4)", "2.5"},
        {"Get([1 2 3])", "6"},  // Get adds up its list
        {"Sum([0]) ^ 0", "0"},  // a number, not a list
        // No numbers: no result; for the sample statistics and the median,
        // one number is not enough.
        {"Sum()", ""},
        {"StDev(5)", ""},
        {"Var([5])", ""},
        {"Median(5)", ""},
        {"StDevp(5)", "0"},
        {"Varp(5)", "0"},
        {"Sum(Rem())", Failure("couldn't evaluate 1st parameter", "Sum")},
    });
}

// A null makes every reduction null; where nulls are ignored it is dropped,
// and a list of nulls alone leaves no numbers.
TEST(Lists, ReductionsAndNulls) {
    const char* functions[] = {"Sum",   "Prod", "Min",  "Max",    "Average", "Mean",
                               "StDev", "Var",  "Varp", "StDevp", "Median"};
    Host host;
    for (const char* function : functions) {
        SCOPED_TRACE(function);
        const std::string name = function;
        for (const char* list : {"[1 NULL 3]", "[NULL 1 3]", "[1 3 NULL]"})
            EXPECT_EQ(host.Calc(name + "(" + list + ")").text, "NULL") << list;
        EXPECT_EQ(host.Calc("IgnoreNull(" + name + "([1 NULL 3]))").text,
                  host.Calc(name + "([1 3])").text);
        EXPECT_EQ(host.Calc(name + "_([1 NULL 3])").text, host.Calc(name + "([1 3])").text);
        EXPECT_EQ(host.Calc("IgnoreNull(" + name + "([NULL NULL]))").text, "");
    }
    ExpectTexts({
        {"RaiseNull(Sum_([1 NULL 2]))", "NULL"},
        {"IgnoreNull(Median([NULL 5]))", ""},
        {"IgnoreNull(Sum(1 / 0))", ""},
    });
}

// The value of a formula that must give a number.
double NumberOf(Host& host, const std::string& formula) {
    const Outcome outcome = host.Calc(formula);
    EXPECT_TRUE(outcome.isNumber) << formula << ": " << outcome.text;
    return outcome.number;
}

// Mean, squared deviations and median of a data set, computed here in a
// different way from the library's: the sums in long double, the
// deviations in a second pass, the median by a full sort.
struct Statistics {
    double sum;
    double mean;
    long double squares;
    double median;
};

Statistics Describe(std::vector<double> numbers) {
    long double sum = 0;
    for (double x : numbers) sum += x;
    const long double n = numbers.size();
    const long double mean = sum / n;
    long double squares = 0;
    for (double x : numbers) squares += (x - mean) * (x - mean);
    std::sort(numbers.begin(), numbers.end());
    const size_t half = numbers.size() / 2;
    const double median =
        numbers.size() % 2 ? numbers[half] : (numbers[half - 1] + numbers[half]) / 2;
    return {static_cast<double>(sum), static_cast<double>(mean), squares, median};
}

// The statistics of data sets that defeat n Σx² − (Σx)²: values far from 0
// with small differences between them.
TEST(Lists, StatisticsMatchAnIndependentComputation) {
    std::vector<std::vector<std::string>> sets = {
        {"1000000004", "1000000007", "1000000013", "1000000016"},
        {"123456789.123", "123456789.456", "123456789.789", "123456790.012", "123456789.5"},
        {"0.1", "0.2", "0.3", "0.4", "0.5", "0.6", "0.7", "0.8", "0.9", "10.5", "-3.25"},
        {"-7", "1e15", "3", "1e15", "-1e15"},
    };
    // A thousand numbers near 1e8, in no order.
    std::vector<std::string> thousand;
    for (int i = 1; i <= 1000; ++i) thousand.push_back(std::to_string(100000000 + i * 3 % 1000));
    sets.push_back(thousand);

    Host host(HostOptions{.flags = ORDODLL_FLAG_FORCE_FLOAT_RESULT});
    for (const std::vector<std::string>& set : sets) {
        std::string list = "[";
        std::vector<double> numbers;
        for (const std::string& item : set) {
            list += item + " ";
            numbers.push_back(std::stod(item));
        }
        list += "]";
        SCOPED_TRACE(list.substr(0, 60));
        const Statistics expected = Describe(numbers);
        const long double n = numbers.size();
        const auto near = [](double actual, double expected) {
            EXPECT_NEAR(actual, expected, 1e-13 * std::max(1.0, std::fabs(expected)));
        };
        near(NumberOf(host, "Sum(" + list + ")"), expected.sum);
        near(NumberOf(host, "Average(" + list + ")"), expected.mean);
        near(NumberOf(host, "Var(" + list + ")"), expected.squares / (n - 1));
        near(NumberOf(host, "Varp(" + list + ")"), expected.squares / n);
        near(NumberOf(host, "StDev(" + list + ")"), std::sqrt(expected.squares / (n - 1)));
        near(NumberOf(host, "StDevp(" + list + ")"), std::sqrt(expected.squares / n));
        EXPECT_EQ(NumberOf(host, "Median(" + list + ")"), expected.median);
    }
    // Exactly, where n Σx² − (Σx)² loses all digits.
    EXPECT_EQ(NumberOf(host, "Var([1000000004 1000000007 1000000013 1000000016])"), 30.0);
    EXPECT_EQ(NumberOf(host, "Varp(1e9 + [4 7 13 16])"), 22.5);
}

TEST(Lists, Min2Max2Sum2AndMeanValue) {
    ExpectTexts({
        {"Min2([4 0 2]) ^ 0", "0"},
        {"Min2([3 NULL 1])", "NULL"},
        {"Max2(\"4 9 2\")", "9"},
        // Pairwise, the shorter list extended by its default value: 0 for a
        // list, the number itself for a number.
        {"Min2([2 5 1], [3 1])", "2 1 0"},
        {"Max2(5, [1 7 3])", "5 7 5"},
        {"Min2([1 9], 4)", "1 4"},
        {"Min2([5 5], [1 NULL])", "1 0"},  // a null choice gives 0
        {"Min2(1, 2, 3)", Failure("too many parameters (max. 2)", "Min2")},
        {"Max2([1], Rem())", Failure("couldn't evaluate 2nd parameter", "Max2")},
        {"Sum2([1 2])", "1 2"},
        {"Sum2(\"a,b\")", "a,b"},
        {"Sum2(NULL)", ""},
        {"Sum2(Rem())", Failure("couldn't evaluate 1st parameter", "Sum2")},
        {"MeanValue([1 2 4])", "2.3333"},
        {"MeanValue([-1 1]) ^ 0", "0"},
        {"MeanValue(\"1 2 6\")", "3"},
        {"MeanValue([1 NULL])", "NULL"},
        // Weighted: Σ wx / Σ w over the positions both lists have.
        {"MeanValue([1 2 3], [1 3])", "1.75"},
        {"MeanValue([2 4], [1 1 10])", "3"},
        {"MeanValue([1 2 3], 2)", "1"},
        {"MeanValue([1 2], [0 0])", "NULL"},
        {"MeanValue([1 2], Rem())", Failure("couldn't evaluate 2nd parameter", "MeanValue")},
    });
}

TEST(Lists, Count) {
    const std::string zz =
        "Calculation failed\nRuntime error:\nError: Illegal parameter error "
        "occurred while evaluating value for external symbol: zz\n\n";
    Host host(HostOptions{.lineFeed = u"\n"});
    host.symbols["n"] = Outcome{0, 0, false, 0, "NULL"};
    const std::vector<TextRow> rows = {
        {"Count(5)", "1"},
        {"Count([1 NULL 3])", "3"},
        {"Count(\"a,b,c\")", "3"},
        {"Count(NULL)", "0"},
        {"Count(Rem())", "0"},
        {"Count(1 / 0)", "1"},
        // A null from the host, read as a number, ends the calculation
        // unless nulls count.
        {"Count(-n)", NullNumber},
        {"Count(-n, 0)", NullNumber},
        {"Count(-n, 1)", "1"},
        {"Count(-n, [2 0])", "1"},
        {"Sequence(Count(-n, 1), -n)", NullNumber},  // the null handling is restored
        {"IgnoreNull(Count([1 NULL]))", "2"},
        {"Count(zz)", zz + Raised("object evaluation error", "Count")},
        {"Count(1, zz)", zz + Raised("include null values evaluation error", "Count")},
    };
    ExpectTexts(host, rows);
}

TEST(Lists, PickingShiftingAndBuilding) {
    ExpectTexts({
        {"First([0 2 3]) ^ 0", "0"},          // one number
        {"First([0 2 3], 2) ^ 0", "NULL 1"},  // a list
        {"First([1 2], 5)", "1 2"},
        {"Last([1 2], 0)", ""},
        {"First(7.5, 0)", "0"},
        {"First(\"a,b,c\", 2)", "a,b"},
        {"Last(\"a,b,c\", 2)", "b,c"},
        {"Last(\"a,b,c\")", "c"},
        {"First([1 2], -1)", Failure("2nd parameter is negative", "First")},
        {"First(Rem())", Failure("couldn't evaluate 1st parameter", "First")},
        {"ReverseList(\"a,b,c\")", "c,b,a"},
        {"Next([1 2 3])", "2 3 0"},
        {"Next([1 2 3], -1)", "0 1 2"},
        {"Prev([1 2 3], -2)", "3 0 0"},
        {"Prev([1 2], 3000000000)", "0 0"},
        {"Next(\"a,b,c\")", "b,c,"},
        {"ChooseAbsolute(2, [4 NULL 6])", "NULL"},
        {"ChooseAbsolute(0, [4 5])", ""},
        {"ChooseAbsolute(3, [4 5])", ""},
        {"ChooseAbsolute(-2147483648, [4 5])", ""},
        {"ChooseAbsolute(2, \"a,b\")", "b"},
        {"ChooseAbsolute(1, 7)", ""},
        {"MakeListOf(2, 1, 3, [7 8])", "1 1 7 8 7 8 7 8"},
        {"MakeListOf(0, 5, -1, 6, 1, 2)", "2"},
        {"MakeListOf(2, 1, 9)", "1 1"},  // a length without a value
        {"MakeListOf(1, 0) ^ 0", "NULL"},
        {"MakeListOf(1, Rem())", Failure("couldn't evaluate 2nd parameter", "MakeListOf")},
        {"ContinuousFill([0 3 0 0 5 0])", "0 3 3 3 5 5"},
        {"ContinuousFill([2 NULL 0])", "2 NULL NULL"},  // a null is not 0
        {"ContinuousFill(0) ^ 0", "NULL"},
        {"ConcatToNumberlist(1, [2 3], \"4 5\")", "1 2 3 4 5"},
        {"IgnoreNull(ConcatToNumberlist([1 NULL]))", "1 NULL"},
        {"ConcatToNumberlist(0) ^ 0", "NULL"},
    });
}

TEST(Lists, GrowthRunningSumsAndGroups) {
    ExpectTexts({
        {"AbsoluteGrowth([1 4 9])", "1 3 5"},
        {"ProportionalGrowth([0 5])", "0 0"},
        {"ProportionalGrowth([2 3 6 0])", "0 0.5 1 -1"},
        {"CaGrowth([0 100 121])", "0 0 0.21"},
        {"CaGrowth([100 110 121 200], 0)", "0 0.1 0.1 0.2599"},
        {"CaGrowth([100 -5 5], 0)", "0 0 -0.7764"},
        {"CaGrowth([1 2], -1)", "0 0"},
        {"ValuesFromGrowth(100, [9 0.1])", "100 110"},
        {"ValuesFromGrowth(5, 9)", "5"},
        {"Cumulative2([1 2 3 4])", "1 3 6 10"},
        {"Cumulative2([1 2 3 4], 2)", "1 3 5 7"},
        {"Cumulative2([1 2 3 4], -2)", "3 5 7 4"},
        {"Cumulative2([1 2 3 4 5], 2, 1)", "1 3 3 7 5"},
        {"Cumulative2([1 NULL 3], 1)", "1 NULL NULL"},
        {"Cumulative2([1 2], 1, 2)", Failure("3rd parameter must be 0 or 1", "Cumulative2")},
        {"SumTogether(2, [1 2 3])", "3 3"},
        {"SumTogether(-3, [3 6])", "1 1 1 2 2 2"},
        {"SumTogether(0, [1 2 3])", "6"},
        {"SumTogether(0, [0]) ^ 0", "0"},  // a number
        {"SumTogether(1 / 0, [1 2])", "3"},
        {"SumTogether(1, \"1,2\")", "1,2"},  // the list itself
        {"SumTogether(2, [1 NULL 3])", "NULL 3"},
    });
}

TEST(Lists, SortAndMasks) {
    ExpectTexts({
        {"Sort([2 NULL 1])", "1 2 NULL"},  // a null after every number
        {"Sort(\"b,a,B,A\")", "a,A,b,B"},  // equal parts keep their order
        {"Sort(\"b, \\\"c,d\\\",a\")", "a,b,\"c,d\""},
        {"Sort(\"\")", ""},
        // By the weights, equal weights keeping their order.
        {"Sort([1 2 3], [3 1 2])", "2 3 1"},
        {"Sort(\"x,y,z\", [2 1 2])", "y,x,z"},
        {"Sort([7 8 9], [NULL 2 1])", "9 8 7"},
        {"Sort([3 1], 5)", "1 3"},  // one weight is none
        {"Sort([1 2 3], [1 2])",
         Failure("numberlist in 2nd parameter shorter than numberlist in 1st parameter", "Sort")},
        {"Sort(\"a,b,c\", [2 1])",
         Failure("numberlist in 2nd parameter is shorter than stringlist in 1st parameter",
                 "Sort")},
        {"Sort(5)", Failure("incompatible type for sort-function", "Sort")},
        {"Mask([1 2 3 4], [1 0 NULL 1])", "1 4"},
        {"Sum(Mask([1 2 3 4], [0 1 1]))", "5"},
        {"MaskRange([1 2 3 4], 3)", "3"},
        {"MaskRange([1 2 3 4], 0, 2)", "1 2 3 4"},
        {"MaskRange([1 2], -1, 5)", "1 2"},
        {"MaskRange([1 2 3], 3, 2)", ""},
    });
}

// No list grows beyond the longest range.
TEST(Lists, ListLengthIsLimited) {
    ExpectTexts({
        {"Count(MakeListOf(500000, [1 2]))", "1000000"},
        {"MakeListOf(500000, [1 2], 1, 3)", Failure(TooLong, "MakeListOf")},
        {"MakeListOf(2147483647, [1 2])", Failure(TooLong, "MakeListOf")},
        {"SumTogether(-2147483648, [1])", Failure(TooLong, "SumTogether")},
        {"MaskRange([1], 1, 1000001)", Failure(TooLong, "MaskRange")},
    });
}

// A list parameter that a variable holds stays as it is, for the element
// functions too; a prepared formula gives the same value each time. % stands
// for the list.
TEST(Lists, ListParametersStayIntact) {
    std::vector<std::string> calls = {
        "ContinuousFill(%)",      "AbsoluteGrowth(%)", "ProportionalGrowth(%)", "CaGrowth(%, 0)",
        "ValuesFromGrowth(1, %)", "Cumulative2(%, 2)", "Min2(%, [0 0 0])",      "Next(%)",
        "ReverseList(%)",         "Sort(%)",           "First(%, 2)",           "Sum2(%)",
    };
    // The element functions, which change a list that nothing else holds in place.
    calls.push_back("Abs(%) + Sqr(%) + Round(%, 1) + Not(%)");
    const auto with = [](std::string call, const std::string& list) {
        for (size_t at; (at = call.find('%')) != std::string::npos;) call.replace(at, 1, list);
        return call;
    };
    Host host;
    for (const std::string& call : calls) {
        SCOPED_TRACE(call);
        EXPECT_EQ(host.Calc(R"(Let("a", [-3 0 2.45], Sequence()" + with(call, R"(Local("a"))") +
                            R"(, Local("a"))))")
                      .text,
                  "-3 0 2.45");
        void* handle = nullptr;
        ASSERT_EQ(host.Prepare(with(call, "[-3 0 2.45]"), &handle).code, ORDODLL_RESULT_OK);
        const std::string first = host.Calculate(handle).text;
        EXPECT_EQ(host.Calculate(handle).text, first);
        iCalcFreeFormula(host.client, handle);
    }
}

}  // namespace
