// Shifting a number list, at the ends of the int range, which Next and Prev
// reach only in part.
#include "values/Vectors.h"

#include <gtest/gtest.h>

#include <climits>
#include <vector>

using CalcEngine::DoubleVector;

namespace {

TEST(DoubleVector, ShiftFillsWithZero) {
    const std::pair<int, std::vector<double>> cases[] = {
        {1, {2, 3, 0}}, {-2, {0, 0, 1}}, {3, {0, 0, 0}}, {INT_MIN, {0, 0, 0}}, {INT_MAX, {0, 0, 0}},
    };
    for (const auto& [n, expected] : cases) {
        DoubleVector v;
        v.values = {1, 2, 3};
        v.Shift(n);
        EXPECT_EQ(v.values, expected) << n;
    }
    DoubleVector empty;
    empty.Shift(1);
    EXPECT_TRUE(empty.values.empty());
}

}  // namespace
