// A prepared formula: the tree of a rule text, shared by every preparation
// of the same text on one client, with its use count and, for a constant
// formula, the result calculated once at preparation.
#pragma once

#include <cstdint>
#include <memory>

#include "interface/ordo.h"
#include "tree/Environment.h"

// For tests of the fault guard: when set, every calculation calls it first,
// among the library's own frames.
extern void (*calculationProbe)();

class RecyclableCalcFormula : public CalcEngine::Environment {
public:
    ~RecyclableCalcFormula() override;

    // Parses `text`. False when it does not parse; the caller then deletes
    // the formula.
    bool PrepareFormula(const CalcEngine::WString& text);
    // A constant formula is calculated now, once, and every calculation
    // returns a copy of that result.
    void Precalculate();
    // Tells the host of the formula's references and counts one more use:
    // run after a parse and on every cache hit.
    bool PostProcess() override;
    // Evaluates into `result`, answering an ENTCalcErrorCode.
    int32_t CalculateToResult(DTCalcResult& result);
    // A constant formula's result, calculated at its preparation: each call
    // gets a copy of its own, and needs no calculation context.
    bool HasPrecalculatedResult() const { return precalculated != nullptr; }
    int32_t CopyPrecalculatedResult(DTCalcResult& result) const;
    void FillPreparationFlags(DTCalcFormulaPreparationResult& result) const;
    // Drops one use; true when it was the last and the formula must go.
    bool ReleaseUse() { return --useCount == 0; }

    const CalcEngine::WString& Text() const { return text; }
    // The host's handle for this formula, the same for every preparation.
    void* Handle() const { return handle; }
    void SetHandle(void* hostHandle) { handle = hostHandle; }

private:
    struct Precalculated {
        int32_t status = ORDODLL_RESULT_UNKNOWN_ERROR;
        DTCalcResult result{};
    };

    int32_t Convert(CalcEngine::Object* value, DTCalcResult& result) const;

    CalcEngine::WString text;
    int32_t useCount = 0;
    void* handle = nullptr;
    std::unique_ptr<Precalculated> precalculated;
};
