// What every builtin handler reads its parameters with. Indexes are
// zero-based; messages name the place one-based ("1st parameter").
#pragma once

#include <span>
#include <string_view>

#include "tree/Arguments.h"
#include "values/Exception.h"
#include "values/ICalcContext.h"
#include "values/NumberVectorObject.h"

namespace CalcEngine {

// Evaluates the argument's node. `failedFlag` is set during the evaluation
// and stays set when it failed. An Error is reported to the context and not
// passed on: the answer is then null, so that a lazy handler tells a failure
// (flag set) from a legitimately missing value (flag clear). With a
// `functionName`, the report names the place `index` (left out for -1) and
// the function. One reference for the caller.
Object* EvaluateArgument(Environment& environment, const FunctionArgument& argument,
                         bool& failedFlag, const char16_t* functionName, int index);
// Evaluates the argument anew into its own record, dropping the value it
// held; answers the value, which the record keeps.
Object* ReevaluateArgument(Environment& environment, FunctionArgument& argument,
                           const char16_t* functionName, int index);
// Raises "couldn't evaluate <place> parameter" when the argument has no value.
void RequireArgument(const FunctionArgument& argument, size_t index);
// The same after evaluating the argument anew: for lazy handlers.
Object& RequireEvaluatedArgument(Environment& environment, FunctionArgument& argument,
                                 size_t index);

// A parameter's value read as text, a number or an integer; it must have a
// value, and `place` is the index that a missing one is reported as.
WString TextArgument(const FunctionArgument& argument, size_t place);
double NumberArgument(const FunctionArgument& argument, size_t place);
int32_t IntArgument(const FunctionArgument& argument, size_t place);
// The integer of parameter `place`, or `fallback` when the call has fewer.
int32_t OptionalInt(const ArgumentList& arguments, size_t place, int32_t fallback);
// The integer of parameter `place` where the call has it and it has a value;
// `fallback` for a parameter left out or one that did not evaluate.
int32_t IntIfEvaluated(const ArgumentList& arguments, size_t place, int32_t fallback);
// A copy of the parameter's value, which it must have, for changing: of a
// variable, a copy of what it holds, since operators reach a value only
// through the variable.
Object* CopyOf(const FunctionArgument& argument, size_t place);
// The parameter's own number list, with one more reference, when nothing but
// the call holds it: a handler may then change it and answer it. Null
// otherwise, also for a parameter without a value.
Object* SoleNumberList(const FunctionArgument& argument);
// The parameter's value, which it must have, to change and answer: its own
// number list where SoleNumberList gives it, otherwise CopyOf.
Object* OwnCopy(const FunctionArgument& argument, size_t place);

// Raises where a list would grow longer than the longest list the library
// makes, the longest range.
void CheckListLength(uint64_t length);

// A new number or text for a handler's result, one reference for the caller.
Object* NewNumber(Environment& environment, double value);
Object* NewText(Environment& environment, const WString& text);

// Appends the numbers of every argument, in order, to `target`; each must
// have a value. With `honourNullMode`, nulls are left out while the context
// ignores nulls.
void FlattenNumbers(const ArgumentList& arguments, DoubleVector& target, bool honourNullMode);
// The numbers that FlattenNumbers(arguments, gathered, true) gives, read
// without a copy where they stand in a single number list and no null is to
// be left out; otherwise gathered into `gathered`. Valid while the
// arguments and `gathered` are.
std::span<const double> ArgumentNumbers(const ArgumentList& arguments, DoubleVector& gathered);

// Raises the error caught while a lazy handler evaluated a parameter again,
// naming the parameter's place (none for -1) and the function; a MathError
// goes on unchanged.
[[noreturn]] void WrapParameterError(const Error& error, const char16_t* functionName, int index);

// The 1-based place of `item` in the comma-separated `list`, 0 when it is
// not there, when `item` is empty or longer than `list`. A field may stand
// in double quotes, which are not part of it; the comparison is exact.
size_t CsvPosition(std::u16string_view item, std::u16string_view list);

// Lets a handler change the context's null handling for its lifetime and
// restores all of it after, also when an exception leaves.
class NullModeScope {
public:
    explicit NullModeScope(ICalcContext& context)
        : mode(context.GetNullMode()), saved(context.GetNullMode()) {}
    ~NullModeScope() { mode = saved; }
    NullModeScope(const NullModeScope&) = delete;
    NullModeScope& operator=(const NullModeScope&) = delete;

    NullMode& mode;

private:
    const NullMode saved;
};

// Runs `functor` (double to double) over the numbers of `object` in place: a
// number list element by element, a scalar as one number, any other value
// through its number list.
template <class Functor>
void ApplyToObject(Object& object, Functor functor) {
    if (object.GetType().IsA(NumberVectorObject::Type::Instance())) {
        for (double& x : static_cast<NumberVectorObject&>(object).values) x = functor(x);
    } else if (object.IsScalar()) {
        double x;
        object.GetNumber(x);
        object.SetNumber(functor(x));
    } else {
        DoubleVector numbers;
        object.AppendToNumbers(numbers, false);
        for (double& x : numbers.values) x = functor(x);
        object.SetFromNumbers(numbers);
    }
}

// ApplyToObject on the first argument's own copy (OwnCopy), so a scalar
// stays a scalar and a list a list. One reference for the caller.
template <class Functor>
Object* ApplyToParameter(ArgumentList& arguments, Functor functor) {
    PtrWrapper result(OwnCopy(arguments[0], 0));
    ApplyToObject(*result, functor);
    return result.Detach();
}

}  // namespace CalcEngine
