// A client for tests that need no more than a symbol callback, flags, a
// listener for references and perhaps a log of their own, and the small
// steps such tests take with it.
#pragma once

#include <pthread.h>

#include <cmath>
#include <cstring>
#include <functional>

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
                           TCalcOnExternalObjectReferenceCreatedFunc onReference = nullptr,
                           TCalcWriteLogEntryFunc writeLog = IgnoreLogEntry) {
    void* client = nullptr;
    DTCalcInit init{};
    init.iVersion = ORDODLL_VERSION;
    init.xGetSymbolValueFunc = getSymbolValue;
    init.xWriteLogEntryFunc = writeLog;
    init.xOnExternalObjectReferenceCreatedFunc = onReference;
    init.xxClientHandle = &client;
    init.iFlags = flags;
    iCalcInitialize(&init);
    return client;
}

// The handle of `text` prepared, null where the preparation failed.
inline void* PrepareHandle(void* client, const char16_t* text, void* data = nullptr) {
    DTCalcFormulaPreparationResult preparation{};
    void* handle = nullptr;
    iCalcPrepareFormula(client, text, &preparation, &handle, data);
    iCalcFreeMemory(preparation.xResultBuffer);
    return handle;
}

// The number a calculation answered with `code`, NAN for none; frees the
// result's buffer.
inline double TakeNumber(int32_t code, DTCalcResult& result) {
    double value = NAN;
    if (code == ORDODLL_RESULT_OK && result.iType == ORDODLL_FUNCTION_RESULT_TYPE_NUMBER &&
        result.iResultBufferLength == sizeof value)
        std::memcpy(&value, result.xResultBuffer, sizeof value);
    iCalcFreeMemory(result.xResultBuffer);
    result.xResultBuffer = nullptr;
    return value;
}

// Runs `work` on a thread of its own with a stack of `bytes`, as small as
// some hosts give their threads; false where no such thread could start.
inline bool RunOnStackOf(size_t bytes, const std::function<void()>& work) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, bytes);
    pthread_t thread;
    const auto run = [](void* data) -> void* {
        (*static_cast<const std::function<void()>*>(data))();
        return nullptr;
    };
    const bool started =
        pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&work)) == 0;
    if (started) pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    return started;
}
