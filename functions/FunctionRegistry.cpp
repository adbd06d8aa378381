#include "functions/FunctionRegistry.h"

#include <array>
#include <string_view>

namespace CalcEngine {

namespace {

// Every builtin by its name, in the order in which the library registers
// them.
constexpr std::array<std::u16string_view, 143> registrationOrder = {
    u"If",
    u"Print",
    u"Sequence",
    u"Iterate",
    u"WhileDo",
    u"DoWhile",
    u"Try",
    u"Stop",
    u"ForEachString",
    u"ForEachNumber",
    u"ConcatToNumberlist",
    u"Text",
    u"Format",
    u"Value",
    u"ToString",
    u"StringToDate",
    u"WeekstringToDate",
    u"YearOfDate",
    u"MonthOfDate",
    u"DayOfDate",
    u"WeekOfDate",
    u"AddToDate",
    u"GetDate",
    u"GetTime",
    u"Date",
    u"EncodeDate",
    u"DayOfWeek",
    u"ExtractDay",
    u"ExtractMonth",
    u"ExtractYear",
    u"Time",
    u"DateTime",
    u"Hour",
    u"Minute",
    u"Second",
    u"AbsoluteGrowth",
    u"PayBackPeriod",
    u"PresentValue",
    u"ProportionalGrowth",
    u"Cumulative2",
    u"MeanValue",
    u"Min2",
    u"Max2",
    u"Sum2",
    u"Min",
    u"Max",
    u"Sum",
    u"Prod",
    u"Average",
    u"Mean",
    u"SumTogether",
    u"ValuesFromGrowth",
    u"CaGrowth",
    u"Next",
    u"Prev",
    u"ChooseAbsolute",
    u"MakeListOf",
    u"ContinuousFill",
    u"StDev",
    u"StDevp",
    u"Var",
    u"Varp",
    u"Median",
    u"Abs",
    u"Pow",
    u"Sin",
    u"Sinh",
    u"Cos",
    u"Cosh",
    u"Tan",
    u"Tanh",
    u"Cotan",
    u"Ceil",
    u"Exp",
    u"Floor",
    u"Ln",
    u"Log10",
    u"Log2",
    u"Sqr",
    u"Sqrt",
    u"Trunc",
    u"Round",
    u"Frac",
    u"Sign",
    u"Zero",
    u"Radius",
    u"Arg",
    u"IPower",
    u"Not",
    u"EqualWithinRange",
    u"Random",
    u"Evaluate",
    u"Rem",
    u"Count",
    u"First",
    u"Last",
    u"Get",
    u"GetUserName",
    u"ConcatToString",
    u"Left",
    u"Right",
    u"Mid",
    u"Char",
    u"Ascii",
    u"Length",
    u"Find",
    u"Match",
    u"Upper",
    u"Lower",
    u"Trim",
    u"TranslateCharacters",
    u"TranslateString",
    u"RemoveString",
    u"ReverseList",
    u"StraightLineDep",
    u"PercentualDep",
    u"NPSFMargin",
    u"NPRangeOH",
    u"NPGSMTrx",
    u"NPErlbChs",
    u"NPGSMTraffic",
    u"IRR",
    u"FIFO",
    u"LIFO",
    u"NPV",
    u"Acos",
    u"Asin",
    u"Atan",
    u"Mask",
    u"MaskRange",
    u"Let",
    u"Local",
    u"IsDefined",
    u"IsNull",
    u"Coalesce",
    u"IgnoreNull",
    u"RaiseNull",
    u"Sort",
    u"sMax",
    u"sMin",
    u"Repeat",
    u"Reverse",
    u"Concatenate",
};

// The tables of the builtin families; each name of the registration order
// stands in one of them.
constexpr std::array families = {&controlFunctions,         &conversionFunctions, &dateFunctions,
                                 &financeFunctions,         &listFunctions,       &mathFunctions,
                                 &networkPlanningFunctions, &textFunctions};

const BuiltinEntry* FindEntry(std::u16string_view name) {
    for (const std::span<const BuiltinEntry>* family : families) {
        for (const BuiltinEntry& entry : *family) {
            if (entry.name == name) return &entry;
        }
    }
    return nullptr;
}

}  // namespace

FunctionRegistry::FunctionRegistry() {
    auto names = std::make_shared<Names>();
    for (std::u16string_view name : registrationOrder) {
        if (const BuiltinEntry* entry = FindEntry(name))
            File(*names, std::make_unique<BuiltinFunction>(*entry));
    }
    byName.store(std::move(names));
}

void FunctionRegistry::Add(std::unique_ptr<ICalcFunction> function) {
    auto names = std::make_shared<Names>(*byName.load());
    File(*names, std::move(function));
    byName.store(std::move(names));
}

void FunctionRegistry::File(Names& names, std::unique_ptr<ICalcFunction> function) {
    names[ToLowerCase(function->name)] = function.get();
    names[ToLowerCase(function->alias)] = function.get();
    function->index = static_cast<uint32_t>(functions.size());
    functions.push_back(std::move(function));
}

const ICalcFunction* FunctionRegistry::Find(const WString& name, bool& trailingMark) const {
    trailingMark = !name.empty() && name.back() == u'_';
    const WString key = ToLowerCase(trailingMark ? name.substr(0, name.size() - 1) : name);
    // The empty key holds the functions without an alias: no name reaches it,
    // not even "_".
    if (key.empty()) return nullptr;
    const std::shared_ptr<const Names> names = byName.load();
    auto found = names->find(key);
    return found == names->end() ? nullptr : found->second;
}

}  // namespace CalcEngine
