// A client for tests that need no more than a symbol callback, flags and a
// listener for references; its log entries are dropped.
#pragma once

#include "interface/ordo.h"

inline int32_t IgnoreLogEntry(const char16_t*, int32_t) { return ORDODLL_RESULT_OK; }

// Answers `number` as a host callback does: in a buffer of
// xCalcAllocateMemory, which the library frees.
inline int32_t AnswerNumber(DTCalcResult* result, double number) {
    auto* value = static_cast<double*>(xCalcAllocateMemory(sizeof number));
    *value = number;
    result->xResultBuffer = reinterpret_cast<char16_t*>(value);
    result->iResultBufferLength = sizeof number;
    result->iType = ORDODLL_FUNCTION_RESULT_TYPE_NUMBER;
    return ORDODLL_RESULT_OK;
}

inline void* NewTestClient(TCalcGetSymbolValueFunc getSymbolValue,
                           int32_t flags = ORDODLL_FLAG_DEFAULT,
                           TCalcOnExternalObjectReferenceCreatedFunc onReference = nullptr) {
    void* client = nullptr;
    DTCalcInit init{};
    init.iVersion = ORDODLL_VERSION;
    init.xGetSymbolValueFunc = getSymbolValue;
    init.xWriteLogEntryFunc = IgnoreLogEntry;
    init.xOnExternalObjectReferenceCreatedFunc = onReference;
    init.xxClientHandle = &client;
    init.iFlags = flags;
    iCalcInitialize(&init);
    return client;
}
