#include "context/CalcClient.h"

#include "values/Exception.h"

using namespace CalcEngine;

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

void CalcClient::WriteLogEntry(const WString& text, int32_t priority) const {
    int32_t code = writeLogEntry(text.c_str(), priority);
    if (code != ORDODLL_RESULT_OK)
        RaiseRuntimeError(CallbackErrorHead(code) + u" occurred while writing log entry");
}

WString CallbackErrorHead(int32_t code) { return WString(u"Error: ") + xcCalcGetErrorString(code); }
