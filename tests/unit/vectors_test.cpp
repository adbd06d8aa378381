#include "values/Vectors.h"

#include <gtest/gtest.h>

#include <vector>

using CalcEngine::DoubleVector;

namespace {

struct ShiftCase {
    int n;
    std::vector<double> expected;
};

class DoubleVectorShiftTest : public testing::TestWithParam<ShiftCase> {};

TEST_P(DoubleVectorShiftTest, ShiftsAndFillsWithZero) {
    DoubleVector v;
    v.values = {1, 2, 3};
    v.defaultValue = 7;
    v.Shift(GetParam().n);
    EXPECT_EQ(v.values, GetParam().expected);
    EXPECT_EQ(v.defaultValue, 7);
}

INSTANTIATE_TEST_SUITE_P(Cases, DoubleVectorShiftTest,
                         testing::Values(ShiftCase{0, {1, 2, 3}}, ShiftCase{1, {2, 3, 0}},
                                         ShiftCase{2, {3, 0, 0}}, ShiftCase{-1, {0, 1, 2}},
                                         ShiftCase{-2, {0, 0, 1}}, ShiftCase{3, {0, 0, 0}},
                                         ShiftCase{-3, {0, 0, 0}},
                                         ShiftCase{-2147483647 - 1, {0, 0, 0}}));

TEST(DoubleVector, ShiftOfEmptyStaysEmpty) {
    DoubleVector v;
    v.Shift(1);
    EXPECT_TRUE(v.values.empty());
}

TEST(DoubleVector, Reverse) {
    DoubleVector v;
    v.values = {1, 2, 3, 4};
    v.Reverse();
    EXPECT_EQ(v.values, (std::vector<double>{4, 3, 2, 1}));
}

}  // namespace
