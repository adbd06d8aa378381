#include "functions/ArgumentToolkit.h"

#include "tree/Operators.h"
#include "values/ICalcContext.h"
#include "values/ObjectFactory.h"

namespace CalcEngine {

namespace {

// The report of an error met while evaluating a parameter.
WString ParameterErrorReport(ICalcContext& context, const Error& error,
                             const char16_t* functionName, int index) {
    const WString& lineFeed = context.GetLineFeed();
    WString report;
    if (!functionName) {
        error.FormatMessage(report, lineFeed.c_str());
        return report + lineFeed;
    }
    report = error.GetMessage() + lineFeed + u"Error occurred while evaluating ";
    if (index != -1) report += ToDecimal(index) + u". ";
    return report + u"parameter for function " + functionName + u".";
}

// Whether lists are built without null numbers now.
bool NullsLeftOut() { return CurrentContext()->GetNullMode().listMode > 0; }

}  // namespace

Object* EvaluateArgument(Environment& environment, const FunctionArgument& argument,
                         bool& failedFlag, const char16_t* functionName, int index) {
    failedFlag = true;
    try {
        Object* value = argument.node->Evaluate(environment);
        failedFlag = false;
        return value;
    } catch (const Error& e) {
        ICalcContext& context = *CurrentContext();
        context.AddError(ParameterErrorReport(context, e, functionName, index),
                         Error::GetBaseCategory(), 1);
        return nullptr;
    }
}

Object* ReevaluateArgument(Environment& environment, FunctionArgument& argument,
                           const char16_t* functionName, int index) {
    argument.value.Reset(nullptr);
    argument.value.Reset(
        EvaluateArgument(environment, argument, argument.failed, functionName, index));
    return argument.value.Get();
}

void RequireArgument(const FunctionArgument& argument, size_t index) {
    if (!argument.value)
        RaiseRuntimeError(u"couldn't evaluate " + Ordinal(index + 1) + u" parameter");
}

Object& RequireEvaluatedArgument(Environment& environment, FunctionArgument& argument,
                                 size_t index) {
    ReevaluateArgument(environment, argument, nullptr, static_cast<int>(index));
    RequireArgument(argument, index);
    return *argument.value;
}

WString TextArgument(const FunctionArgument& argument, size_t place) {
    RequireArgument(argument, place);
    WString text;
    argument.value->GetText(text);
    return text;
}

double NumberArgument(const FunctionArgument& argument, size_t place) {
    RequireArgument(argument, place);
    double value;
    argument.value->GetNumber(value);
    return value;
}

int32_t IntArgument(const FunctionArgument& argument, size_t place) {
    RequireArgument(argument, place);
    int32_t value;
    argument.value->GetInt(value);
    return value;
}

int32_t OptionalInt(const ArgumentList& arguments, size_t place, int32_t fallback) {
    return place < arguments.size() ? IntArgument(arguments[place], place) : fallback;
}

int32_t IntIfEvaluated(const ArgumentList& arguments, size_t place, int32_t fallback) {
    const bool evaluated = place < arguments.size() && arguments[place].value;
    return evaluated ? IntArgument(arguments[place], place) : fallback;
}

Object* CopyOf(const FunctionArgument& argument, size_t place) {
    RequireArgument(argument, place);
    Object* value = argument.value.Get();
    return value->IsProxy() ? Resolve(value) : value->Clone();
}

Object* SoleNumberList(const FunctionArgument& argument) {
    Object* value = argument.value.Get();
    if (!value || !value->GetType().IsA(NumberVectorObject::Type::Instance()) ||
        value->refCount.load() != 1)
        return nullptr;
    AddRef(value);
    return value;
}

Object* OwnCopy(const FunctionArgument& argument, size_t place) {
    RequireArgument(argument, place);
    if (Object* list = SoleNumberList(argument)) return list;
    return CopyOf(argument, place);
}

void CheckListLength(uint64_t length) {
    if (length > static_cast<uint64_t>(Range::MaxLength))
        RaiseRuntimeError(u"the resulting list would exceed the maximum length of " +
                          ToDecimal(Range::MaxLength) + u" values");
}

Object* NewNumber(Environment& environment, double value) {
    return CurrentFactory()->CreateFloat(&environment, value);
}

Object* NewText(Environment& environment, const WString& text) {
    return CurrentFactory()->CreateString(&environment, text);
}

void FlattenNumbers(const ArgumentList& arguments, DoubleVector& target, bool honourNullMode) {
    const bool skipNulls = honourNullMode && NullsLeftOut();
    DoubleVector numbers;
    for (size_t i = 0; i < arguments.size(); ++i) {
        RequireArgument(arguments[i], i);
        numbers.values.clear();
        arguments[i].value->AppendToNumbers(numbers, skipNulls);
        target.values.insert(target.values.end(), numbers.values.begin(), numbers.values.end());
    }
}

std::span<const double> ArgumentNumbers(const ArgumentList& arguments, DoubleVector& gathered) {
    const Object* single = arguments.size() == 1 ? arguments[0].value.Get() : nullptr;
    if (single && single->GetType().IsA(NumberVectorObject::Type::Instance()) && !NullsLeftOut())
        return static_cast<const NumberVectorObject*>(single)->values;
    FlattenNumbers(arguments, gathered, true);
    return gathered.values;
}

void WrapParameterError(const Error& error, const char16_t* functionName, int index) {
    if (dynamic_cast<const MathError*>(&error)) error.Rethrow();
    WString message =
        error.GetMessage() + CurrentContext()->GetLineFeed() + u"Error occurred while evaluating";
    if (index != -1) message += u" " + Ordinal(static_cast<size_t>(index) + 1);
    RaiseRuntimeError(message + u" parameter for function " + functionName + u".");
}

size_t CsvPosition(std::u16string_view item, std::u16string_view list) {
    if (item.empty() || item.size() > list.size()) return 0;
    size_t position = 1;
    for (size_t start = 0;; ++position) {
        std::u16string_view field;
        size_t end;
        if (start < list.size() && list[start] == u'"') {
            const size_t close = list.find(u'"', start + 1);
            field = list.substr(start + 1, close == list.npos ? list.npos : close - start - 1);
            end = close == list.npos ? list.npos : list.find(u',', close);
        } else {
            end = list.find(u',', start);
            field = list.substr(start, end == list.npos ? list.npos : end - start);
        }
        if (field == item) return position;
        if (end == list.npos) return 0;
        start = end + 1;
    }
}

}  // namespace CalcEngine
