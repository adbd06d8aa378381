#include "context/ExternalFunction.h"

#include <limits>

#include "context/CalcClient.h"
#include "context/HostCall.h"
#include "context/ObjectReference.h"
#include "functions/ArgumentToolkit.h"
#include "tree/References.h"
#include "values/HostMemory.h"
#include "values/NumberVectorObject.h"
#include "values/ObjectFactory.h"
#include "values/VariableObject.h"

namespace CalcEngine {

namespace {

const char16_t* OrEmpty(const char16_t* text) { return text ? text : u""; }

// The argument's value for a parameter that takes a value: a host symbol,
// which arguments bring as a reference, is asked for its value here.
PtrWrapper ValueOf(Environment& environment, const FunctionArgument& argument, size_t index) {
    Object* value = argument.value.Get();
    if (!dynamic_cast<const ICalcObjectReference*>(value)) {
        AddRef(value);
        return PtrWrapper(value);
    }
    PtrWrapper fetched(argument.node->Evaluate(environment));
    if (!fetched) RaiseRuntimeError(u"couldn't evaluate " + Ordinal(index + 1) + u" parameter");
    return fetched;
}

}  // namespace

ExternalFunction::IFunctionParameter::IFunctionParameter(const DTCalcFunctionParameter& declared)
    : description(OrEmpty(declared.xcDescription)), flags(declared.iFlags) {}

// A text, never a null pointer: an empty text is a terminator of its own.
class ExternalFunction::StringFunctionParameter : public IFunctionParameter {
public:
    using IFunctionParameter::IFunctionParameter;
    void Evaluate(Environment& environment, const FunctionArgument& argument,
                  ParameterArray& parameters, size_t index) const override {
        WString text;
        ValueOf(environment, argument, index)->GetText(text);
        parameters[index].xValue = HostTextCopy(text);
        parameters[index].iType = ORDODLL_FUNCTION_PARAMETER_TYPE_STRING;
    }
};

// A count followed by that many numbers.
class ExternalFunction::NumberListFunctionParameter : public IFunctionParameter {
public:
    using IFunctionParameter::IFunctionParameter;
    void Evaluate(Environment& environment, const FunctionArgument& argument,
                  ParameterArray& parameters, size_t index) const override {
        PtrWrapper list(CurrentFactory()->CreateNumberVector(&environment));
        list->Assign(*ValueOf(environment, argument, index), true);
        DTCalcResult written{};
        list->ToResult(written);
        parameters[index].xValue = written.xResultBuffer;
        parameters[index].iType = ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBERLIST;
    }
};

class ExternalFunction::NumberFunctionParameter : public IFunctionParameter {
public:
    using IFunctionParameter::IFunctionParameter;
    void Evaluate(Environment& environment, const FunctionArgument& argument,
                  ParameterArray& parameters, size_t index) const override {
        // The value first: fetching it may raise, and the buffer is owned by
        // the array only once stored there.
        double value;
        ValueOf(environment, argument, index)->GetNumber(value);
        auto* number = static_cast<double*>(AllocateHostMemory(sizeof value));
        *number = value;
        parameters[index].xValue = number;
        parameters[index].iType = ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBER;
    }
};

// The symbol itself, with its own arguments evaluated; a local variable goes
// as its value.
class ExternalFunction::VarRefFunctionParameter : public IFunctionParameter {
public:
    using IFunctionParameter::IFunctionParameter;
    void Evaluate(Environment& environment, const FunctionArgument& argument,
                  ParameterArray& parameters, size_t index) const override {
        Object& value = *argument.value;
        if (value.GetType().IsA(VariableObject::Type::Instance())) {
            DTCalcResult written{};
            value.ToResult(written);
            parameters[index].xValue = written.xResultBuffer;
            parameters[index].iType = written.iType;
            return;
        }
        const auto* node = dynamic_cast<const VarRef*>(argument.node);
        const auto* reference = dynamic_cast<const CalcRuntimeObjectReference*>(&value);
        if (!node || !reference)
            RaiseRuntimeError(
                u"attempted to use non-symbol reference as function parameter expecting a symbol "
                u"reference");
        std::unique_ptr<ParameterArray> own;
        const ExpressionList* referenceArguments = node->Arguments();
        if (referenceArguments && referenceArguments->Size() > 0) {
            ArgumentList values;
            EvaluateArguments(environment, *referenceArguments, values, reference->Symbol(), true);
            const bool forceNumber = CurrentContext()->GetClient()->flags &
                                     ORDODLL_FLAG_FORCE_NUMBER_SYMBOL_PARAMETER_TYPE;
            own = std::make_unique<ParameterArray>(values, forceNumber);
        }
        parameters.SetReference(index, reference->Symbol(), std::move(own));
    }
};

ExternalFunction::ExternalFunction(const DTCalcFunction& record)
    : ICalcFunction(record.xcCategory, record.xcName, record.xcSecondaryName,
                    record.iFlags & ORDODLL_EXTERNAL_FUNCTION_FLAG_CONST ? Pure : 0),
      resultType(record.iResultType),
      handler(record.xFunctionHandler) {
    for (const DTCalcFunctionParameter* declared = record.xdtParameters; declared;
         declared = declared->xdtNext) {
        switch (declared->iType) {
            case ORDODLL_FUNCTION_PARAMETER_TYPE_STRING:
                parameters.push_back(std::make_unique<StringFunctionParameter>(*declared));
                break;
            case ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBERLIST:
                parameters.push_back(std::make_unique<NumberListFunctionParameter>(*declared));
                break;
            case ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBER:
                parameters.push_back(std::make_unique<NumberFunctionParameter>(*declared));
                break;
            case ORDODLL_FUNCTION_PARAMETER_TYPE_VARREF:
                parameters.push_back(std::make_unique<VarRefFunctionParameter>(*declared));
                break;
            default:
                break;
        }
    }
}

// The wording keeps its test for a negative maximum, which a repeating
// parameter (an open maximum) never meets: such a function reports the
// plain form.
void ExternalFunction::CheckParameters(ICalcContext& context,
                                       const ExpressionList& arguments) const {
    (void)context;
    const auto given = static_cast<int64_t>(arguments.Size());
    const auto declared = static_cast<int64_t>(parameters.size());
    bool repeats = false;
    for (const auto& parameter : parameters) repeats = repeats || parameter->RepeatsForMore();
    const int64_t most = repeats ? std::numeric_limits<int32_t>::max() : declared;
    if (given >= declared && given <= most) return;
    RaiseSemanticError(
        u"Wrong number of parameters for function " + name + u" (got " + ToDecimal(given) +
        u" parameter" + (given > 1 ? u"s" : u"") + u" when " + (most < 0 ? u"at least " : u"") +
        ToDecimal(declared) +
        (declared < 2 ? u" parameter was expected)" : u" parameters were expected)"));
}

// A repeating parameter takes up the surplus of arguments, leaving one for
// each later parameter.
Object* ExternalFunction::Calculate(ICalcContext& context, Environment& environment,
                                    const ExpressionList& expressions) const {
    ArgumentList arguments;
    EvaluateArguments(environment, expressions, arguments, name, false);
    ParameterArray values(arguments.size());
    size_t parameter = 0;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const IFunctionParameter& declared = *parameters[parameter];
        RequireArgument(arguments[i], i);
        declared.Evaluate(environment, arguments[i], values, i);
        const size_t argumentsLeft = arguments.size() - i;
        const size_t parametersLeft = parameters.size() - parameter;
        if (!declared.RepeatsForMore() || argumentsLeft <= parametersLeft) ++parameter;
    }
    const int32_t flags = context.GetNullMode().listMode > 0
                              ? ORDODLL_EXTERNAL_FUNCTION_HANDLER_FLAG_IGNORE_NULL
                              : ORDODLL_EXTERNAL_FUNCTION_HANDLER_FLAG_DEFAULT;
    DTCalcResult result{};
    const int32_t code = CallHost(handler, flags, values.First(), context.GetClientData(), &result);
    HostBuffer buffer(result.xResultBuffer);
    if (code != ORDODLL_RESULT_OK)
        RaiseRuntimeError(u"Error calculating function : " + name + u". " + TextOfResult(result));
    return CreateObjectFromResult(&environment, 0, resultType, result);
}

}  // namespace CalcEngine
