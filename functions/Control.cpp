// Control functions: choice, sequence, loops, local variables, failure
// capture and the handling of nulls. Most are lazy: they decide which of
// their parameters run, how often and in which order. Messages raised here
// are completed by the dispatcher with the function's name.
#include <algorithm>
#include <cmath>

#include "functions/ArgumentToolkit.h"
#include "functions/FunctionRegistry.h"
#include "tree/Environment.h"
#include "values/ObjectFactory.h"
#include "values/ScalarObjects.h"

namespace CalcEngine {

namespace {

// Evaluate builtins nested deeper than this are refused: a text that
// evaluates itself must not exhaust the stack.
constexpr int32_t MaxEvaluateNesting = 32;

double NumberOf(const Object& object) {
    double value;
    object.GetNumber(value);
    return value;
}

bool IsNumberList(const Object& object) {
    return object.GetType().IsA(NumberVectorObject::Type::Instance());
}

bool IsEmpty(const Object& object) { return object.GetType().IsA(EmptyObject::Type::Instance()); }

// The value of a record with one more reference, for returning it.
Object* Retained(const FunctionArgument& argument) {
    if (argument.value) AddRef(argument.value.Get());
    return argument.value.Get();
}

// Evaluates the argument anew into its record and raises `message` when that
// failed; a legitimately missing value passes.
Object* EvaluateOrRaise(Environment& environment, FunctionArgument& argument,
                        const char16_t* message) {
    Object* value = ReevaluateArgument(environment, argument, nullptr, -1);
    if (!value && argument.failed) RaiseRuntimeError(message);
    return value;
}

// The argument's number; a missing value raises `message`.
double NumberOrRaise(Environment& environment, FunctionArgument& argument,
                     const char16_t* message) {
    Object* value = ReevaluateArgument(environment, argument, nullptr, -1);
    if (!value) RaiseRuntimeError(message);
    return NumberOf(*value);
}

// If: a scalar condition picks one part; a list condition picks element by
// element between the two parts, each evaluated once and whole.

// A part's value as `size` numbers: a list as it is, a scalar spread over
// all positions, no value as zeros; a shorter list is padded with its
// default value.
DoubleVector PartNumbers(const Object* value, size_t size) {
    DoubleVector numbers;
    if (value) value->AppendToNumbers(numbers, false);
    if (numbers.Size() < size) numbers.Resize(size);
    return numbers;
}

// A part's value standing for the whole condition of `size` elements: a
// scalar spreads over all of them, a list stays as it is.
Object* SpreadOver(Environment& environment, const Object* value, size_t size) {
    if (!value) return nullptr;
    if (!value->IsScalar()) {
        AddRef(const_cast<Object*>(value));
        return const_cast<Object*>(value);
    }
    PtrWrapper list(CurrentFactory()->CreateNumberVector(&environment));
    auto& numbers = static_cast<NumberVectorObject&>(*list);
    numbers.Assign(*value, true);
    numbers.defaultValue = NumberOf(*value);
    numbers.Resize(size);
    return list.Detach();
}

Object* IfScalar(Environment& environment, ArgumentList& arguments, double condition) {
    if (IsTrue(condition)) {
        EvaluateOrRaise(environment, arguments[1], u"true-part evaluation error");
        return Retained(arguments[1]);
    }
    if (arguments.size() < 3) return CurrentFactory()->CreateEmpty(&environment);
    ReevaluateArgument(environment, arguments[2], nullptr, -1);
    // The test reads the true-part's record, which never ran: a failed
    // false-part gives no value and no message.
    if (!arguments[2].value && arguments[1].failed)
        RaiseRuntimeError(u"false-part evaluation error");
    return Retained(arguments[2]);
}

Object* IfList(Environment& environment, ArgumentList& arguments, NumberVectorObject& condition) {
    const size_t size = condition.Size();
    const bool allTrue = std::all_of(condition.values.begin(), condition.values.end(), IsTrue);
    const bool allFalse = std::none_of(condition.values.begin(), condition.values.end(), IsTrue);
    const bool threeParts = arguments.size() >= 3;
    DoubleVector truePart;
    if (allFalse) {
        if (threeParts) {
            EvaluateOrRaise(environment, arguments[2], u"false-part evaluation error");
            return SpreadOver(environment, arguments[2].value.Get(), size);
        }
        if (size == 0) return CurrentFactory()->CreateEmpty(&environment);
        truePart.Resize(size);
    } else {
        EvaluateOrRaise(environment, arguments[1], u"true-part evaluation error");
        if (allTrue) {
            Object* value = arguments[1].value.Get();
            return value ? SpreadOver(environment, value, size)
                         : CurrentFactory()->CreateEmpty(&environment);
        }
        truePart = PartNumbers(arguments[1].value.Get(), size);
    }
    DoubleVector falsePart;
    if (threeParts) EvaluateOrRaise(environment, arguments[2], u"false-part evaluation error");
    falsePart = PartNumbers(threeParts ? arguments[2].value.Get() : nullptr, size);
    // The choices overwrite the condition's list where nothing else holds it.
    PtrWrapper result(OwnCopy(arguments[0], 0));
    std::vector<double>& choices = static_cast<NumberVectorObject&>(*result).values;
    for (size_t i = 0; i < size; ++i)
        choices[i] = IsTrue(choices[i]) ? truePart.values[i] : falsePart.values[i];
    return result.Detach();
}

// The condition is taken as it comes: only a list value is judged element by
// element; anything else, a variable too, is read as one number.
Object* IfFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    Object* condition = ReevaluateArgument(environment, arguments[0], nullptr, -1);
    if (!condition) RaiseRuntimeError(u"condition evaluation error");
    if (!IsNumberList(*condition)) return IfScalar(environment, arguments, NumberOf(*condition));
    return IfList(environment, arguments, static_cast<NumberVectorObject&>(*condition));
}

Object* PrintFunc(ICalcContext& context, Environment& environment, ArgumentList& arguments) {
    RequireArgument(arguments[0], 0);
    WString message;
    arguments[0].value->GetText(message);
    context.WriteLogEntry(message, ORDODLL_LOG_ENTRY_PRIORITY_INFORMATION);
    return NewNumber(environment, 1);
}

// Runs the statements in order and answers the last value. A failing
// statement is named one place further on than it stands.
Object* RunSequence(Environment& environment, ArgumentList& arguments) {
    PtrWrapper last;
    for (size_t i = 0; i < arguments.size(); ++i) {
        try {
            last.Reset(arguments[i].node->Evaluate(environment));
        } catch (const Error& e) {
            WrapParameterError(e, u"Sequence", static_cast<int>(i + 1));
        }
    }
    return last.Detach();
}

Object* SequenceFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return RunSequence(environment, arguments);
}

// Runs the body from start to end by step; a step that points away from the
// end, or 0, would never end.
Object* IterateFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    double start = NumberOrRaise(environment, arguments[1], u"start evaluation error");
    const double end = NumberOrRaise(environment, arguments[2], u"end evaluation error");
    double step = 1;
    if (arguments.size() == 4) {
        step = NumberOrRaise(environment, arguments[3], u"step evaluation error");
        if (step == 0) RaiseRuntimeError(u"start,end & step would cause indefinite loop");
    }
    if ((start - end) * step > 0)
        RaiseRuntimeError(u"start,end & step would cause indefinite loop");
    FunctionArgument& body = arguments[0];
    for (; step * end >= step * start; start += step) {
        if (!ReevaluateArgument(environment, body, nullptr, -1))
            RaiseRuntimeError(u"loop evaluation error");
    }
    return Retained(body);
}

// The loop of WhileDo and DoWhile: runs the body while the condition is not
// 0 (a null condition goes on), testing before the first pass or not. The
// answer is the body's last value, 0 when it never ran.
Object* Loop(Environment& environment, FunctionArgument& condition, FunctionArgument& body,
             bool testFirst) {
    body.value.Reset(NewNumber(environment, 0));
    for (bool testDue = testFirst;; testDue = true) {
        if (testDue && NumberOrRaise(environment, condition, u"condition evaluation error") == 0)
            break;
        EvaluateOrRaise(environment, body, u"body evaluation error");
    }
    return Retained(body);
}

Object* WhileDoFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return Loop(environment, arguments[0], arguments[1], true);
}

Object* DoWhileFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return Loop(environment, arguments[1], arguments[0], false);
}

// Runs the expression; on failure the fail action, on success the success
// action if there is one. A fail action of exactly -1 stops the calculation.
Object* TryFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    FunctionArgument& expression = arguments[0];
    try {
        ReevaluateArgument(environment, expression, nullptr, -1);
    } catch (const NullValueException&) {
        expression.failed = true;
    }
    if (!expression.failed) {
        if (arguments.size() < 3) return Retained(expression);
        return arguments[2].node->Evaluate(environment);
    }
    PtrWrapper action(arguments[1].node->Evaluate(environment));
    if (action && action->IsScalar() && action->IsSingleValue() && NumberOf(*action) == -1)
        RaiseCalcInterrupt(u"Calculation interrupted by try-function's fail action.");
    return action.Detach();
}

Object* StopFunc(ICalcContext&, Environment&, ArgumentList&) {
    RaiseCalcInterrupt(u"Calculation stopped by evaluated stop - function.");
}

// Runs the expression once for each item of the list, with the loop
// attribute set to the item; afterwards the attribute is empty.
Object* ForEachStringFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    StringVector items;
    RequireEvaluatedArgument(environment, arguments[0], 0).AppendToStrings(items);
    Object& attribute = RequireEvaluatedArgument(environment, arguments[1], 1);
    for (const WString& item : items) {
        attribute.SetText(item);
        if (!ReevaluateArgument(environment, arguments[2], nullptr, -1) && arguments[2].failed)
            RaiseRuntimeError(u"body evaluate error for string: '" + item + u"'");
    }
    attribute.SetText(WString());
    return NewNumber(environment, static_cast<double>(items.size()));
}

// Runs the expression for each whole number from start up to end, with the
// loop item set to it; afterwards the item is empty. Answers end - start + 1
// even when the body never ran.
Object* ForEachNumberFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const int64_t start =
        NumberToInt32(NumberOf(RequireEvaluatedArgument(environment, arguments[0], 0)));
    const int64_t end =
        NumberToInt32(NumberOf(RequireEvaluatedArgument(environment, arguments[1], 1)));
    Object& item = RequireEvaluatedArgument(environment, arguments[2], 2);
    for (int64_t i = start; i <= end; ++i) {
        item.SetNumber(static_cast<double>(i));
        if (!ReevaluateArgument(environment, arguments[3], nullptr, -1) && arguments[3].failed)
            RaiseRuntimeError(u"body evaluate error for iteration: " + ToDecimal(i - start + 1));
    }
    item.SetText(WString());
    return NewNumber(environment, static_cast<double>(end - start + 1));
}

// Pushes a scope of local variables for its lifetime.
class LocalScope {
public:
    explicit LocalScope(ICalcContext& context) : context(context) { context.PushScope(); }
    ~LocalScope() { context.PopScope(); }
    LocalScope(const LocalScope&) = delete;
    LocalScope& operator=(const LocalScope&) = delete;

private:
    ICalcContext& context;
};

// Binds name/value pairs in a new scope, later pairs seeing earlier ones,
// and runs the body, the last parameter, in it. The body's value outlives
// the scope as a copy.
Object* LetFunc(ICalcContext& context, Environment& environment, ArgumentList& arguments) {
    if (arguments.empty()) RaiseRuntimeError(u"not enough parameters");
    if (arguments.size() % 2 == 0)
        RaiseRuntimeError(u"let-function requires uneven number of parameters");
    LocalScope scope(context);
    for (size_t i = 0; i + 1 < arguments.size(); i += 2) {
        Object* name = ReevaluateArgument(environment, arguments[i], nullptr, -1);
        if (!name) RaiseRuntimeError(u"couldn't evaluate " + Ordinal(i + 1) + u" parameter");
        Object* value = ReevaluateArgument(environment, arguments[i + 1], nullptr, -1);
        if (!value && arguments[i + 1].failed)
            RaiseRuntimeError(u"couldn't evaluate " + Ordinal(i + 2) + u" parameter");
        WString text;
        name->GetText(text);
        context.AssignVariable(environment, text, value);
    }
    Object* body = EvaluateOrRaise(environment, arguments.back(), u"body evaluation error");
    return Resolve(body);
}

Object* LocalFunc(ICalcContext& context, Environment&, ArgumentList& arguments) {
    RequireArgument(arguments[0], 0);
    WString name;
    arguments[0].value->GetText(name);
    Object* variable = context.FindVariable(name);
    if (variable) AddRef(variable);
    return variable;
}

// 1 when the value leads to a value, 0 when there is none or a variable
// leads to nothing.
Object* IsDefinedFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const Object* value = arguments[0].value.Get();
    while (value && value->IsProxy()) value = value->Target();
    return NewNumber(environment, value ? 1 : 0);
}

// Runs the statements with nulls dropped from lists (IgnoreNull) or kept
// (RaiseNull), frozen against calls marked otherwise. The setting is undone
// only when the statements end normally.
Object* RunWithNullMode(ICalcContext& context, Environment& environment, ArgumentList& arguments,
                        int32_t listMode) {
    NullMode& mode = context.GetNullMode();
    const NullMode saved = mode;
    mode.modeSet = true;
    mode.listMode = listMode;
    Object* result = RunSequence(environment, arguments);
    mode.listMode = saved.listMode;
    mode.modeSet = saved.modeSet;
    return result;
}

Object* IgnoreNullFunc(ICalcContext& context, Environment& environment, ArgumentList& arguments) {
    return RunWithNullMode(context, environment, arguments, 1);
}

Object* RaiseNullFunc(ICalcContext& context, Environment& environment, ArgumentList& arguments) {
    return RunWithNullMode(context, environment, arguments, 0);
}

// 1 for a missing value; for anything else a list with 1 where a number is
// null (or not finite) and 0 elsewhere. Nulls from the host arrive as null
// numbers here instead of failing.
Object* IsNullFunc(ICalcContext& context, Environment& environment, ArgumentList& arguments) {
    NullModeScope scope(context);
    scope.mode = NullMode{0, true, NullNumber(), true};
    if (arguments.size() == 1) {
        FunctionArgument& argument = arguments[0];
        if (!ReevaluateArgument(environment, argument, nullptr, -1) && argument.failed)
            RaiseRuntimeError(u"parameter evaluation error");
        if (argument.value && IsEmpty(*argument.value)) return NewNumber(environment, 1);
    }
    PtrWrapper list(CurrentFactory()->CreateNumberVector(&environment));
    auto& numbers = static_cast<NumberVectorObject&>(*list);
    FlattenNumbers(arguments, numbers, false);
    for (double& x : numbers.values) x = std::isfinite(x) ? 0 : 1;
    return list.Detach();
}

// The input, with the fallback where it is null: while nulls raise, in place
// of a missing or null input and of each null element of a list; while nulls
// are ignored, as the number that a null from the host becomes.
// While nulls raise: the input with each null element of a list replaced,
// the fallback read once at the first; null for a missing or null input.
Object* CoalesceList(ICalcContext& context, Environment& environment, ArgumentList& arguments) {
    NullModeScope scope(context);
    scope.mode.substitute = NullNumber();
    scope.mode.accepted = false;
    Object* input = nullptr;
    try {
        input = &RequireEvaluatedArgument(environment, arguments[0], 0);
    } catch (const NullValueException&) {
        return nullptr;
    }
    if (IsEmpty(*input)) return nullptr;
    if (IsNumberList(*input)) {
        bool fallbackRead = false;
        double fallback = 0;
        for (double& x : static_cast<NumberVectorObject&>(*input).values) {
            if (!IsNull(x)) continue;
            if (!fallbackRead)
                fallback = NumberOf(RequireEvaluatedArgument(environment, arguments[1], 1));
            fallbackRead = true;
            x = fallback;
        }
    }
    return Retained(arguments[0]);
}

Object* CoalesceRaising(ICalcContext& context, Environment& environment, ArgumentList& arguments) {
    if (Object* input = CoalesceList(context, environment, arguments)) return input;
    return arguments[1].node->Evaluate(environment);
}

Object* CoalesceIgnoring(ICalcContext& context, Environment& environment, ArgumentList& arguments) {
    NullModeScope scope(context);
    try {
        PtrWrapper fallback(Resolve(&RequireEvaluatedArgument(environment, arguments[1], 1)));
        scope.mode.substitute = NumberOf(*fallback);
        scope.mode.accepted = true;
        PtrWrapper input(arguments[0].node->Evaluate(environment));
        return Resolve(input.Get());
    } catch (const Error& e) {
        WrapParameterError(e, u"Coalesce", -1);
    }
}

Object* CoalesceFunc(ICalcContext& context, Environment& environment, ArgumentList& arguments) {
    if (context.GetNullMode().listMode > 0)
        return CoalesceIgnoring(context, environment, arguments);
    return CoalesceRaising(context, environment, arguments);
}

// Prepares the text as a formula of its own (never cached) and calculates
// it at once; its value then belongs to the calling formula.
Object* EvaluateFunc(ICalcContext& context, Environment& environment, ArgumentList& arguments) {
    RequireArgument(arguments[0], 0);
    WString text;
    arguments[0].value->GetText(text);
    EvaluateNestingScope nesting(context);
    if (context.EvaluateNesting() > MaxEvaluateNesting)
        RaiseRuntimeError(u"Evaluate-function nested more than " + ToDecimal(MaxEvaluateNesting) +
                          u" levels deep");
    Environment formula;
    if (!formula.Parse(text, nullptr))
        RaiseRuntimeError(u"Error preparing formula for Evaluate-function");
    Object* value = formula.Calculate(nullptr);
    if (value) value->environment = &environment;
    return value;
}

Object* RemFunc(ICalcContext&, Environment&, ArgumentList&) { return nullptr; }

constexpr uint8_t Lazy = ICalcFunction::Lazy;
constexpr uint8_t Pure = ICalcFunction::Pure;

constexpr BuiltinEntry entries[] = {
    {u"Control", u"If", u"iif", IfFunc, u"??.", u"condition, true-part[, false-part]", Lazy | Pure},
    {u"Control", u"Print", nullptr, PrintFunc, u"S", u"message_string", 0},
    {u"Control", u"Sequence", nullptr, SequenceFunc, u"*", u"statements separated by ','",
     Lazy | Pure},
    {u"Control", u"Iterate", nullptr, IterateFunc, u"?DD.", u"body, start, end [,step]",
     Lazy | Pure},
    {u"Control", u"WhileDo", nullptr, WhileDoFunc, u"D?", u"condition, body", Lazy | Pure},
    {u"Control", u"DoWhile", nullptr, DoWhileFunc, u"?D", u"body, condition", Lazy | Pure},
    {u"Control", u"Try", nullptr, TryFunc, u"??.",
     u"expression to try, action if failed, [optional action if success]", Lazy | Pure},
    {u"Control", u"Stop", nullptr, StopFunc, u"", u"", Pure},
    {u"Control", u"ForEachString", nullptr, ForEachStringFunc, u"S??",
     u"comma separated string, loop attribute, expression to evaluate", Lazy | Pure},
    {u"Control", u"ForEachNumber", nullptr, ForEachNumberFunc, u"DD??",
     u"start number, end number, loop item, expression to evaluate", Lazy | Pure},
    {u"Control", u"Let", nullptr, LetFunc, u"?*",
     u"(variable name/value - pairs followed by the function body) [, additional parameters]",
     Lazy | Pure},
    {u"Control", u"Local", nullptr, LocalFunc, u"S", u"variable name", 0},
    {u"Control", u"IsDefined", nullptr, IsDefinedFunc, u"?", u"expression", Pure},
    {u"Control", u"IgnoreNull", u"IN", IgnoreNullFunc, u"*", u"statements", Lazy | Pure},
    {u"Control", u"RaiseNull", u"RN", RaiseNullFunc, u"*", u"statements", Lazy | Pure},
    {u"Other", u"IsNull", nullptr, IsNullFunc, u".", u"object to check", Lazy | Pure},
    {u"Other", u"Coalesce", nullptr, CoalesceFunc, u"??", u"input value, return value",
     Lazy | Pure},
    {u"Other", u"Evaluate", nullptr, EvaluateFunc, u"S",
     u"string to be evaluated as a rule-syntax formula", Pure},
    {u"Other", u"Rem", nullptr, RemFunc, u"*", u"[expression(s) to be ignored]", Lazy | Pure},
};

}  // namespace

const std::span<const BuiltinEntry> controlFunctions = entries;

}  // namespace CalcEngine
