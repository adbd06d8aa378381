#include "context/FormulaCache.h"

#include "context/CalcFormula.h"

RecyclableCalcFormula* FormulaCache::Find(const CalcEngine::WString& text) const {
    auto found = formulas.find(text);
    return found == formulas.end() ? nullptr : found->second;
}

void FormulaCache::Insert(RecyclableCalcFormula& formula) { formulas[formula.Text()] = &formula; }

void FormulaCache::Remove(const RecyclableCalcFormula& formula) { formulas.erase(formula.Text()); }
