// Contiguous vectors of the value model: DoubleVector carries the default
// value that stands for every position past its end.
#pragma once

#include <cstddef>
#include <vector>

#include "values/Text.h"

namespace CalcEngine {

class DoubleVector {
public:
    std::vector<double> values;
    double defaultValue = 0.0;

    size_t Size() const { return values.size(); }
    // Position i, or defaultValue past the end.
    double At(size_t i) const { return i < values.size() ? values[i] : defaultValue; }
    // Grows to n with defaultValue as fill; shrinking keeps the storage.
    void Resize(size_t n) { values.resize(n, defaultValue); }
    void Reverse();
    double Sum() const;
    // n > 0 moves elements toward the start, n < 0 toward the end, the freed
    // places filled with 0.0; |n| at or beyond the size zeroes everything.
    void Shift(int n);
};

using StringVector = std::vector<WString>;

}  // namespace CalcEngine
