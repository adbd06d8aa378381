// The function signatures and the toolkit helpers with which builtins read
// their parameters, where formulas do not reach every case.
#include <gtest/gtest.h>

#include "functions/ArgumentToolkit.h"
#include "functions/FunctionRegistry.h"

using namespace CalcEngine;

namespace {

Object* Nothing(ICalcContext&, Environment&, ArgumentList&) { return nullptr; }

TEST(Functions, SignatureGivesTheParameterCounts) {
    struct Row {
        const char16_t* signature;
        uint32_t required;
        uint32_t maximum;
    };
    const Row rows[] = {
        {u" ", 1, 1},  // a blank is a place too
        {u"S.", 1, 2},
        {u"*", 0, BuiltinFunction::Unlimited},
        {u"?*D", 1, BuiltinFunction::Unlimited},  // nothing counts after '*'
    };
    for (const Row& row : rows) {
        BuiltinFunction function(
            BuiltinEntry{u"Test", u"F", nullptr, Nothing, row.signature, u"", 0});
        EXPECT_EQ(function.RequiredParameters(), row.required) << ToUtf8(row.signature);
        EXPECT_EQ(function.MaximumParameters(), row.maximum) << ToUtf8(row.signature);
    }
}

// The cases of list fields that Match does not show.
TEST(Functions, CsvPosition) {
    struct Row {
        const char16_t* item;
        const char16_t* list;
        size_t position;
    };
    const Row rows[] = {
        {u"B", u"a,b,c", 0},   // exact comparison
        {u"", u"a,,b", 0},     // an empty item is never found
        {u"abcd", u"abc", 0},  // longer than the list
        {u" b", u"a, b", 2},   // blanks belong to the field
        {u"b", u"a, b", 0},
    };
    for (const Row& row : rows)
        EXPECT_EQ(CsvPosition(row.item, row.list), row.position)
            << ToUtf8(row.item) << " in " << ToUtf8(row.list);
}

TEST(Functions, OrdinalAndLowerCase) {
    const std::pair<size_t, const char16_t*> ordinals[] = {
        {3, u"3rd"}, {4, u"4th"}, {11, u"11th"}, {21, u"21th"}, {22, u"22th"}};
    for (const auto& [n, text] : ordinals) EXPECT_EQ(Ordinal(n), text);
    EXPECT_EQ(ToLowerCase(u"IgnoreNULL_\u00C9\u0130"), u"ignorenull_\u00E9i");
    // A surrogate pair maps as one character; a lone surrogate stays.
    EXPECT_EQ(ToLowerCase(u"\U00010400\xD800X"), u"\U00010428\xD800x");
}

}  // namespace
