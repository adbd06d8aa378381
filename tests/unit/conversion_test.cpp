// Numbers written in fixed form and read back from text, at the edges that
// Text and Value do not show.
#include <gtest/gtest.h>

#include <limits>

#include "values/NumberText.h"

using CalcEngine::FormatFixed;
using CalcEngine::TextToNumber;
using CalcEngine::WString;

namespace {

TEST(NumberText, FormatFixedAppends) {
    struct Case {
        double value;
        int decimals;
        int leadingZeros;
        char16_t separator;
        const char16_t* expected;
    };
    const double infinity = std::numeric_limits<double>::infinity();
    const Case cases[] = {
        // Zero has no fraction, whatever the decimals.
        {0.0, 5, 1, 0, u"0"},
        {-0.0, 2, 0, 0, u"0"},
        // Trailing zeros are cut, a whole number has no separator.
        {1.5, 2, 1, 0, u"1.5"},
        {2.0, 2, 1, 0, u"2"},
        {1e20, 2, 1, 0, u"100000000000000000000"},
        // Rounding is that of the binary value at the last decimal.
        {1.23456, 4, 1, 0, u"1.2346"},
        {1.00005, 4, 1, 0, u"1.0001"},
        {2.00005, 4, 1, 0, u"2"},
        {0.99999, 4, 1, 0, u"1"},
        {0.00005, 4, 1, 0, u"0.0001"},
        {0.00004, 4, 1, 0, u"0"},
        {1234.56, 0, 1, 0, u"1235"},
        // Numbers below 1: zeros between separator and digits.
        {0.05, 1, 1, 0, u"0.1"},
        {0.25, 2, 0, 0, u"0.25"},
        {0.3, 0, 2, 0, u"00"},
        // The sign is that of the number, also when its digits round away.
        {-0.25, 2, 1, 0, u"-0.25"},
        {-0.75, 1, 1, 0, u"-0.8"},
        {-12.5, 2, 3, 0, u"-012.5"},
        {-0.00004, 4, 1, 0, u"-0"},
        // Leading zeros pad the integer part only up to the given width.
        {5.0, 2, 3, 0, u"005"},
        {12345.0, 2, 3, 0, u"12345"},
        {-1.5, -3, 1, 0, u"-2"},
        {infinity, 2, 1, 0, u"inf"},
        {-infinity, 2, 1, 0, u"-inf"},
    };
    for (const Case& c : cases) {
        WString out = u"x=";
        FormatFixed(out, c.value, c.decimals, c.leadingZeros, c.separator);
        EXPECT_EQ(out, u"x=" + WString(c.expected)) << c.value << " decimals " << c.decimals;
    }
}

TEST(NumberText, TextToNumber) {
    const std::pair<const char16_t*, double> cases[] = {
        {u"", 0.0},
        {u"abc", 0.0},
        {u".5", 0.5},
        {u"-0.25", -0.25},
        // Text before the number is skipped; other characters are passed over.
        {u"12abc", 12.0},
        {u"x-3", -3.0},
        {u"1 000", 1000.0},
        {u"1x2", 12.0},
        {u"1-2", 12.0},
        {u"1.2.3", 1.23},
        // The exponent takes the rest of the text.
        {u"2E+2", 200.0},
        {u"1.5e-2", 0.015},
        {u"1e1x2", 1e12},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_DOUBLE_EQ(TextToNumber(text, 0), expected) << CalcEngine::ToUtf8(text);
}

}  // namespace
