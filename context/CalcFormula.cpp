#include "context/CalcFormula.h"

#include <cstring>

#include "context/CalcClient.h"
#include "values/HostMemory.h"
#include "values/ICalcContext.h"
#include "values/Object.h"

using namespace CalcEngine;

namespace {

void SetNumberResult(DTCalcResult& result, double value) {
    auto* buffer = static_cast<double*>(AllocateHostMemory(sizeof(double)));
    *buffer = value;
    result.iType = ORDODLL_FUNCTION_RESULT_TYPE_NUMBER;
    result.iResultBufferLength = sizeof(double);
    result.xResultBuffer = reinterpret_cast<char16_t*>(buffer);
}

void SetTextResult(DTCalcResult& result, const WString& text) {
    result.iType = ORDODLL_FUNCTION_RESULT_TYPE_STRING;
    if (text.empty()) {
        result.iResultBufferLength = 0;
        result.xResultBuffer = nullptr;
        return;
    }
    size_t bytes = (text.size() + 1) * sizeof(char16_t);
    result.xResultBuffer = static_cast<char16_t*>(AllocateHostMemory(bytes));
    std::memcpy(result.xResultBuffer, text.c_str(), bytes);
    result.iResultBufferLength = static_cast<int32_t>(bytes);
}

void SetNumberResultOf(DTCalcResult& result, const Object& value) {
    double number;
    value.GetNumber(number);
    SetNumberResult(result, number);
}

// Kept apart from the number paths, which then need no text.
[[gnu::noinline]] void SetTextResultOf(DTCalcResult& result, const Object& value) {
    WString text;
    value.GetText(text);
    SetTextResult(result, text);
}

WString Summary() {
    WString summary;
    CurrentContext()->GetSummary(summary, nullptr);
    return summary;
}

}  // namespace

RecyclableCalcFormula::~RecyclableCalcFormula() {
    if (precalculated) FreeHostMemory(precalculated->result.xResultBuffer);
}

bool RecyclableCalcFormula::PrepareFormula(const WString& formulaText) {
    if (!Parse(formulaText, nullptr)) {
        text.clear();
        return false;
    }
    text = formulaText;
    return true;
}

void RecyclableCalcFormula::Precalculate() {
    if (!IsConst()) return;
    auto record = std::make_unique<Precalculated>();
    record->status = CalculateToResult(record->result);
    if (precalculated) FreeHostMemory(precalculated->result.xResultBuffer);
    precalculated = std::move(record);
}

bool RecyclableCalcFormula::PostProcess() {
    Environment::PostProcess();
    ++useCount;
    return true;
}

int32_t RecyclableCalcFormula::CopyPrecalculatedResult(DTCalcResult& result) const {
    const DTCalcResult& stored = precalculated->result;
    result.iResultBufferLength = stored.iResultBufferLength;
    result.iType = stored.iType;
    result.xResultBuffer = nullptr;
    if (stored.xResultBuffer) {
        result.xResultBuffer =
            static_cast<char16_t*>(AllocateHostMemory(stored.iResultBufferLength));
        std::memcpy(result.xResultBuffer, stored.xResultBuffer, stored.iResultBufferLength);
    }
    return precalculated->status;
}

void (*calculationProbe)() = nullptr;

int32_t RecyclableCalcFormula::CalculateToResult(DTCalcResult& result) {
    if (calculationProbe) calculationProbe();
    try {
        PtrWrapper value(Calculate(nullptr));
        return Convert(value.Get(), result);
    } catch (const MathError&) {
    } catch (const CalcInterrupt&) {
    } catch (const NullValueException&) {
    } catch (const CalculationQuotaExceededException&) {
        SetTextResult(result, Summary());
        return ORDODLL_RESULT_QUOTA_EXCEEDED_ERROR;
    }
    // A mathematical failure or a null is a success whose value is null.
    SetNumberResult(result, NullNumber());
    return ORDODLL_RESULT_OK;
}

int32_t RecyclableCalcFormula::Convert(Object* value, DTCalcResult& result) const {
    if (!value) {
        SetTextResult(result, Summary());
        return ORDODLL_RESULT_EVALUATION_ERROR;
    }
    const int32_t flags = CurrentContext()->GetClient()->flags;
    if (flags & ORDODLL_FLAG_FORCE_FLOAT_RESULT) {
        SetNumberResultOf(result, *value);
    } else if (flags & ORDODLL_FLAG_FORCE_FLOAT_OR_STRING_RESULT) {
        PtrWrapper resolved(Resolve(value));
        if (resolved->IsSingleValue())
            SetNumberResultOf(result, *resolved);
        else
            SetTextResultOf(result, *resolved);
    } else {
        SetTextResultOf(result, *value);
    }
    return ORDODLL_RESULT_OK;
}

void RecyclableCalcFormula::FillPreparationFlags(DTCalcFormulaPreparationResult& result) const {
    result.iResultBufferLength = 0;
    result.iType = 0;
    result.xResultBuffer = nullptr;
    result.iFlags = 0;
    if (IsConstValue()) result.iFlags |= ORDODLL_PREPARED_FORMULA_FLAG_CONST;
    if (!HasVariableReferences()) result.iFlags |= ORDODLL_PREPARED_FORMULA_FLAG_CONST_REFERENCES;
}
