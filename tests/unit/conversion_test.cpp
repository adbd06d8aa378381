#include <gtest/gtest.h>

#include <limits>

#include "values/NumberText.h"

using CalcEngine::FormatFixed;
using CalcEngine::TextToNumber;
using CalcEngine::WString;

namespace {

struct FormatCase {
    double value;
    int decimals;
    int leadingZeros;
    char16_t separator;
    const char16_t* expected;
};

class FormatFixedTest : public testing::TestWithParam<FormatCase> {};

TEST_P(FormatFixedTest, WritesFixedForm) {
    const FormatCase& c = GetParam();
    WString out;
    FormatFixed(out, c.value, c.decimals, c.leadingZeros, c.separator);
    EXPECT_EQ(out, WString(c.expected)) << c.value << " decimals " << c.decimals;
}

const double Infinity = std::numeric_limits<double>::infinity();

INSTANTIATE_TEST_SUITE_P(
    Cases, FormatFixedTest,
    testing::Values(
        // Zero has no fraction, whatever the decimals; leading zeros pad it.
        FormatCase{0.0, 5, 1, 0, u"0"}, FormatCase{0.0, 5, 3, 0, u"000"},
        FormatCase{-0.0, 2, 0, 0, u"0"},
        // Trailing zeros are cut, a whole number has no separator.
        FormatCase{1.5, 2, 1, 0, u"1.5"}, FormatCase{2.0, 2, 1, 0, u"2"},
        FormatCase{10.0, 2, 1, 0, u"10"}, FormatCase{100.5, 4, 1, 0, u"100.5"},
        FormatCase{1.234567, 2, 1, 0, u"1.23"}, FormatCase{1e20, 2, 1, 0, u"100000000000000000000"},
        // Rounding is that of the binary value at the last decimal.
        FormatCase{1.23456, 4, 1, 0, u"1.2346"}, FormatCase{1.00005, 4, 1, 0, u"1.0001"},
        FormatCase{2.00005, 4, 1, 0, u"2"}, FormatCase{0.99999, 4, 1, 0, u"1"},
        FormatCase{0.00005, 4, 1, 0, u"0.0001"}, FormatCase{0.00004, 4, 1, 0, u"0"},
        FormatCase{1234.56, 0, 1, 0, u"1235"},
        // Numbers below 1: zeros between separator and digits.
        FormatCase{0.05, 2, 1, 0, u"0.05"}, FormatCase{0.05, 1, 1, 0, u"0.1"},
        FormatCase{0.25, 2, 0, 0, u"0.25"}, FormatCase{0.25, 2, 2, 0, u"00.25"},
        FormatCase{0.3, 0, 2, 0, u"00"},
        // The sign is that of the number, also when its digits round away.
        FormatCase{-0.25, 2, 1, 0, u"-0.25"}, FormatCase{-0.75, 1, 1, 0, u"-0.8"},
        FormatCase{-12.5, 2, 3, 0, u"-012.5"}, FormatCase{-0.00004, 4, 1, 0, u"-0"},
        // Leading zeros pad the integer part only up to the given width.
        FormatCase{5.0, 2, 3, 0, u"005"}, FormatCase{12345.0, 2, 3, 0, u"12345"},
        FormatCase{1.5, 2, 1, u',', u"1,5"}, FormatCase{-1.5, -3, 1, 0, u"-2"},
        FormatCase{Infinity, 2, 1, 0, u"inf"}, FormatCase{-Infinity, 2, 1, 0, u"-inf"}));

TEST(FormatFixed, Appends) {
    WString out = u"x=";
    FormatFixed(out, 1.5, 2, 1, 0);
    EXPECT_EQ(out, u"x=1.5");
}

struct ParseCase {
    const char16_t* text;
    char16_t separator;
    double expected;
};

class TextToNumberTest : public testing::TestWithParam<ParseCase> {};

TEST_P(TextToNumberTest, ReadsNumber) {
    const ParseCase& c = GetParam();
    EXPECT_DOUBLE_EQ(TextToNumber(c.text, c.separator), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, TextToNumberTest,
    testing::Values(ParseCase{u"", 0, 0.0}, ParseCase{u"-", 0, 0.0}, ParseCase{u"abc", 0, 0.0},
                    ParseCase{u"12", 0, 12.0}, ParseCase{u"1.5", 0, 1.5}, ParseCase{u".5", 0, 0.5},
                    ParseCase{u"-0.25", 0, -0.25},
                    // Text before the number is skipped; other characters are passed over.
                    ParseCase{u"abc12", 0, 12.0}, ParseCase{u"12abc", 0, 12.0},
                    ParseCase{u"x-3", 0, -3.0}, ParseCase{u"1 000", 0, 1000.0},
                    ParseCase{u"1x2", 0, 12.0}, ParseCase{u"1-2", 0, 12.0},
                    ParseCase{u"1.2.3", 0, 1.23},
                    // The exponent takes the rest of the text.
                    ParseCase{u"1e3", 0, 1000.0}, ParseCase{u"2E+2", 0, 200.0},
                    ParseCase{u"1.5e-2", 0, 0.015}, ParseCase{u"1e1x2", 0, 1e12},
                    // Another separator makes the point an ordinary character.
                    ParseCase{u"1,5", u',', 1.5}, ParseCase{u"1.5", u',', 15.0}));

}  // namespace
