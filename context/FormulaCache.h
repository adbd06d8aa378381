// A client's prepared formulas by their exact text, so that preparing the
// same text again shares one formula. The cache does not own them. Used only
// under the prepare lock.
#pragma once

#include <map>

#include "values/Text.h"

class RecyclableCalcFormula;

class FormulaCache {
public:
    // The formula prepared from exactly `text`, or null.
    RecyclableCalcFormula* Find(const CalcEngine::WString& text) const;
    // Files `formula` under its text, in place of any other.
    void Insert(RecyclableCalcFormula& formula);
    // Removes the entry under the formula's text, whichever formula it holds.
    void Remove(const RecyclableCalcFormula& formula);

private:
    std::map<CalcEngine::WString, RecyclableCalcFormula*> formulas;
};
