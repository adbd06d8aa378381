// The ten exported functions. No C++ exception leaves them: the four
// calculating ones run inside the fault guard, the others cannot throw
// engine exceptions.
#include <cstdlib>
#include <cstring>
#include <memory>

#include "context/CalcClient.h"
#include "context/CalcContext.h"
#include "context/CalcFormula.h"
#include "context/ExternalFunction.h"
#include "interface/FaultGuard.h"
#include "interface/Handles.h"
#include "interface/PrepareLock.h"
#include "interface/ordo.h"
#include "values/HostMemory.h"

using namespace CalcEngine;

namespace {

// The context of one exported call, current on its thread for the call.
class CallFrame {
public:
    CallFrame(CalcClient* client, void* data) : context(client, data), scope(&context) {}
    CalcContext context;

private:
    CurrentContextScope scope;
};

// Counts one more use of a cached formula and tells the host of its
// references again; false when that fails (the error is in the context).
bool Recycle(RecyclableCalcFormula& cached, CalcContext& context) {
    try {
        cached.PostProcess();
        return true;
    } catch (const Error& e) {
        context.AddError(e, 1);
    } catch (const Exception& e) {
        context.AddError(u"parser exception: " + FromUtf8(e.what()) + context.GetLineFeed(),
                         Error::GetBaseCategory(), 1);
    } catch (const std::exception& e) {
        context.AddError(FromUtf8(e.what()) + context.GetLineFeed(), Error::GetBaseCategory(), 1);
    }
    return false;
}

// The formula for `text` with its flags in `result`: the cached one, or a
// new one parsed, precalculated when constant, and cached; null when that
// fails (the error is in the context). The lock covers the cache and the
// parse only: a constant formula is calculated before it enters the cache,
// outside the lock, so that a long precalculation holds up no other
// preparation.
RecyclableCalcFormula* PrepareFormula(CalcClient& client, const WString& text, CalcContext& context,
                                      DTCalcFormulaPreparationResult& result) {
    auto fresh = std::make_unique<RecyclableCalcFormula>();
    {
        PrepareLock lock;
        if (RecyclableCalcFormula* cached = client.formulas.Find(text)) {
            if (!Recycle(*cached, context)) return nullptr;
            cached->FillPreparationFlags(result);
            return cached;
        }
        if (!fresh->PrepareFormula(text)) return nullptr;
    }
    fresh->Precalculate();
    fresh->FillPreparationFlags(result);
    PrepareLock lock;
    fresh->SetHandle(NewFormulaHandle(*fresh, client));
    client.formulas.Insert(*fresh);
    return fresh.release();
}

void SetPreparationFailure(DTCalcFormulaPreparationResult& result, CalcContext& context) {
    WString summary;
    context.GetSummary(summary, u"Formula preparation");
    size_t characters = summary.size() + 1;
    result.iType = ORDODLL_FUNCTION_RESULT_TYPE_STRING;
    result.xResultBuffer =
        static_cast<char16_t*>(AllocateHostMemory(characters * sizeof(char16_t)));
    std::memcpy(result.xResultBuffer, summary.c_str(), characters * sizeof(char16_t));
    result.iResultBufferLength = static_cast<int32_t>(characters);
}

}  // namespace

extern "C" {

ORDO_API void* xCalcAllocateMemory(size_t viBytes) { return AllocateHostMemory(viBytes); }

ORDO_API int32_t iCalcFreeMemory(void* vxMem) {
    FreeHostMemory(vxMem);
    return ORDODLL_RESULT_OK;
}

ORDO_API int32_t iCalcInitialize(DTCalcInit* vxdtInit) {
    // The record, the handle variable and the log callback are required; a
    // bad one is refused instead of crashing the host.
    if (!vxdtInit) return ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR;
    if (vxdtInit->iVersion != ORDODLL_VERSION)
        return ORDODLL_RESULT_INCOMPATIBLE_INTERFACE_VERSION_ERROR;
    if (!vxdtInit->xxClientHandle || !vxdtInit->xWriteLogEntryFunc)
        return ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR;
    try {
        auto client = std::make_unique<CalcClient>(*vxdtInit);
        client->WriteLogEntry(
            u"Ordo.dll version " + ToDecimal(ORDODLL_VERSION) + u" initialized successfully.",
            ORDODLL_LOG_ENTRY_PRIORITY_NOTIFICATION);
        *vxdtInit->xxClientHandle = NewClientHandle(*client);
        client.release();
        return ORDODLL_RESULT_OK;
    } catch (...) {
        // A failing log callback: no exception may reach a C host.
        return ORDODLL_RESULT_UNKNOWN_ERROR;
    }
}

ORDO_API int32_t iCalcPrepareFormula(void* vxClientHandle, const char16_t* vxcFormula,
                                     DTCalcFormulaPreparationResult* vxdtResult, void** vxHandle,
                                     void* vxData) {
    if (vxHandle) *vxHandle = nullptr;
    CalcClient* client = ClientOfHandle(vxClientHandle);
    // Without a place for the handle the formula could never be freed.
    if (!vxcFormula || !client || !vxdtResult || !vxHandle)
        return ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR;
    return Guarded(client, [&]() -> int32_t {
        // The factory before the lock: a calculation holds its factory while
        // its callbacks wait for the lock, so the lock's holder must never
        // wait for a factory.
        CallFrame frame(client, vxData);
        RecyclableCalcFormula* formula =
            PrepareFormula(*client, vxcFormula, frame.context, *vxdtResult);
        if (!formula) {
            SetPreparationFailure(*vxdtResult, frame.context);
            return ORDODLL_RESULT_PARSE_ERROR;
        }
        *vxHandle = formula->Handle();
        return ORDODLL_RESULT_OK;
    });
}

ORDO_API int32_t iCalcCalculate(void* vxClientHandle, void* vxHandle, DTCalcResult* vxdtResult,
                                void* vxData) {
    // The client is needed for its settings. A formula of another client,
    // or any formula with no live client, is refused.
    CalcClient* client = ClientOfHandle(vxClientHandle);
    RecyclableCalcFormula* formula = FormulaOfHandle(vxHandle, client);
    if (!formula || !vxdtResult) return ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR;
    return Guarded(client, [&]() -> int32_t {
        if (formula->HasPrecalculatedResult()) return formula->CopyPrecalculatedResult(*vxdtResult);
        CallFrame frame(client, vxData);
        return formula->CalculateToResult(*vxdtResult);
    });
}

ORDO_API int32_t iCalcCalculateFormula(void* vxClientHandle, const char16_t* formula,
                                       DTCalcResult* vxdtResult, void* vxData) {
    if (vxdtResult) {
        vxdtResult->iResultBufferLength = 0;
        vxdtResult->xResultBuffer = nullptr;
    }
    DTCalcFormulaPreparationResult preparation{};
    void* handle = nullptr;
    int32_t code = iCalcPrepareFormula(vxClientHandle, formula, &preparation, &handle, vxData);
    if (code != ORDODLL_RESULT_OK) {
        // The caller sees only the code; the preparation's text is not handed on.
        iCalcFreeMemory(preparation.xResultBuffer);
        return code;
    }
    code = iCalcCalculate(vxClientHandle, handle, vxdtResult, vxData);
    int32_t freed = iCalcFreeFormula(vxClientHandle, handle);
    return code != ORDODLL_RESULT_OK ? code : freed;
}

ORDO_API int32_t iCalcFreeFormula(void* vxClientHandle, void* vxHandle) {
    CalcClient* client = ClientOfHandle(vxClientHandle);
    if (!client) return ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR;
    return Guarded(client, [&]() -> int32_t {
        PrepareLock lock;
        // Looked up under the lock: of two frees racing for the last use,
        // the second finds the handle ended.
        RecyclableCalcFormula* formula = FormulaOfHandle(vxHandle, client);
        if (!formula) return ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR;
        client->formulas.Remove(*formula);
        if (formula->ReleaseUse()) {
            RetireHandle(vxHandle);
            delete formula;
        }
        return ORDODLL_RESULT_OK;
    });
}

ORDO_API int32_t iCalcRegisterFunction(void* vxClientHandle, DTCalcFunction* vxdtFunction) {
    CalcClient* client = ClientOfHandle(vxClientHandle);
    // A record without a handler could never be called.
    if (!client || !vxdtFunction || !vxdtFunction->xFunctionHandler)
        return ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR;
    try {
        auto function = std::make_unique<ExternalFunction>(*vxdtFunction);
        PrepareLock lock;
        client->registry.Add(std::move(function));
        return ORDODLL_RESULT_OK;
    } catch (...) {
        // Out of memory: no exception may reach a C host.
        return ORDODLL_RESULT_UNKNOWN_ERROR;
    }
}

ORDO_API int32_t iCalcFinalize(void* vxClientHandle) {
    if (!vxClientHandle) return ORDODLL_RESULT_OK;
    // Looked up and ended under the lock: of two finalisations only one
    // deletes the client.
    PrepareLock lock;
    CalcClient* client = ClientOfHandle(vxClientHandle);
    if (!client) return ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR;
    // No legitimate use of the formulas still prepared can follow.
    DeleteFormulasOf(*client);
    RetireHandle(vxClientHandle);
    delete client;
    return ORDODLL_RESULT_OK;
}

ORDO_API const char16_t* xcCalcGetErrorString(int32_t viErrorCode) {
    static const char16_t* const texts[] = {
        u"No error",
        u"Unknown error",
        u"Illegal parameter error",
        u"Parse error",
        u"Evaluation error",
        u"Incompatible ordo.dll interface error",
        u"The formula was too complex for allocated calculation quota",
        u"Unhandled exception error"};
    if (viErrorCode > 0 || viErrorCode < -7) return u"Unknown error";
    return texts[-viErrorCode];
}

}  // extern "C"
