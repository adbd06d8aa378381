// The object behind a client handle: the host's callbacks and settings, and
// the cache of prepared formulas.
#pragma once

#include <cstdint>
#include <map>

#include "interface/ordo.h"
#include "values/Text.h"

class RecyclableCalcFormula;

class CalcClient {
public:
    explicit CalcClient(const DTCalcInit& init);

    // Writes one entry through the host's log callback; a non-zero answer
    // raises a RuntimeError.
    void WriteLogEntry(const CalcEngine::WString& text, int32_t priority) const;

    TCalcGetSymbolValueFunc getSymbolValue;
    TCalcWriteLogEntryFunc writeLogEntry;
    TCalcOnExternalObjectReferenceCreatedFunc onExternalObjectReferenceCreated;
    TCalcOnExternalFunctionCallCreatedFunc onExternalFunctionCallCreated;
    int32_t flags;
    int32_t quota;
    char16_t decimalSeparator;         // 0: the default '.'
    char16_t expressionListSeparator;  // 0: the default ','
    CalcEngine::WString lineFeed;
    // Prepared formulas by their exact text; the map does not own them.
    std::map<CalcEngine::WString, RecyclableCalcFormula*> formulaCache;
};

// "Error: " + the code's text: the head of every callback failure message.
CalcEngine::WString CallbackErrorHead(int32_t code);
