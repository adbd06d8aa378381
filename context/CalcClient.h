// The object behind a client handle: the host's callbacks and settings, the
// functions the client knows and the cache of its prepared formulas. The
// engine calls the host only through the wrappers here, which marshal the
// arguments, add the call's host data and turn a failure code into an
// exception with a fixed wording.
#pragma once

#include <cstdint>

#include "context/FormulaCache.h"
#include "functions/FunctionRegistry.h"
#include "interface/ordo.h"
#include "tree/Arguments.h"

class CalcClient {
public:
    explicit CalcClient(const DTCalcInit& init);

    // The host's value of `symbol` with its evaluated `arguments` (null for
    // a plain name); one reference for the caller. A failure raises a
    // RuntimeError.
    CalcEngine::Object* GetSymbolValue(CalcEngine::Environment& environment,
                                       const CalcEngine::WString& symbol,
                                       const CalcEngine::ArgumentList* arguments) const;
    // Writes one entry through the host's log; a failure raises a
    // RuntimeError.
    void WriteLogEntry(const CalcEngine::WString& text, int32_t priority) const;
    // Tells the host of a reference to `symbol` at `position`, with its
    // constant arguments or null. The host may change `flags`. A failure
    // raises a SemanticError. Only called when the host has the callback.
    void OnExternalObjectReferenceCreated(int32_t position, const CalcEngine::WString& symbol,
                                          DTCalcFunctionParameterValue* parameters,
                                          int32_t& flags) const;

    // Tells the host, when it has the callback, of a call of its function
    // `name`. A failure raises a SemanticError.
    void OnExternalFunctionCallCreated(const CalcEngine::WString& name) const;

    TCalcGetSymbolValueFunc getSymbolValue;
    TCalcWriteLogEntryFunc writeLogEntry;
    TCalcOnExternalObjectReferenceCreatedFunc onExternalObjectReferenceCreated;
    TCalcOnExternalFunctionCallCreatedFunc onExternalFunctionCallCreated;
    int32_t flags;
    int32_t quota;
    char16_t decimalSeparator;         // 0: the default '.'
    char16_t expressionListSeparator;  // 0: the default ','
    CalcEngine::WString lineFeed;
    CalcEngine::FunctionRegistry registry;
    FormulaCache formulas;

private:
    CalcEngine::Object* AskSymbolValue(CalcEngine::Environment& environment,
                                       const CalcEngine::WString& symbol,
                                       DTCalcFunctionParameterValue* parameters) const;
};
