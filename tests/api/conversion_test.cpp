// The conversion builtins through the exported interface: Text's options,
// Format with the one conversion it accepts and the formats it refuses,
// Value with its own separator, ToString.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "OrdoHost.h"

using namespace ordotest;

namespace {

// A host that writes numbers with a decimal comma takes ';' between
// parameters; its formulas have no number literals with decimals.
const HostOptions DecimalComma{.listSeparator = ';', .decimalSeparator = ','};

TEST(Conversion, TextAndFormat) {
    ExpectTexts({
        {"Text(0, 5, 3)", "000"},
        {"Text(1.234567)", "1.23"},  // two decimals at most by default
        {"Text(1.5, 2, 1, \",;\")", "1,5"},
        {"Text(1.5, 2, 1, \"\")", "1.5"},
        {"Text(1.25, 1.9)", "1.2"},
        // Null options read as 0, options without a value keep their defaults.
        {"Text(1.5, NULL)", "2"},
        {"Text(1.234, Rem(), Rem(), Rem())", "1.23"},
        {"Text(1.5, 2000000000, -5)", "1.5"},
        {"Text(1.5, 2, -2147483648)", "1.5"},  // the most negative count
        {"Text(Rem())", Failure("couldn't evaluate 1st parameter", "Text")},
        {"Text(1, 2, 2000000000)",
         Failure("the text would be longer than 16777216 characters", "Text")},
        {"Format(\"%.2f\", 1.5, \",\")", "1,50"},  // unlike Text, the format decides
        {"Format(\"%.1f\", 1.5, \"\")", "1.5"},
        {"Format(\"v1.%.1f.\", 2.5, \";\")", "v1;2;5;"},  // the format's own points too
        {"Format(\"%a|%%\", 1.5)", "0x1.8p+0|%"},
        {"Format(\"%F\", 1 / 0)", "NAN"},
        {"Format(\"[%-8.2f][%%]\", 3.14159)", "[3.14    ][%]"},
        {"Format(\"[% #.0f]\", 3)", "[ 3.]"},
        {"Format(\"%g\", \"2.5\")", "2.5"},
        {"Format(\"\xe2\x82\xac%g\xc3\xbc\", 2)",
         "\xe2\x82\xac"
         "2\xc3\xbc"},
        {"Format(Rem(), 1)", Failure("couldn't evaluate 1st parameter", "Format")},
        {"Format(\"%f\", Rem())", Failure("couldn't evaluate 2nd parameter", "Format")},
    });
    Host host(HostOptions{.lineFeed = u"\n"});
    EXPECT_EQ(host.Calc("Format(\"%400f\", 1)").text, std::string(392, ' ') + "1.000000");
    EXPECT_EQ(host.Calc("Format(\"%-400.400f\", -1e308)").text.size(), 1u + 309 + 1 + 400);
    EXPECT_EQ(host.Calc("Format(\"%#400.400A\", 1)").text.size(), 4u + 400 + 3);
}

// A format comes from a formula: anything beyond one conversion of the
// number is refused before the C runtime sees it.
TEST(Conversion, FormatRefusesOtherFormats) {
    const char* const refused[] = {
        "",          "2",    "100%%", "%",      "%5",     "%.2",
        "%-",        "%s",   "%s%n",  "%n",     "%d",     "%x",
        "%c",        "%p",   "%ls",   "%lf",    "%Lf",    "%hf",
        "%*f",       "%.*f", "%1$f",  "%'f",    "%f%f",   "%f%s",
        "%f%",       "%-%",  "%401f", "%.401f", "%0401f", "%99999999999999999999f",
        "%\xc3\xa9",
    };
    Host host(HostOptions{.lineFeed = u"\n"});
    for (const std::string format : refused) {
        EXPECT_EQ(host.Calc("Format(\"" + format + "\", 1)").text,
                  Failure("format \"" + format +
                              "\" not supported: it must hold exactly one conversion of a number "
                              "(%e, %E, %f, %F, %g, %G, %a or %A, width and precision at most 400)",
                          "Format"))
            << format;
    }
}

TEST(Conversion, ValueAndToString) {
    ExpectTexts({
        {"ToNumber(\"1,5\", \",;\")", "1.5"},
        {"Value(\"1.5\", \",\")", "15"},  // other characters are passed over
        {"Value(\"abc12\") + Value(\"1e3\") + Value(\"-\")", "1012"},
        {"Value([3 4])", "3"},
        {"Value(\"1\", \"\")",
         Failure("Empty string not allowed as a separator in Value-function.", "Value")},
        {"Value(\"1\", Rem())", Failure("couldn't evaluate 2nd parameter", "Value")},
        // The context's separator is back after Value, also after a failure:
        // results are written with it.
        {"Value(\"2,5\", \",\") + 0.25", "2.75"},
        {"Try(Value(Rem(), \",\"), 1.5)", "1.5"},
        {"Try(Value(\"NULL\", \",\"), 1.5)", "1.5"},
        {"ToString(1 / 3) + ToString([1 2])", "0.33331 2"},
        {"ToString(NULL) + ToString(Rem()) + ToString(1 / 0)", "NULL"},
    });
    ExpectTexts(
        {
            {"Value(\"2.5\"; \".\") + 1 / 4", "2,75"},
            {"Try(Value(Rem(); \".\"); 3 / 2)", "1,5"},
            {"ToString(3 / 2)", "1,5"},
        },
        DecimalComma);
}

}  // namespace
