#include "context/CalcClient.h"

#include <memory>

#include "context/HostBridge.h"
#include "context/HostCall.h"
#include "values/HostMemory.h"
#include "values/ICalcContext.h"

using namespace CalcEngine;

namespace {

// "Error: " and the code's text: the head of every callback failure message.
WString CallbackErrorHead(int32_t code) { return WString(u"Error: ") + xcCalcGetErrorString(code); }

}  // namespace

CalcClient::CalcClient(const DTCalcInit& init)
    : getSymbolValue(init.xGetSymbolValueFunc),
      writeLogEntry(init.xWriteLogEntryFunc),
      onExternalObjectReferenceCreated(init.xOnExternalObjectReferenceCreatedFunc),
      onExternalFunctionCallCreated(init.xOnExternalFunctionCallCreatedFunc),
      flags(init.iFlags),
      quota(init.iQuota),
      decimalSeparator(init.cDecimalSeparator),
      expressionListSeparator(init.cExpressionListSeparator),
      lineFeed(init.xcLineFeed ? WString(init.xcLineFeed) : WString(u"\r\n")) {}

Object* CalcClient::GetSymbolValue(Environment& environment, const WString& symbol,
                                   const ArgumentList* arguments) const {
    if (!arguments || arguments->empty()) return AskSymbolValue(environment, symbol, nullptr);
    ParameterArray parameters(*arguments, flags & ORDODLL_FLAG_FORCE_NUMBER_SYMBOL_PARAMETER_TYPE);
    return AskSymbolValue(environment, symbol, parameters.First());
}

Object* CalcClient::AskSymbolValue(Environment& environment, const WString& symbol,
                                   DTCalcFunctionParameterValue* parameters) const {
    // A host without a symbol callback gets an evaluation error, not a fault.
    if (!getSymbolValue)
        RaiseRuntimeError(u"Error: no symbol value callback to evaluate external symbol: " +
                          symbol);
    ICalcContext& context = *CurrentContext();
    const int32_t symbolFlags = context.GetNullMode().listMode > 0
                                    ? ORDODLL_GET_SYMBOL_VALUE_FLAG_IGNORE_NULL
                                    : ORDODLL_GET_SYMBOL_VALUE_FLAG_DEFAULT;
    DTCalcResult result{};
    const int32_t code = CallHost(getSymbolValue, symbol.c_str(), parameters, symbolFlags, &result,
                                  context.GetClientData());
    // The buffer is the library's to release, whatever the host answered.
    HostBuffer buffer(result.xResultBuffer);
    if (code != ORDODLL_RESULT_OK)
        RaiseRuntimeError(CallbackErrorHead(code) +
                          u" occurred while evaluating value for external symbol: " + symbol);
    return CreateObjectFromResult(&environment, 0, result.iType, result);
}

void CalcClient::WriteLogEntry(const WString& text, int32_t priority) const {
    const int32_t code = CallHost(writeLogEntry, text.c_str(), priority);
    if (code != ORDODLL_RESULT_OK)
        RaiseRuntimeError(CallbackErrorHead(code) + u" occurred while writing log entry");
}

void CalcClient::OnExternalObjectReferenceCreated(int32_t position, const WString& symbol,
                                                  DTCalcFunctionParameterValue* parameters,
                                                  int32_t& referenceFlags) const {
    DTExternalObjectReferenceData data{symbol.c_str(), parameters, referenceFlags, position};
    const int32_t code =
        CallHost(onExternalObjectReferenceCreated, &data, CurrentContext()->GetClientData());
    if (code != ORDODLL_RESULT_OK)
        RaiseSemanticError(CallbackErrorHead(code) +
                           u" occurred while initializing external object reference to symbol: " +
                           symbol);
    referenceFlags = data.iFlags;
}

void CalcClient::OnExternalFunctionCallCreated(const WString& name) const {
    if (!onExternalFunctionCallCreated) return;
    const int32_t code =
        CallHost(onExternalFunctionCallCreated, name.c_str(), CurrentContext()->GetClientData());
    if (code != ORDODLL_RESULT_OK)
        RaiseSemanticError(CallbackErrorHead(code) +
                           u" occurred while initializing external function call to function: " +
                           name);
}
