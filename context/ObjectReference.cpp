#include "context/ObjectReference.h"

#include <optional>

#include "context/CalcClient.h"
#include "context/HostBridge.h"
#include "tree/Environment.h"
#include "values/ICalcContext.h"

namespace CalcEngine {

const CalcRuntimeObjectReference::Type& CalcRuntimeObjectReference::Type::Instance() {
    static const Type instance;
    return instance;
}

CalcRuntimeObjectReference::CalcRuntimeObjectReference(Environment* environment,
                                                       const WString& symbol)
    : ICalcObjectReference(Type::Instance()), symbol(symbol) {
    this->environment = environment;
}

Object* CalcRuntimeObjectReference::GetValue(Environment& environment,
                                             const ExpressionList* arguments) const {
    return arguments ? AskHostWith(environment, *arguments) : AskHost(environment, nullptr);
}

Object* CalcRuntimeObjectReference::AskHostWith(Environment& environment,
                                                const ExpressionList& arguments) const {
    ArgumentList values;
    EvaluateArguments(environment, arguments, values, symbol, true);
    return AskHost(environment, &values);
}

namespace {

// Out of line: the frequent path then needs no frame for the message.
[[noreturn, gnu::noinline]] void RaiseReferenceInEvaluate() {
    RaiseRuntimeError(u"External object symbol references aren't allowed in evaluate-function.");
}

}  // namespace

Object* CalcRuntimeObjectReference::AskHost(Environment& environment,
                                            const ArgumentList* arguments) const {
    ICalcContext& context = *CurrentContext();
    if (context.EvaluateNesting() > 0) RaiseReferenceInEvaluate();
    return context.GetClient()->GetSymbolValue(environment, symbol, arguments);
}

void CalcRuntimeObjectReference::ReportCreated(Environment& environment,
                                               const ExpressionList* constArguments,
                                               int32_t position, bool emptyParamList) {
    const CalcClient& client = *CurrentContext()->GetClient();
    std::optional<ParameterArray> parameters;
    if (constArguments) {
        ArgumentList values;
        EvaluateArguments(environment, *constArguments, values, u"Post VarRef processing", true);
        parameters.emplace(values, client.flags & ORDODLL_FLAG_FORCE_NUMBER_SYMBOL_PARAMETER_TYPE);
    }
    int32_t flags = emptyParamList ? ORDODLL_EXTERNAL_OBJECT_REFERENCE_FLAG_EMPTY_PARAM_LIST : 0;
    if (client.onExternalObjectReferenceCreated)
        client.OnExternalObjectReferenceCreated(position, symbol,
                                                parameters ? parameters->First() : nullptr, flags);
    // Without the host's word a reference varies.
    constValue = flags & ORDODLL_EXTERNAL_OBJECT_REFERENCE_FLAG_CONST_VALUE;
    if (!constValue) environment.SetHasVariableReferences();
}

void CalcRuntimeObjectReference::Dump(WString& out, int options) const {
    (void)options;
    out += u"##DEL: " + symbol + u" ##";
}

Object* CalcRuntimeObjectReference::Clone() const {
    auto* copy = new CalcRuntimeObjectReference(environment, symbol);
    copy->constValue = constValue;
    return copy;
}

void CalcRuntimeObjectReference::Warn(const WString& action) const {
    ReportWarning(environment,
                  u"Error occurred while " + action + u" deleted object \"" + symbol + u"\".");
}

Object* CalcRuntimeObjectReference::WarnOperator(const char16_t* name) const {
    Warn(WString(u"attempting to execute operator '") + name + u"' for");
    return nullptr;
}

}  // namespace CalcEngine
