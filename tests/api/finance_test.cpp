// The financial builtins through the exported interface, their numbers
// checked against computations made here another way: the library power,
// bisection for internal rates, the cumulative worth of the purchases, the
// definitions of the depreciations. First([1], 0) is an empty list, Rem() a
// parameter without a value; the unknown symbol zz fails a calculation,
// which brings its warnings into the summary.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "OrdoHost.h"

using namespace ordotest;

namespace {

using Numbers = std::vector<double>;

TEST(Finance, TextsMessagesAndWarnings) {
    const std::string empty = "First([1], 0)";
    const std::string guesses = "lengths of guesslist and cash flows are not equal";
    const std::string periods = "Parameter 'periods' is out of domain, using default value|";
    const std::string overuse = "You tried to use more than you bought|";
    const struct {
        std::string formula, text, warnings;
    } rows[] = {
        {"IRR([0 -100 0], 0.1)", "-1 -1 -1", ""},  // one flow other than 0
        {"IRR([-100 110 -100 121], 0.05, 2)", "0.1 -0.0909 0.21 -1", ""},
        {"IRR([-100 110], -0.99)", "0.1 -1", ""},
        {"IRR([-100 110], -1)", Failure("there's an illegal guess (<= -1.0)", "IRR"), ""},
        // A short guess list is padded with its default value, here -2.
        {"IRR([-100 110], [2.1] - 2)", Failure("there's an illegal guess (<= -1.0)", "IRR"), ""},
        {"IRR(" + empty + ", 0.1)", Failure(guesses, "IRR"), ""},  // one guess, no flow
        {"IRR([-100 110], 0.1, 0)", "-1 -1", ""},
        {"IRR([100 -150 100], 0.1)", "-1 -0.3333 -1", ""},  // at first no real root
        {"NPV([100 100 100], 0.1, 0)", "0 0 0", ""},
        {"NPV([100 100 100], 0.1, -1)", "273.5537 190.9091 100", periods},
        {"NPV([100 100], 0.1, 3)", "190.9091 100", periods},
        {"NPV(" + empty + ", -1)", Failure("Illegal interest rate", "NPV"), ""},
        {"PresentValue(-1, [1 2])", "NULL", ""},
        {"PresentValue(1, [8 8], Rem())", "12", ""},
        {"PresentValue(1, [8 8 8], 0.5)", "17.6569", ""},  // 8 + 8 / 2^0.5 + 8 / 2
        {"PayBackPeriod([-100 60 60])", "1.6667", ""},
        {"PayBackPeriod([-100 50])", "3", ""},
        {"PayBackPeriod(" + empty + ")", "0", ""},
        // Once all is used the later uses keep the first list's default value.
        {"FIFO([2 2], [10 20], [4 1 1])", "30 0 0", overuse},
        {"LIFO([-3 -3] + 5, [10 20], [4 1])", "30 5", "You can't use more than you've bought|"},
        {"FIFO([0 2], [10 20], [1 2])", "10 10", overuse},
        {"FIFO([1 2], [10], [1])",
         Failure("Different lengths of numberlists in first two parameters", "FIFO"), ""},
        {"StraightLineDep(" + empty + ", 3)", "0 0", ""},
        {"StraightLineDep([1], 0)",
         Failure("2nd parameter has to be positive non-zero integer", "StraightLineDep"), ""},
        {"StraightLineDep([1], 1000001)",
         Failure("the resulting list would exceed the maximum length of 1000000 values",
                 "StraightLineDep"),
         ""},
        {"PercentualDep([100 100], 100)", "100 100 0", ""},
        {"PercentualDep([100], 0)", "0", ""},
        {"PercentualDep([-5 5], 50)", "", ""},
        {"PercentualDep([5 NULL], 50)", "", ""},
        {"PercentualDep([1], 100.5)",
         Failure("2nd parameter has to be between 0-100 (%)", "PercentualDep"), ""},
        // A list that something else holds is read, not taken over.
        {R"(Let("a", [-100 110], Sequence(IRR(Local("a"), 0.1), Local("a"))))", "-100 110", ""},
        {R"(Let("a", [2 2], Sequence(FIFO(Local("a"), [10 20], [3]), Local("a"))))", "2 2", ""},
    };
    Host host(HostOptions{.lineFeed = u"\n"});
    for (const auto& row : rows) {
        SCOPED_TRACE(row.formula);
        EXPECT_EQ(host.Calc(row.formula).text, row.text);
        EXPECT_EQ(WarningsOf(host, row.formula), row.warnings);
    }
}

// Compares the elements of the list that `function` gives for the lists
// `lists` and the further parameters `rest` with `expected`, relatively.
void ExpectList(Host& host, const std::string& function, const std::vector<Numbers>& lists,
                const std::string& rest, const Numbers& expected, double tolerance) {
    std::string call = function + "(";
    for (const Numbers& list : lists) {
        call += "[";
        for (double x : list) call += std::isnan(x) ? "NULL " : std::to_string(x) + " ";
        call += &list == &lists.back() && rest.empty() ? "]" : "], ";
    }
    call += rest + ")";
    SCOPED_TRACE(call);
    ASSERT_EQ(host.Calc("Count(" + call + ")").number, expected.size());
    for (size_t k = 0; k < expected.size(); ++k) {
        const double x =
            host.Calc("ChooseAbsolute(" + std::to_string(k + 1) + ", " + call + ")").number;
        if (std::isnan(expected[k]))
            EXPECT_TRUE(std::isnan(x)) << k;
        else
            EXPECT_NEAR(x, expected[k], tolerance * std::max(1.0, std::fabs(expected[k]))) << k;
    }
}

double PresentValue(const Numbers& flows, double rate) {
    double sum = 0;
    for (size_t i = 0; i < flows.size(); ++i) sum += flows[i] * std::pow(1 + rate, -double(i));
    return sum;
}

// The rate in (-0.99, 10) where the present value changes sign; -1 for none.
double Bisection(const Numbers& flows) {
    double low = -0.99, high = 10;
    const double sign = PresentValue(flows, low);
    if (sign * PresentValue(flows, high) > 0) return -1;
    for (int i = 0; i < 200; ++i) {
        const double middle = (low + high) / 2;
        (sign * PresentValue(flows, middle) > 0 ? low : high) = middle;
    }
    return low;
}

// What the first `units` bought are worth, the lots taken in order.
double WorthOfFirst(double units, const Numbers& amounts, const Numbers& values) {
    double worth = 0;
    for (size_t i = 0; i < amounts.size(); units -= amounts[i++])
        worth += std::clamp(units, 0.0, amounts[i]) * values[i] / amounts[i];
    return worth;
}

TEST(Finance, AgainstIndependentComputations) {
    Host host(HostOptions{.flags = ORDODLL_FLAG_FORCE_FLOAT_RESULT});
    // Negative flows before positive ones: one root for each slice that
    // starts negative, none for the others.
    for (const Numbers& flows : {Numbers{-200, -100, 150, 200, 250, 300},
                                 Numbers{-1000, 90, 130, 170, 210, 250, 290, 330, 370}}) {
        for (size_t scope : {flows.size(), size_t{4}}) {
            Numbers rates, values;
            for (size_t i = 0; i < flows.size(); ++i) {
                const auto end = flows.begin() + std::min(flows.size(), i + scope);
                rates.push_back(Bisection(Numbers(flows.begin() + i, end)));
                values.push_back(PresentValue(Numbers(flows.begin() + i, end), 0.07));
            }
            ExpectList(host, "IRR", {flows}, "0.1, " + std::to_string(scope), rates, 1e-6);
            ExpectList(host, "NPV", {flows}, "0.07, " + std::to_string(scope), values, 1e-12);
        }
    }
    // Goods used: the worth of the uses so far less that of the ones before.
    const Numbers amounts = {3, 1, 4, 1, 5}, values = {30, 12, 36, 7, 60}, uses = {2, 0, 3.5, 1, 6};
    for (const char* function : {"FIFO", "LIFO"}) {
        Numbers lots = amounts, worth = values, expected;
        if (function[0] == 'L') std::reverse(lots.begin(), lots.end());
        if (function[0] == 'L') std::reverse(worth.begin(), worth.end());
        for (double used = 0; double use : uses) {
            expected.push_back(WorthOfFirst(used + use, lots, worth) -
                               WorthOfFirst(used, lots, worth));
            used += use;
        }
        ExpectList(host, function, {amounts, values, uses}, "", expected, 1e-12);
    }
    // A null or a huge cost leaves the windows without it exact.
    const Numbers costs = {5, NAN, 7, 1e20, 3, 2, 8, 1};
    for (int periods : {1, 2, 3, 5, 9}) {
        Numbers expected(costs.size() + periods - 1, 0.0);
        for (size_t t = 0; t < expected.size(); ++t)
            for (size_t i = 0; i <= t && i < costs.size(); ++i)
                if (t < i + periods) expected[t] += costs[i] / periods;
        ExpectList(host, "StraightLineDep", {costs}, std::to_string(periods), expected, 1e-14);
    }
    for (double percentage : {12.5, 50.0, 85.0}) {
        const Numbers bought = {100, 0, 40, 250};  // 390 in all
        Numbers expected;
        for (double last = 390; 3.9 < last; expected.push_back(last)) {
            last = 0;
            for (size_t i = 0; i < bought.size() && i <= expected.size(); ++i)
                last += std::pow(1 - percentage / 100, double(expected.size() - i)) * percentage /
                        100 * bought[i];
        }
        ExpectList(host, "PercentualDep", {bought}, std::to_string(percentage), expected, 1e-12);
    }
}

// Every start period of null flows runs all 1000 passes; a quota stops that.
TEST(Finance, QuotaStopsLongIterations) {
    const std::string formula = "IRR(1 / 0 * [1..40], 0.1)";
    Host limited(HostOptions{.quota = 5000});
    EXPECT_EQ(limited.Calc(formula).code, ORDODLL_RESULT_QUOTA_EXCEEDED_ERROR);
    EXPECT_EQ(Host().Calc("Sum(" + formula + ")").text, "-40");
}

}  // namespace
