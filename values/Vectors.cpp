#include "values/Vectors.h"

#include <algorithm>

#include "values/ListFunctors.h"
#include "values/ShiftItems.h"

namespace CalcEngine {

void DoubleVector::Reverse() { std::reverse(values.begin(), values.end()); }

double DoubleVector::Sum() const {
    return std::for_each(values.begin(), values.end(), CalcUtilities::UnSumFunc()).Result();
}

void DoubleVector::Shift(int n) { ShiftItems(values, n, 0.0); }

}  // namespace CalcEngine
