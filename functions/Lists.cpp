// List and statistics functions: reductions of numbers to one number,
// growth rates and running sums over number lists, the reshaping of lists
// and texts read as lists, and masks. A function that answers a list made
// from its list parameter changes that list in place when nothing but the
// call holds it, and works on a new list otherwise.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <optional>
#include <span>
#include <vector>

#include "functions/ArgumentToolkit.h"
#include "functions/FunctionRegistry.h"
#include "values/ListFunctors.h"
#include "values/ObjectFactory.h"
#include "values/ObjectVector.h"
#include "values/ScalarObjects.h"
#include "values/StringObject.h"

namespace CalcEngine {

namespace {

using namespace CalcUtilities;

bool IsNumberList(const Object& value) {
    return value.GetType().IsA(NumberVectorObject::Type::Instance());
}

bool IsItemList(const Object& value) { return value.GetType().IsA(ObjectVector::Type::Instance()); }

NumberVectorObject& AsNumbers(Object& value) { return static_cast<NumberVectorObject&>(value); }

ObjectVector& AsItems(Object& value) { return static_cast<ObjectVector&>(value); }

Object* NewEmpty(Environment& environment) { return CurrentFactory()->CreateEmpty(&environment); }

// The parameter's value, which it must have.
Object& ValueOf(const FunctionArgument& argument, size_t index) {
    RequireArgument(argument, index);
    return *argument.value;
}

// The value with one more reference, for answering it as it is.
Object* Retained(Object& value) {
    AddRef(&value);
    return &value;
}

// The numbers of a value: a list's elements, a scalar as one number.
DoubleVector NumbersOf(const Object& value) {
    DoubleVector numbers;
    value.AppendToNumbers(numbers, false);
    return numbers;
}

// The parameter's numbers as a number list to change and answer: its own
// list when only the call holds it, otherwise a new one.
PtrWrapper OwnNumbers(Environment& environment, const FunctionArgument& argument, size_t index) {
    Object& value = ValueOf(argument, index);
    if (Object* list = SoleNumberList(argument)) return PtrWrapper(list);
    PtrWrapper list(CurrentFactory()->CreateNumberVector(&environment));
    list->Assign(value, true);
    return list;
}

// OwnNumbers, with one element at least: an empty list gets its default
// value.
PtrWrapper OwnNumbersNotEmpty(Environment& environment, const FunctionArgument& argument,
                              size_t index) {
    PtrWrapper list = OwnNumbers(environment, argument, index);
    NumberVectorObject& numbers = AsNumbers(*list);
    numbers.Resize(std::max<size_t>(numbers.Size(), 1));
    return list;
}

// The result of the reader `Reader` over `numbers`, in one pass.
template <class Reader>
double Fold(std::span<const double> numbers) {
    return std::for_each(numbers.begin(), numbers.end(), Reader()).Result();
}

// Min, Max, Sum, Prod, Average: the reader's result over the numbers of all
// parameters, nulls left out while the context ignores them; no result
// without numbers.
template <class Reader>
Object* ReduceFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    DoubleVector gathered;
    const std::span<const double> numbers = ArgumentNumbers(arguments, gathered);
    if (numbers.empty()) return NewEmpty(environment);
    return NewNumber(environment, Fold<Reader>(numbers));
}

// The sum of the squared deviations from the mean, by the corrected
// two-pass algorithm: the mean first, then the squares of the deviations
// from it, less the square of their sum over n, which takes out the
// rounding of the mean. Where n Σx² − (Σx)² would cancel all digits, this
// keeps them. A null makes it null.
double SquaredDeviations(std::span<const double> numbers) {
    const auto n = static_cast<double>(numbers.size());
    const double mean = Fold<UnSumFunc>(numbers) / n;
    double squares = 0.0;
    double deviations = 0.0;
    for (double x : numbers) {
        const double deviation = x - mean;
        squares += deviation * deviation;
        deviations += deviation;
    }
    const double result = squares - deviations * deviations / n;
    // Equal numbers may leave a rounding below 0, whose root would be null.
    return result < 0.0 ? 0.0 : result;
}

// The variance of the numbers of all parameters, of a sample (over n − 1,
// no result below two numbers) or of the whole population (over n, no
// result without numbers); the standard deviation with `Root`.
template <bool Sample, bool Root>
Object* VarianceFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    DoubleVector gathered;
    const std::span<const double> numbers = ArgumentNumbers(arguments, gathered);
    const size_t lost = Sample ? 1 : 0;
    if (numbers.size() <= lost) return NewEmpty(environment);
    const double variance = SquaredDeviations(numbers) / static_cast<double>(numbers.size() - lost);
    return NewNumber(environment, Root ? std::sqrt(variance) : variance);
}

// The middle number, or the mean of the two middle ones for an even count;
// no result below two numbers. A null has no place in the order: it makes
// the median null, as it makes every other reduction.
Object* MedianFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    DoubleVector gathered;
    const std::span<const double> numbers = ArgumentNumbers(arguments, gathered);
    if (numbers.size() < 2) return NewEmpty(environment);
    if (std::any_of(numbers.begin(), numbers.end(), IsNull))
        return NewNumber(environment, NullNumber());
    // Ordered where the numbers were gathered, or else in a copy: the
    // parameters stay as they are.
    std::vector<double>& values = gathered.values;
    if (values.empty()) values.assign(numbers.begin(), numbers.end());
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 == 1) return NewNumber(environment, *middle);
    // Below the middle stand the lower half, the greatest of them next to it.
    return NewNumber(environment, (*middle + *std::max_element(values.begin(), middle)) * 0.5);
}

// The report `Report` over the items of `list`, and over `extra` after them
// when given.
template <class Report>
Object* ReportOver(Environment& environment, ObjectVector& list, Object* extra) {
    Report report;
    if (!extra) return list.Report(report);
    PtrWrapper all(CurrentFactory()->CreateObjectVector(&environment));
    AsItems(*all).SetItem(list);
    AsItems(*all).items.emplace_back(Retained(*extra));
    return AsItems(*all).Report(report);
}

// Min2 and Max2. One parameter: an item list folds its items through the
// report, any other value its numbers through the reader. Two parameters:
// the pairwise choice between the two lists, the shorter extended by its
// default value; an item list takes the second parameter into its fold as
// one more item.
template <class Report, class Reader, class Pairwise>
Object* ExtremeFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    if (arguments.size() > 2) RaiseRuntimeError(u"too many parameters (max. 2)");
    Object& first = ValueOf(arguments[0], 0);
    Object* second = arguments.size() == 2 ? &ValueOf(arguments[1], 1) : nullptr;
    if (IsItemList(first)) return ReportOver<Report>(environment, AsItems(first), second);
    if (!second) return NewNumber(environment, Fold<Reader>(NumbersOf(first).values));
    PtrWrapper result = OwnNumbers(environment, arguments[0], 0);
    DoubleVector other = NumbersOf(*second);
    ApplyPairwise(AsNumbers(*result), other, Pairwise());
    return result.Detach();
}

// An item list's sum through its report; any other value as a copy.
Object* Sum2Func(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    Object& value = ValueOf(arguments[0], 0);
    if (IsItemList(value))
        return ReportOver<ObjectVector::ReportSumFunc>(environment, AsItems(value), nullptr);
    return OwnCopy(arguments[0], 0);
}

// Σ wᵢxᵢ / Σ wᵢ over the positions that both lists have; null when the
// weights add up to 0.
double WeightedMean(const DoubleVector& numbers, const DoubleVector& weights) {
    const size_t size = std::min(numbers.Size(), weights.Size());
    double weighted = 0.0;
    double total = 0.0;
    for (size_t i = 0; i < size; ++i) {
        weighted += weights.values[i] * numbers.values[i];
        total += weights.values[i];
    }
    return total == 0.0 ? NullNumber() : weighted / total;
}

// The mean of a list: a scalar is its own mean, an item list's comes from its
// report. With weights, the weighted mean of the numbers.
Object* MeanValueFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    Object& value = ValueOf(arguments[0], 0);
    if (arguments.size() == 2)
        return NewNumber(environment,
                         WeightedMean(NumbersOf(value), NumbersOf(ValueOf(arguments[1], 1))));
    if (value.IsScalar()) return Retained(value);
    if (IsItemList(value))
        return ReportOver<ObjectVector::ReportMeanFunc>(environment, AsItems(value), nullptr);
    return NewNumber(environment, Fold<UnMeanFunc>(NumbersOf(value).values));
}

// How many values there are: none for no value or an empty one, one for a
// scalar, a list's element count.
double ElementCount(const Object* value) {
    if (!value || value->GetType().IsA(EmptyObject::Type::Instance())) return 0;
    return value->IsScalar() ? 1 : value->Size();
}

// Counts the elements of the object. With a non-zero second parameter a
// null from the host counts as well: it arrives as a null number instead
// of failing the calculation.
Object* CountFunc(ICalcContext& context, Environment& environment, ArgumentList& arguments) {
    bool includeNulls = false;
    if (arguments.size() == 2) {
        const Object* include = ReevaluateArgument(environment, arguments[1], nullptr, -1);
        if (!include && arguments[1].failed)
            RaiseRuntimeError(u"include null values evaluation error");
        int32_t flag = 0;
        if (include) include->GetInt(flag);
        includeNulls = flag != 0;
    }
    std::optional<NullModeScope> nullsAccepted;
    if (includeNulls) {
        nullsAccepted.emplace(context);
        nullsAccepted->mode = NullMode{0, true, NullNumber(), true};
    }
    const Object* value = ReevaluateArgument(environment, arguments[0], nullptr, -1);
    nullsAccepted.reset();
    if (!value && arguments[0].failed) RaiseRuntimeError(u"object evaluation error");
    return NewNumber(environment, ElementCount(value));
}

// Keeps the first `count` items, or with `fromEnd` the last.
template <class Item>
void KeepEnd(std::vector<Item>& items, size_t count, bool fromEnd) {
    const auto kept = static_cast<std::ptrdiff_t>(std::min(count, items.size()));
    if (fromEnd) {
        items.erase(items.begin(), items.end() - kept);
    } else {
        items.erase(items.begin() + kept, items.end());
    }
}

// First and Last: the first or last `count` elements (default 1) of a copy
// of the value. A number list gives one number for a count of 1; a number
// stays itself, or 0 for a count of 0; a value that is neither a number list
// nor an item list is cut as a text list.
Object* EndOf(Environment& environment, const ArgumentList& arguments, bool fromEnd) {
    const int32_t count = OptionalInt(arguments, 1, 1);
    if (count < 0) RaiseRuntimeError(u"2nd parameter is negative");
    PtrWrapper copy(OwnCopy(arguments[0], 0));
    const auto kept = static_cast<size_t>(count);
    if (copy->GetType().IsA(FloatObject::Type::Instance())) {
        if (count < 1) copy->SetNumber(0);
        return copy.Detach();
    }
    if (IsNumberList(*copy)) {
        std::vector<double>& values = AsNumbers(*copy).values;
        KeepEnd(values, kept, fromEnd);
        if (count == 1) return NewNumber(environment, values.empty() ? 0.0 : values[0]);
        return copy.Detach();
    }
    if (IsItemList(*copy)) {
        KeepEnd(AsItems(*copy).items, kept, fromEnd);
        return copy.Detach();
    }
    StringVector parts;
    copy->AppendToStrings(parts);
    KeepEnd(parts, kept, fromEnd);
    PtrWrapper text(CurrentFactory()->CreateString(&environment));
    text->SetFromStrings(parts);
    return text.Detach();
}

Object* FirstFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return EndOf(environment, arguments, false);
}

Object* LastFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return EndOf(environment, arguments, true);
}

Object* ReverseListFunc(ICalcContext&, Environment&, ArgumentList& arguments) {
    PtrWrapper copy(OwnCopy(arguments[0], 0));
    copy->Reverse();
    return copy.Detach();
}

// Next and Prev: a copy of the list moved by `steps` places (default 1)
// toward its start, or with `backward` toward its end, the places left
// behind filled with 0.
Object* Shifted(const ArgumentList& arguments, bool backward) {
    const int32_t steps = OptionalInt(arguments, 1, 1);
    PtrWrapper copy(OwnCopy(arguments[0], 0));
    // The lowest integer has no negation; its neighbour empties the list
    // just the same.
    copy->Shift(backward ? -std::max(steps, -INT32_MAX) : steps);
    return copy.Detach();
}

Object* NextFunc(ICalcContext&, Environment&, ArgumentList& arguments) {
    return Shifted(arguments, false);
}

Object* PrevFunc(ICalcContext&, Environment&, ArgumentList& arguments) {
    return Shifted(arguments, true);
}

// Item `index` of the list, counted from 1; an empty value where there is
// none.
Object* ChooseAbsoluteFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const int64_t index = int64_t{IntArgument(arguments[0], 0)} - 1;
    PtrWrapper list(Resolve(&ValueOf(arguments[1], 1)));
    Object* item = index < 0 ? nullptr : list->GetItem(static_cast<unsigned>(index), false);
    return item ? item : NewEmpty(environment);
}

// A list of (length, value) pairs: each value's numbers appended `length`
// times over. A last parameter without its partner is ignored.
Object* MakeListOfFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    PtrWrapper list(CurrentFactory()->CreateNumberVector(&environment));
    std::vector<double>& values = AsNumbers(*list).values;
    for (size_t i = 0; i + 1 < arguments.size(); i += 2) {
        const int32_t length = IntArgument(arguments[i], i);
        const DoubleVector part = NumbersOf(ValueOf(arguments[i + 1], i + 1));
        if (length <= 0 || part.values.empty()) continue;
        CheckListLength(values.size() + uint64_t{static_cast<uint32_t>(length)} * part.Size());
        for (int32_t k = 0; k < length; ++k)
            values.insert(values.end(), part.values.begin(), part.values.end());
    }
    return list.Detach();
}

// Each 0 takes the last value before it that is not 0, 0 at the start. A
// null is not 0.
Object* ContinuousFillFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    PtrWrapper list = OwnNumbers(environment, arguments[0], 0);
    double last = 0.0;
    for (double& x : AsNumbers(*list).values) {
        if (x == 0.0) {
            x = last;
        } else {
            last = x;
        }
    }
    return list.Detach();
}

// The numbers of all parameters in one list, nulls kept.
Object* ConcatToNumberlistFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    PtrWrapper list(CurrentFactory()->CreateNumberVector(&environment));
    FlattenNumbers(arguments, AsNumbers(*list), false);
    return list.Detach();
}

// The list with each element from the second on replaced by
// `growth(previous, element)`; one element at least.
template <class Growth>
PtrWrapper Growths(Environment& environment, const FunctionArgument& argument, Growth growth) {
    PtrWrapper list = OwnNumbersNotEmpty(environment, argument, 0);
    std::vector<double>& values = AsNumbers(*list).values;
    // Backward, so that each step still reads the previous element as given.
    for (size_t i = values.size() - 1; i > 0; --i) values[i] = growth(values[i - 1], values[i]);
    return list;
}

// The change from each element to the next; the first element stays.
Object* AbsoluteGrowthFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return Growths(environment, arguments[0],
                   [](double previous, double x) { return x - previous; })
        .Detach();
}

// The change from each element to the next relative to the earlier one, 0
// after a 0 and at the first element.
Object* ProportionalGrowthFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    PtrWrapper list = Growths(environment, arguments[0], [](double previous, double x) {
        return previous == 0.0 ? 0.0 : (x - previous) / previous;
    });
    AsNumbers(*list).values[0] = 0.0;
    return list.Detach();
}

// The compound growth rate per period from the base, the element at
// position `start` (from 0, default 1), to each later element; 0 up to the
// base, where the base is 0 and where the element lies on the other side of
// 0. A start before the list leaves no base: all 0.
Object* CaGrowthFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const int32_t start = OptionalInt(arguments, 1, 1);
    PtrWrapper list = OwnNumbers(environment, arguments[0], 0);
    std::vector<double>& values = AsNumbers(*list).values;
    double base = 0.0;
    for (size_t i = 0; i < values.size(); ++i) {
        const int64_t periods = static_cast<int64_t>(i) - start;
        if (periods == 0) base = values[i];
        const double x = values[i];
        values[i] = periods <= 0 || base == 0.0 || x * base < 0
                        ? 0.0
                        : std::pow(x / base, 1.0 / static_cast<double>(periods)) - 1;
    }
    return list.Detach();
}

// The values that grow from the initial one by the rates of the list: each
// value is the one before times (1 + its rate). The first rate is not used.
Object* ValuesFromGrowthFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const double initial = NumberArgument(arguments[0], 0);
    PtrWrapper list = OwnNumbersNotEmpty(environment, arguments[1], 1);
    std::vector<double>& values = AsNumbers(*list).values;
    values[0] = initial;
    for (size_t i = 1; i < values.size(); ++i) values[i] = values[i - 1] * (values[i] + 1);
    return list.Detach();
}

// Running sums. Mode 0: over the last |periods| elements, all for 0. Mode 1:
// starting again every |periods| elements. A negative count sums from the
// end of the list toward its start; the groups of mode 1 then still begin
// at the start of the list, so that the group at its end, summed first,
// holds what the others leave.
Object* Cumulative2Func(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const int32_t periods = OptionalInt(arguments, 1, 0);
    const int32_t mode = OptionalInt(arguments, 2, 0);
    if (mode != 0 && mode != 1) RaiseRuntimeError(u"3rd parameter must be 0 or 1");
    PtrWrapper list = OwnNumbers(environment, arguments[0], 0);
    std::vector<double>& values = AsNumbers(*list).values;
    const auto size = static_cast<int64_t>(values.size());
    const int64_t span = std::abs(int64_t{periods});
    const bool backward = periods < 0;
    std::vector<double> sums(values.size());
    int64_t countdown = (backward ? size % span : span) + 1;
    double sum = 0.0;
    for (int64_t k = 0; k < size; ++k) {
        const int64_t position = backward ? size - 1 - k : k;
        const double x = values[position];
        sum += x;
        if (mode == 0) {
            if (periods > 0 && periods <= k) sum -= values[k - periods];
            if (backward && position + span < size) sum -= values[position + span];
        } else if (--countdown < 1) {
            sum = x;
            countdown = span;
        }
        sums[position] = sum;
    }
    values.swap(sums);
    return list.Detach();
}

// The numbers on another period length. `scale` 0: their sum as a number.
// Above 0: the sums of each `scale` consecutive numbers, the last group
// taking what remains. Below 0: each number spread evenly over -`scale`
// shorter periods.
Object* ScaledList(Environment& environment, int32_t scale, const std::vector<double>& numbers) {
    if (scale == 0) return NewNumber(environment, Fold<UnSumFunc>(numbers));
    PtrWrapper list(CurrentFactory()->CreateNumberVector(&environment));
    std::vector<double>& values = AsNumbers(*list).values;
    if (scale < 0) {
        const uint64_t parts = static_cast<uint64_t>(-int64_t{scale});
        CheckListLength(numbers.size() * parts);
        values.reserve(numbers.size() * parts);
        for (double x : numbers) values.insert(values.end(), parts, x / static_cast<double>(parts));
    } else {
        const std::span<const double> all(numbers);
        for (size_t i = 0; i < all.size(); i += static_cast<size_t>(scale))
            values.push_back(
                Fold<UnSumFunc>(all.subspan(i, std::min<size_t>(scale, all.size() - i))));
    }
    return list.Detach();
}

// The list scaled by ScaledList, an item list item by item; a scale of 1 or
// -1 leaves the list as it is. The scale counts as an integer.
Object* SumTogetherFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const double scale = NumberArgument(arguments[0], 0);
    Object& value = ValueOf(arguments[1], 1);
    if (scale == 1 || scale == -1) return Retained(value);
    const int32_t periods = NumberToInt32(scale);
    if (!IsItemList(value)) return ScaledList(environment, periods, NumbersOf(value).values);
    PtrWrapper copy(value.Clone());
    for (PtrWrapper& item : AsItems(*copy).items) {
        if (!item) continue;
        if (!IsNumberList(*item))
            RaiseRuntimeError(u"unsupported item in itemlist in 2nd parameter");
        item.Reset(ScaledList(environment, periods, AsNumbers(*item).values));
    }
    return copy.Detach();
}

// Ascending, with a null after every number, so that the order is strict.
bool NumberBefore(double a, double b) { return !IsNull(a) && (IsNull(b) || a < b); }

// The positions of the first `count` keys in the order of `before`; equal
// keys keep their order.
template <class Key, class Before>
std::vector<size_t> SortedPositions(const std::vector<Key>& keys, size_t count, Before before) {
    std::vector<size_t> positions(count);
    std::iota(positions.begin(), positions.end(), size_t{0});
    std::stable_sort(positions.begin(), positions.end(),
                     [&](size_t a, size_t b) { return before(keys[a], keys[b]); });
    return positions;
}

// The items in the order of `positions`.
template <class Item>
void Reorder(std::vector<Item>& items, const std::vector<size_t>& positions) {
    std::vector<Item> reordered;
    reordered.reserve(items.size());
    for (size_t position : positions) reordered.push_back(std::move(items[position]));
    items.swap(reordered);
}

// The positions of `count` items ordered by the weights; raises `message`
// when there are fewer weights than items.
std::vector<size_t> WeightOrder(const DoubleVector& weights, size_t count,
                                const char16_t* message) {
    if (weights.Size() < count) RaiseRuntimeError(message);
    return SortedPositions(weights.values, count, NumberBefore);
}

void SortNumbers(std::vector<double>& numbers, const DoubleVector* weights) {
    if (!weights) {
        std::stable_sort(numbers.begin(), numbers.end(), NumberBefore);
        return;
    }
    Reorder(numbers, WeightOrder(*weights, numbers.size(),
                                 u"numberlist in 2nd parameter shorter than numberlist in 1st "
                                 u"parameter"));
}

// A part of a text list without the double quotes it may stand in.
WString Unquoted(const WString& part) {
    if (part.size() >= 2 && part.front() == u'"' && part.back() == u'"')
        return part.substr(1, part.size() - 2);
    return part;
}

// The parts of the text in order, case-insensitively or by the weights,
// joined with the context's item separator; a part holding the separator
// stands in double quotes.
void SortText(StringObject& text, const DoubleVector* weights) {
    StringVector parts;
    text.AppendToStrings(parts);
    StringVector keys;
    for (WString& part : parts) {
        part = Unquoted(part);
        keys.push_back(ToLowerCase(part));
    }
    Reorder(parts,
            weights ? WeightOrder(*weights, parts.size(),
                                  u"numberlist in 2nd parameter is shorter than stringlist in 1st "
                                  u"parameter")
                    : SortedPositions(keys, keys.size(), std::less<WString>()));
    const char16_t separator = ItemSeparator();
    text.text.clear();
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i) text.text += separator;
        const bool quoted = parts[i].find(separator) != WString::npos;
        text.text += quoted ? u'"' + parts[i] + u'"' : parts[i];
    }
}

// Sorts a number list or a text read as a list, ascending; with a weights
// list of two numbers or more, by the weights. Equal keys keep their order.
Object* SortFunc(ICalcContext&, Environment&, ArgumentList& arguments) {
    PtrWrapper copy(OwnCopy(arguments[0], 0));
    std::optional<DoubleVector> weights;
    if (arguments.size() == 2) weights = NumbersOf(ValueOf(arguments[1], 1));
    if (weights && weights->Size() < 2) weights.reset();
    const DoubleVector* order = weights ? &*weights : nullptr;
    if (IsNumberList(*copy)) {
        SortNumbers(AsNumbers(*copy).values, order);
    } else if (copy->GetType().IsA(StringObject::Type::Instance())) {
        SortText(static_cast<StringObject&>(*copy), order);
    } else {
        RaiseRuntimeError(u"incompatible type for sort-function");
    }
    return copy.Detach();
}

// A view of the object's positions whose mask number is neither 0 nor null.
Object* MaskFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    Object& object = ValueOf(arguments[0], 0);
    return CurrentFactory()->CreateMask(&environment, &object, NumbersOf(ValueOf(arguments[1], 1)));
}

// A view of the periods first to last (from 1; last defaults to first) of
// the object; a first period of 0 stands for the whole object.
Object* MaskRangeFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    Object& object = ValueOf(arguments[0], 0);
    const double first = NumberArgument(arguments[1], 1);
    if (first == 0) return Retained(object);
    const int32_t from = NumberToInt32(first);
    const int32_t last = OptionalInt(arguments, 2, 0);
    const int32_t to = last == 0 ? from : last;
    const size_t length = static_cast<size_t>(std::max(to, 0));
    CheckListLength(length);
    BitVector bits(length);
    for (size_t i = static_cast<size_t>(std::max(from, 1)); i <= length; ++i) bits[i - 1] = true;
    return CurrentFactory()->CreateMask(&environment, &object, bits);
}

constexpr uint8_t Lazy = ICalcFunction::Lazy;
constexpr uint8_t Pure = ICalcFunction::Pure;

// A reduction of the numbers of all parameters.
constexpr BuiltinEntry Reduction(const char16_t* name, BuiltinHandler handler) {
    return {u"Financial", name, nullptr, handler, u"*", u"items", Pure};
}

constexpr BuiltinEntry entries[] = {
    Reduction(u"Min", ReduceFunc<UnMinFunc>),
    Reduction(u"Max", ReduceFunc<UnMaxFunc>),
    Reduction(u"Sum", ReduceFunc<UnSumFunc>),
    Reduction(u"Prod", ReduceFunc<UnProductFunc>),
    Reduction(u"Average", ReduceFunc<UnMeanFunc>),
    Reduction(u"Mean", ReduceFunc<UnMeanFunc>),
    Reduction(u"StDev", VarianceFunc<true, true>),
    Reduction(u"StDevp", VarianceFunc<false, true>),
    Reduction(u"Var", VarianceFunc<true, false>),
    Reduction(u"Varp", VarianceFunc<false, false>),
    Reduction(u"Median", MedianFunc),
    {u"Financial", u"Min2", nullptr,
     ExtremeFunc<ObjectVector::ReportMinFunc, UnMinFunc, BinMinFunc>, u"?*",
     u"number/item list [,number/itemlist]", Pure},
    {u"Financial", u"Max2", nullptr,
     ExtremeFunc<ObjectVector::ReportMaxFunc, UnMaxFunc, BinMaxFunc>, u"?*",
     u"number/item list [,number/itemlist]", Pure},
    {u"Financial", u"Sum2", nullptr, Sum2Func, u"?", u"number/item list", Pure},
    {u"Financial", u"MeanValue", nullptr, MeanValueFunc, u"?.", u"numberlist [,weigths list]",
     Pure},
    {u"Relation", u"Count", nullptr, CountFunc, u"?.", u"object [, include null objects]",
     Lazy | Pure},
    {u"Relation", u"First", nullptr, FirstFunc, u"?.",
     u"relation or stringlist or numberlist [,count]", Pure},
    {u"Relation", u"Last", nullptr, LastFunc, u"?.",
     u"relation or stringlist or numberlist [,count]", Pure},
    {u"Relation", u"Get", nullptr, ReduceFunc<UnSumFunc>, u"?", u"itemlist", Pure},
    {u"Relation", u"ReverseList", nullptr, ReverseListFunc, u"?",
     u"relation or numberlist or stringlist", Pure},
    {u"Financial", u"Next", nullptr, NextFunc, u"?.", u"numberlist [,steps]", Pure},
    {u"Financial", u"Prev", nullptr, PrevFunc, u"?.", u"numberlist [,steps]", Pure},
    {u"Financial", u"ChooseAbsolute", nullptr, ChooseAbsoluteFunc, u"D?",
     u"index, number/item list", Pure},
    {u"Financial", u"MakeListOf", nullptr, MakeListOfFunc, u"D?*",
     u"length of the list, number/numberlist[,length,number/numberlist] ", Pure},
    {u"Financial", u"ContinuousFill", nullptr, ContinuousFillFunc, u"?", u"list to be filled",
     Pure},
    {u"Conversion", u"ConcatToNumberlist", nullptr, ConcatToNumberlistFunc, u"?*",
     u"item/itemlist[, more items/itemlists]", Pure},
    {u"Financial", u"Cumulative2", nullptr, Cumulative2Func, u"L..",
     u"numberlist [, amount of summed periods, mode (0 = relative start of cumulation "
     u"(default), 1 = absolute start of cumulation)]",
     Pure},
    {u"Financial", u"AbsoluteGrowth", nullptr, AbsoluteGrowthFunc, u"L", u"numberlist", Pure},
    {u"Financial", u"ProportionalGrowth", nullptr, ProportionalGrowthFunc, u"L", u"numberlist",
     Pure},
    {u"Financial", u"CaGrowth", nullptr, CaGrowthFunc, u"L.", u"numberlist [,start period]", Pure},
    {u"Financial", u"ValuesFromGrowth", nullptr, ValuesFromGrowthFunc, u"DL",
     u"initial value, growth percents", Pure},
    {u"Financial", u"SumTogether", nullptr, SumTogetherFunc, u"D?", u"scale, number/item list",
     Pure},
    {u"Other", u"Sort", nullptr, SortFunc, u"?.", u"relation [,optional numberlist of weights]",
     Pure},
    {u"Other", u"Mask", nullptr, MaskFunc, u"?L", u"object to mask (any), bitmask to use (numlist)",
     Pure},
    {u"Other", u"MaskRange", nullptr, MaskRangeFunc, u"LD.",
     u"object to mask (any), first period number (number) [, last period number (number)]", Pure},
};

}  // namespace

const std::span<const BuiltinEntry> listFunctions = entries;

}  // namespace CalcEngine
