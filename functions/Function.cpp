#include "functions/Function.h"

#include "values/ObjectFactory.h"

namespace CalcEngine {

namespace {

const char16_t* OrEmpty(const char16_t* text) { return text ? text : u""; }

// " parameter was " or " parameters were ", after a count.
const char16_t* ParameterWording(uint32_t count) {
    return count < 2 ? u" parameter was " : u" parameters were ";
}

}  // namespace

ICalcFunction::ICalcFunction(const char16_t* category, const char16_t* name, const char16_t* alias,
                             uint8_t flags)
    : category(OrEmpty(category)), name(OrEmpty(name)), alias(OrEmpty(alias)), flags(flags) {}

BuiltinFunction::BuiltinFunction(const BuiltinEntry& entry)
    : ICalcFunction(entry.category, entry.name, entry.alias, entry.flags),
      handler(entry.handler),
      signature(OrEmpty(entry.signature)),
      description(OrEmpty(entry.description)) {
    ScanSignature();
}

// Every character but '.' is a required place, a blank included; '*' opens
// the end and stops the scan.
void BuiltinFunction::ScanSignature() {
    requiredParameters = maximumParameters = 0;
    for (char16_t c : signature) {
        if (c == u'*') {
            maximumParameters = Unlimited;
            return;
        }
        if (c != u'.') ++requiredParameters;
        ++maximumParameters;
    }
}

void BuiltinFunction::CheckParameters(ICalcContext& context,
                                      const ExpressionList& parameters) const {
    (void)context;
    const auto count = static_cast<uint32_t>(parameters.Size());
    if (requiredParameters <= count && count <= maximumParameters) return;
    WString message = u"Wrong number of parameters for function " + name + u" (got " +
                      ToDecimal(count) + u" parameter" + (count > 1 ? u"s" : u"") + u" when ";
    if (count < requiredParameters)
        message +=
            u"at least " + ToDecimal(requiredParameters) + ParameterWording(requiredParameters);
    if (count > maximumParameters)
        message += u"at most " + ToDecimal(maximumParameters) + ParameterWording(maximumParameters);
    RaiseSemanticError(message + u"expected)!");
}

Object* BuiltinFunction::Calculate(ICalcContext& context, Environment& environment,
                                   const ExpressionList& parameters) const {
    ArgumentList arguments(parameters.Size());
    for (size_t i = 0; i < parameters.Size(); ++i) arguments[i].node = &parameters[i];
    if (!(flags & Lazy)) {
        for (size_t i = 0; i < arguments.size(); ++i) {
            FunctionArgument& argument = arguments[i];
            try {
                argument.failed = true;
                argument.value.Reset(argument.node->Evaluate(environment));
                argument.failed = false;
            } catch (const MathError&) {
                throw;
            } catch (const Error& e) {
                RaiseRuntimeError(e.GetMessage() + context.GetLineFeed() +
                                  u"Error occurred while evaluating " + ToDecimal(i + 1) +
                                  u". parameter for function " + name + u".");
            }
        }
    }
    try {
        return handler(context, environment, arguments);
    } catch (const MathError&) {
        // A division by zero in the body: the call has no value.
        return CurrentFactory()->CreateEmpty(&environment);
    } catch (const Error& e) {
        RaiseRuntimeError(e.GetMessage() + context.GetLineFeed() +
                          u"Error occurred while calculating function " + name + u".");
    }
}

// A call marked to ignore nulls raises the ignore-null level around the
// function, unless a null-handling statement holds the level; the test is
// made again afterwards, since the function may have changed that.
Object* CalcFunctionReference::Evaluate(Environment& environment,
                                        const ExpressionList& arguments) const {
    ICalcContext& context = *CurrentContext();
    NullMode& mode = context.GetNullMode();
    if (ignoreNull && !mode.modeSet) ++mode.listMode;
    Object* result = function.Calculate(context, environment, arguments);
    if (ignoreNull && !mode.modeSet) --mode.listMode;
    return result;
}

void CalcFunctionReference::ReportCreated() const {
    if (function.IsHostImplemented())
        CurrentContext()->OnExternalFunctionCallCreated(function.name);
}

}  // namespace CalcEngine
