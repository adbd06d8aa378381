// Financial functions over cash flows, purchases and costs: internal rates
// of return and present values, the payback period, the value of goods used
// first-in or last-in, and two depreciation schedules. List parameters are
// read as numbers, a number as a list whose every position reads it. IRR,
// FIFO, LIFO and the depreciations answer their first parameter's own list
// when nothing but the call holds it, refilled: its numbers have been read
// out of it by then.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

#include "functions/ArgumentToolkit.h"
#include "functions/FunctionRegistry.h"
#include "values/ObjectFactory.h"

namespace CalcEngine {

namespace {

NumberVectorObject& AsNumbers(Object& value) { return static_cast<NumberVectorObject&>(value); }

bool IsNumberList(const Object& value) {
    return value.GetType().IsA(NumberVectorObject::Type::Instance());
}

// The numbers of a parameter, which must have a value.
DoubleVector ListArgument(const FunctionArgument& argument, size_t place) {
    RequireArgument(argument, place);
    DoubleVector numbers;
    argument.value->AppendToNumbers(numbers, false);
    return numbers;
}

// A list's length as the default of an integer parameter.
int32_t LengthAsInt(const DoubleVector& numbers) {
    return static_cast<int32_t>(std::min<size_t>(numbers.Size(), INT32_MAX));
}

// An empty list to answer: the first parameter's own list, emptied, where
// nothing else holds it; a new list otherwise.
PtrWrapper ResultList(Environment& environment, const FunctionArgument& first) {
    if (Object* list = SoleNumberList(first)) {
        list->Clear();
        return PtrWrapper(list);
    }
    return PtrWrapper(CurrentFactory()->CreateNumberVector(&environment));
}

// Present sums of cash flows at a rate. The table of powers of (1 + rate)
// is kept, so that once grown no call allocates. Each present sum charges
// the quota once, like any list operation: IRR and NPV compute one for every
// start period, IRR up to 1000 for each, and a host's quota must be able to
// stop that.
class Discounter {
public:
    // Sets the rate for flows of up to `count` periods. The power for period
    // i is (1 + rate)^i as repeated squaring gives it: the product of the
    // squares for the bits of i, from the lowest up. So the power for
    // 2^b + j, j below 2^b, is the power for j times the square for bit b.
    void SetRate(double rate, size_t count) {
        powers.resize(std::max<size_t>(count, 2));
        powers[0] = 1.0;
        powers[1] = rate + 1;
        for (size_t top = 2; top < count; top *= 2) {
            powers[top] = powers[top / 2] * powers[top / 2];
            const size_t end = std::min(2 * top, count);
            for (size_t i = top + 1; i < end; ++i) powers[i] = powers[i - top] * powers[top];
        }
    }

    // The sum of flows[i] / (1 + rate)^i; 0 without flows.
    double PresentSum(std::span<const double> flows) const {
        CurrentContext()->TickQuota();
        double sum = 0.0;
        for (size_t i = 0; i < flows.size(); ++i) sum += flows[i] / powers[i];
        return sum;
    }

    double PresentSumAt(std::span<const double> flows, double rate) {
        SetRate(rate, flows.size());
        return PresentSum(flows);
    }

private:
    std::vector<double> powers;
};

constexpr int MaxSecantPasses = 1000;

// The rate at which the flows' present sum is 0 within 0.00001, by the
// secant method from `guess` and guess + 0.01. A step below -1 falls back to
// half the older rate. -1 where there is none: fewer than two flows other
// than 0, no convergence in 1000 passes, or a rate beyond 1.7e308.
double InternalRate(std::span<const double> flows, double guess, Discounter& discounter) {
    if (std::count_if(flows.begin(), flows.end(), [](double x) { return x != 0.0; }) < 2) return -1;
    double x0 = guess;
    double x1 = guess + 0.01;
    double f0 = discounter.PresentSumAt(flows, x0);
    double f1 = discounter.PresentSumAt(flows, x1);
    for (int passes = 1;; ++passes) {
        double x2 = (f0 * x1 - f1 * x0) / (f0 - f1);
        if (x2 < -1) x2 = x0 * 0.5;
        x0 = x1;
        f0 = f1;
        if (passes > MaxSecantPasses || x2 > 1.7e308) return -1;
        x1 = x2;
        f1 = discounter.PresentSumAt(flows, x2);
        if (std::fabs(f1) <= 0.00001) return x2;
    }
}

// For each start period, the internal rate of the flows from there on, at
// most `scope` of them (default all), from that period's guess; -1 where
// there is none. A number or a short list of guesses is extended by its
// default value.
Object* IrrFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const DoubleVector flows = ListArgument(arguments[0], 0);
    DoubleVector guesses = ListArgument(arguments[1], 1);
    const size_t count = flows.Size();
    if (guesses.Size() > count)
        RaiseRuntimeError(u"lengths of guesslist and cash flows are not equal");
    guesses.Resize(count);
    if (std::any_of(guesses.values.begin(), guesses.values.end(), [](double x) { return x <= -1; }))
        RaiseRuntimeError(u"there's an illegal guess (<= -1.0)");
    const int32_t scope = OptionalInt(arguments, 2, LengthAsInt(flows));
    const size_t width = static_cast<size_t>(std::max(scope, 0));
    PtrWrapper result = ResultList(environment, arguments[0]);
    std::vector<double>& rates = AsNumbers(*result).values;
    const std::span<const double> all(flows.values);
    Discounter discounter;
    for (size_t i = 0; i < count; ++i) {
        const std::span<const double> slice = all.subspan(i, std::min(width, count - i));
        rates.push_back(InternalRate(slice, guesses.values[i], discounter));
    }
    return result.Detach();
}

// For each period, the present value there of the flows from there on, at
// most `periods` of them (default all), at the interest rate.
Object* NpvFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const DoubleVector flows = ListArgument(arguments[0], 0);
    const double rate = NumberArgument(arguments[1], 1);
    const int32_t count = LengthAsInt(flows);
    int32_t periods = OptionalInt(arguments, 2, count);
    if (periods < 0 || periods > count) {
        ReportWarning(&environment, u"Parameter 'periods' is out of domain, using default value");
        periods = count;
    }
    if (rate == -1) RaiseRuntimeError(u"Illegal interest rate");
    PtrWrapper result(CurrentFactory()->CreateNumberVector(&environment));
    std::vector<double>& values = AsNumbers(*result).values;
    const std::span<const double> all(flows.values);
    Discounter discounter;
    discounter.SetRate(rate, static_cast<size_t>(periods));
    for (int32_t i = 0; i < count; ++i)
        values.push_back(discounter.PresentSum(all.subspan(i, std::min(periods, count - i))));
    return result.Detach();
}

// The amounts, one a period `step` apart (default 1), discounted to the
// first period with the library's power; null for a rate of -1.
Object* PresentValueFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const double rate = NumberArgument(arguments[0], 0);
    const DoubleVector amounts = ListArgument(arguments[1], 1);
    const bool stepGiven = arguments.size() > 2 && arguments[2].value;
    const double step = stepGiven ? NumberArgument(arguments[2], 2) : 1.0;
    if (rate + 1 == 0) return NewNumber(environment, NullNumber());
    const double discount = 1 / (rate + 1);
    double sum = 0.0;
    for (size_t i = 0; i < amounts.Size(); ++i)
        sum += std::pow(discount, static_cast<double>(i) * step) * amounts.values[i];
    return NewNumber(environment, sum);
}

// The period in which the running sum of the flows stops being negative,
// interpolated inside it; 0 when the first flow does not leave it negative
// or there is none, the flow count + 1 when it never pays back.
double PaybackPeriod(const std::vector<double>& flows) {
    if (flows.empty()) return 0;
    size_t period = 0;
    double sum = 0.0;
    for (;;) {
        sum += flows[period];
        if (!(sum < 0) || ++period == flows.size()) break;
    }
    if (period == 0) return 0;
    const auto whole = static_cast<double>(period);
    if (sum < 0) return whole + 1;
    if (sum == 0) return whole;
    const double before = sum - flows[period];
    return before < 0 ? whole - sum / (sum - before) : whole;
}

Object* PayBackPeriodFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return NewNumber(environment, PaybackPeriod(ListArgument(arguments[0], 0).values));
}

// The value of the goods each use takes, taking the purchase lots from the
// first on (FIFO) or from the last back (LIFO) at their unit prices. Once
// all that was bought is used, or the lots run out, the later uses keep the
// result's default value: that of the first parameter's list, which the
// result stands in for, or 0.
Object* GoodsUsed(Environment& environment, const ArgumentList& arguments, bool lastInFirstOut,
                  const char16_t* overuseWarning) {
    DoubleVector amounts = ListArgument(arguments[0], 0);
    DoubleVector prices = ListArgument(arguments[1], 1);
    const DoubleVector uses = ListArgument(arguments[2], 2);
    if (amounts.Size() != prices.Size())
        RaiseRuntimeError(u"Different lengths of numberlists in first two parameters");
    double totalValue = 0.0;
    for (size_t i = 0; i < prices.Size(); ++i) {
        const double amount = amounts.values[i];
        totalValue += amount == 0 ? 0.0 : prices.values[i];
        prices.values[i] = amount == 0 ? 0.0 : prices.values[i] / amount;
    }
    if (amounts.Sum() + 0.000001 < uses.Sum()) ReportWarning(&environment, overuseWarning);

    const double fill = IsNumberList(*arguments[0].value) ? amounts.defaultValue : 0.0;
    PtrWrapper result = ResultList(environment, arguments[0]);
    AsNumbers(*result).defaultValue = fill;
    std::vector<double>& costs = AsNumbers(*result).values;
    costs.assign(uses.Size(), fill);

    const auto lots = static_cast<ptrdiff_t>(amounts.Size());
    const ptrdiff_t step = lastInFirstOut ? -1 : 1;
    ptrdiff_t lot = lastInFirstOut ? lots - 1 : 0;
    double used = 0.0;
    const auto finished = [&] {
        return std::fabs(used - totalValue) < 0.0001 || lot < 0 || lot >= lots;
    };
    for (size_t k = 0; k < uses.Size() && !finished(); ++k) {
        double cost = 0.0;
        for (double wanted = uses.values[k]; wanted > 0 && !finished();) {
            double& remaining = amounts.values[lot];
            const bool wholeLot = remaining < wanted;
            const double taken = wholeLot ? remaining : wanted;
            const double value = taken * prices.values[lot];
            cost += value;
            used += value;
            remaining -= taken;
            wanted = wholeLot ? wanted - taken : 0.0;
            if (wholeLot || remaining == 0) lot += step;
        }
        costs[k] = cost;
    }
    return result.Detach();
}

Object* FifoFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return GoodsUsed(environment, arguments, false, u"You tried to use more than you bought");
}

Object* LifoFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return GoodsUsed(environment, arguments, true, u"You can't use more than you've bought");
}

// For each t from 0 to size + width - 2, the sum of the numbers at the
// positions t - width + 1 to t that the list has. The list is cut into
// blocks of `width`; a window is the end of one block and the start of the
// next, summed ahead of time from both sides, so no window costs more than
// one addition and none is found by subtraction, which would carry a null
// or a large number into windows that do not hold it.
void WindowSums(const std::vector<double>& numbers, size_t width, std::vector<double>& sums) {
    const size_t size = numbers.size();
    sums.assign(size + width - 1, 0.0);
    if (size == 0) return;
    std::vector<double> fromBlockStart(numbers);
    std::vector<double> toBlockEnd(numbers);
    for (size_t j = 1; j < size; ++j) {
        if (j % width != 0) fromBlockStart[j] += fromBlockStart[j - 1];
    }
    for (size_t j = size - 1; j-- > 0;) {
        if ((j + 1) % width != 0) toBlockEnd[j] += toBlockEnd[j + 1];
    }
    for (size_t t = 0; t < sums.size(); ++t) {
        const size_t first = t + 1 > width ? t + 1 - width : 0;
        const size_t last = std::min(t, size - 1);
        // Within one block, a window that does not start the block ends the list.
        if (first / width != last / width) {
            sums[t] = toBlockEnd[first] + fromBlockStart[last];
        } else {
            sums[t] = first % width == 0 ? fromBlockStart[last] : toBlockEnd[first];
        }
    }
}

// Each cost spread evenly over `periods` periods from its own on.
Object* StraightLineDepFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const DoubleVector costs = ListArgument(arguments[0], 0);
    const int32_t periods = IntArgument(arguments[1], 1);
    if (periods < 1) RaiseRuntimeError(u"2nd parameter has to be positive non-zero integer");
    const auto width = static_cast<size_t>(periods);
    CheckListLength(uint64_t{costs.Size()} + width - 1);
    PtrWrapper result = ResultList(environment, arguments[0]);
    std::vector<double>& values = AsNumbers(*result).values;
    WindowSums(costs.values, width, values);
    for (double& x : values) x /= periods;
    return result.Detach();
}

// Declining-balance depreciation: in each period `percentage` of what is
// left of every cost bought so far, a cost from its own period on. Period
// by period until one writes off a hundredth of the total or less, that one
// included; nothing for a total of 0 or below.
Object* PercentualDepFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const DoubleVector costs = ListArgument(arguments[0], 0);
    const double percentage = NumberArgument(arguments[1], 1);
    if (percentage < 0 || percentage > 100)
        RaiseRuntimeError(u"2nd parameter has to be between 0-100 (%)");
    const double total = costs.Sum();
    const double share = percentage / 100;
    const double kept = (100 - percentage) / 100;
    PtrWrapper result = ResultList(environment, arguments[0]);
    std::vector<double>& schedule = AsNumbers(*result).values;
    // What a period writes off is the kept part of what the one before wrote
    // off, plus the share of its own cost: each cost's share times the kept
    // part to the power of its age, summed.
    double writtenOff = 0.0;
    for (double last = total; total / 100 < last; last = writtenOff) {
        const size_t t = schedule.size();
        CheckListLength(t + 1);
        writtenOff = writtenOff * kept + (t < costs.Size() ? share * costs.values[t] : 0.0);
        schedule.push_back(writtenOff);
    }
    return result.Detach();
}

constexpr uint8_t Pure = ICalcFunction::Pure;

constexpr const char16_t* purchases =
    u"purchase amounts (numlist), purchase values (numlist), uses (numlist)";

constexpr BuiltinEntry entries[] = {
    {u"Financial", u"IRR", nullptr, IrrFunc, u"LL.",
     u"cash flows (numlist), guess (number/numberlist) [,scope (number) default = length]", Pure},
    {u"Financial", u"NPV", nullptr, NpvFunc, u"LD.",
     u"cash flows (numlist), interest rate (number) [,periods (number)]", Pure},
    {u"Financial", u"PresentValue", nullptr, PresentValueFunc, u"DL.",
     u"interest rate, periods [,step]", Pure},
    {u"Financial", u"PayBackPeriod", nullptr, PayBackPeriodFunc, u"L", u"numberlist", Pure},
    {u"Financial", u"FIFO", nullptr, FifoFunc, u"LLL", purchases, Pure},
    {u"Financial", u"LIFO", nullptr, LifoFunc, u"LLL", purchases, Pure},
    {u"Financial", u"StraightLineDep", nullptr, StraightLineDepFunc, u"LD", u"costs, periods",
     Pure},
    {u"Financial", u"PercentualDep", nullptr, PercentualDepFunc, u"LD", u"costs, percentage", Pure},
};

}  // namespace

const std::span<const BuiltinEntry> financeFunctions = entries;

}  // namespace CalcEngine
