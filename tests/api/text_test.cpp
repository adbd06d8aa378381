// The text builtins through the exported interface: cutting and searching at
// the edges of a text, fields in quotes, the item separators, 16-bit units,
// the limit on the length of a text, and the messages for missing values.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "OrdoHost.h"

using namespace ordotest;

namespace {

const std::string Failed = "Calculation failed\n";
const std::string TooLong = "the text would be longer than 16777216 characters";
const std::string TooShort = "MATCH-RESULT-LIST-TOO-SHORT";

// A formula's text literal holding `text`, which must stay in the basic
// plane: the lexer reads no other characters.
std::string Literal(const char16_t* text) { return "\"" + Narrow(text) + "\""; }

// Text from the host may hold any 16-bit units: the symbol pair is "x" and
// U+10428, a surrogate pair.
const char16_t* const Pair = u"x\U00010428";

// A host that answers the symbol pair.
void Check(const std::vector<TextRow>& rows, HostOptions options = HostOptions()) {
    options.lineFeed = u"\n";
    Host host(options);
    host.symbols["pair"] = Outcome{0, 0, false, 0, Narrow(Pair)};
    ExpectTexts(host, rows);
}

TEST(Text, Concatenation) {
    Check({
        {"Concatenate()", ""},
        {R"(Concatenate("a", 1.5, [1 2], "b"))", "a1.51 2b"},
        // A missing value is reported as the 1st parameter wherever it stands.
        {R"(Concatenate("a", Rem()))",
         Failed + Raised("couldn't evaluate 1st parameter", "Concatenate")},
        // Texts are split into items at the delimiter's first character.
        {R"(ConcatToString(", ", "a,b", "c"))", "a, b, c"},
        {R"(ConcatToString(";", "a;b", "c,d"))", "a;b;c,d"},
        // The delimiter stands in for the decimal separator too.
        {R"(ConcatToString(";", [1.5 2]))", "1;5;2"},
        // An empty item adds nothing, not even a delimiter.
        {R"(ConcatToString(",", "", "a", "", "b"))", "a,b"},
        // An empty delimiter overrides no separator.
        {R"(ConcatToString("", "a,b", 1.5))", "ab1.5"},
        // The separators are restored after the call, also after a failure.
        {R"(Sequence(ConcatToString(";", 1), Concatenate(2.5)))", "2.5"},
        {R"(Sequence(Try(ConcatToString(";", 1, Rem()), 0), Concatenate(2.5)))", "2.5"},
        {R"(ConcatToString(",", "a", Rem()))",
         Failed + Raised("couldn't evaluate 3rd parameter", "ConcatToString")},
    });
}

TEST(Text, CutsAndUnits) {
    Check({
        {R"(Left("abc", 2))", "ab"},
        {R"(Left("abc", 0))", ""},
        {R"(Left("abc", 5))", "abc"},
        {R"(Left("abc", -1))", "abc"},
        {R"(Left("abc", 1e10))", "abc"},  // out of range reads as the least integer
        {R"(Right("abc", 2))", "bc"},
        {R"(Right("abc", -2147483648))", "abc"},
        {R"(Mid("abc", 2, 1))", "b"},
        {R"(Mid("abc", 2, 2147483647))", "bc"},
        {R"(Mid("abc", 0, 2))", ""},
        {R"(Mid("abc", -2147483648, 2))", ""},
        {R"(Mid("abc", 4, 1))", ""},
        {R"(Mid("abc", 2147483647, 1))", ""},
        {R"(Mid("abc", 1, 0))", ""},
        {R"(Mid("abc", 1, -1))", ""},
        {R"(Mid("abc", 2, Rem()))", Failed + Raised("couldn't evaluate 3rd parameter", "Mid")},
        {"Char(65, 3)", "AAA"},
        {"Char(65, -2)", ""},
        {"Char(65601)", "A"},  // the low 16 bits
        {"Ascii(Char(-1))", "65535"},
        {"Ascii(Char(55357))", "55357"},  // a lone surrogate is a unit like any other
        {"Length(Char(0))", "1"},
        {R"(Ascii(""))", "0"},
        {"Length(1.5)", "3"},
        {"Length(pair)", "3"},  // a surrogate pair counts two units
    });
}

TEST(Text, FindAndMatch) {
    Check({
        {R"(Find("b", "abc"))", "2"},
        {R"(Find("bc", "abcabc", 3))", "5"},
        {R"(Find("B", "abc"))", "0"},
        {R"(Find("abcd", "abc"))", "0"},
        {R"(Find("c", "abc", 3))", "3"},
        {R"(Find("c", "abc", 4))", "0"},
        {R"(Find("b", "abc", 0))", "0"},
        {R"(Find("b", "abc", 2147483647))", "0"},
        {R"(Find("", "abc", 4))", "4"},
        {R"(Find("", "abc", 5))", "0"},
        {R"(Find("", "abc", 0))", "0"},
        {R"(Find("", ""))", "1"},
        {R"(Match("b", "a,b,c"))", "2"},
        {R"(Match("", "a,b,c"))", "0"},
        {R"(Match("b", "a,b,c", "x,y"))", "y"},
        {R"(Match("c", "a,b,c", "x,y"))", ""},
        {R"(Match("a,d", "a,b,c"))", "1,0"},
        {R"(Match("a,c", "a,b,c", "x,y,z", ""))", "xz"},
        {R"(Match("a,c", "a,b,c", "x,y"))", "x," + TooShort},
        {R"(Match("d,a", "a,b,c", "x"))", TooShort + ",x"},
        {R"(Match("a,b", "a,b", ",y"))", TooShort + ",y"},  // an empty result field
        // A separator that ends the lookup leaves one field.
        {R"(Match("b,", "a,b,c"))", "2"},
        // Quotes belong to the field syntax: they may hold the separator and
        // are not part of the value.
        {R"(Match("b", "a,\"b\",c"))", "2"},
        {R"(Match("\"a,b\"", "x,\"a,b\""))", "2"},
        {R"(Match("b", "a,b", "x,\"y,z\""))", "y,z"},
        {R"(Match("\"b\"x,a", "a,b", "1,2"))", "2,1"},  // what follows a closing quote is skipped
        {R"(Match("\"b,a", "a,b"))", "0"},  // an open quote runs to the end: one field "b,a"
    });
}

TEST(Text, RemoveString) {
    Check({
        {R"(RemoveString("b", "a,b,c,b"))", "a,c"},
        {R"(RemoveString("b", "b"))", ""},
        {R"(RemoveString("b", ""))", ""},
        {R"(RemoveString("b", "a;b;c", "; "))", "a; c"},  // joined with the whole delimiter
        {R"(RemoveString("b", "a,b,c", ""))", "ac"},
        {R"(RemoveString("a", "a,,b"))", ",b"},
        // Quotes: the item's and the list's are not part of the value; a
        // quoted field that stays keeps them.
        {R"(RemoveString("\"b\"", "a,b"))", "a"},
        {R"(RemoveString("b", "a,\"b\""))", "a"},
        {R"(RemoveString("b", "\"a,x\",b,\"c\""))", R"("a,x","c")"},
        {R"(RemoveString("\"", "\",a"))", "\",a\""},
    });
}

// The host's list separator is not the item separator: fields still split at ','.
TEST(Text, FieldsIgnoreTheClientListSeparator) {
    Check(
        {
            {R"(Match("b"; "a,b,c"))", "2"},
            {R"(Match("a,c"; "a,b,c"; "x,y,z"))", "x,z"},
            {R"(RemoveString("b"; "a,b,c"))", "a,c"},
        },
        HostOptions{.listSeparator = ';'});
}

TEST(Text, CaseAndTrim) {
    Check({
        {R"(Lower("ABC1"))", "abc1"},
        {"Upper(" + Literal(u"\u00E4\u00DF") + ")", Narrow(u"\u00C4\u00DF")},  // length kept
        {"Upper(pair)", Narrow(u"X\U00010400")},
        {"Lower(Upper(pair))", Narrow(Pair)},
        // A lone surrogate stays as it is.
        {"Upper(Char(55297) + \"a\")", Narrow(u"\xD801") + "A"},
        {"Lower(\"A\" + Char(56360))", Narrow(u"a\xDC28")},
        {R"(Trim("  x  "))", "x"},
        {R"(Trim("  x  ", 1))", "x  "},
        {R"(Trim("  x  ", 2))", "  x"},
        {R"(Trim(""))", ""},
        {R"(Trim(Char(9) + Char(13) + " x" + Char(10)))", "x"},
        {R"(Trim("xx1xx", 3, "x"))", "1"},
        {R"(Trim(" x1 x", 1, "x"))", "1 x"},  // the characters add to the set
        {R"(Trim("ab", 3, "ba"))", ""},
    });
}

TEST(Text, TranslateCompareAndRepeat) {
    Check({
        {R"(TranslateCharacters("abc", "ab", "x"))", "xc"},
        {R"(TranslateCharacters("aba", "aa", "xy"))", "xbx"},  // the first place in `from`
        {R"(TranslateCharacters("abc", "", "xyz"))", "abc"},
        {R"(TranslateString("aaa", "aa", "a"))", "aa"},
        {R"(TranslateString("aXa", "a", "aa"))", "aaXaa"},
        {R"(TranslateString("abab", "ab", ""))", ""},
        {R"(TranslateString("abc", "abcd", "x"))", "abc"},
        {R"(Replace("a-b-c", "-", "+"))", "a+b+c"},
        {R"(sMax("ab", "abc"))", "abc"},
        {R"(sMin("b", "abc", "a"))", "a"},
        {R"(sMin("b", "B"))", "B"},
        {"sMax(" + Literal(u"\u00E9") + ", \"z\")", Narrow(u"\u00E9")},  // no locale
        {R"(sMin("a", "b", Rem()))", Failed + Raised("couldn't evaluate 1st parameter", "sMin")},
        {R"(Repeat("ab", 3))", "ababab"},
        {R"(Repeat("ab", -1))", ""},
        {R"(Repeat("", 1e9))", ""},
        {R"(Repeat("ab", Rem()))", Failed + Raised("couldn't evaluate 1st parameter", "Repeat")},
        {R"(Reverse("abc"))", "cba"},
        // Units, not characters: a pair comes out as two lone surrogates.
        {"Reverse(pair)", Narrow(u"\xDC28\xD801") + "x"},
    });
}

// The texts here are long: a mismatch shows only the beginning of one.
TEST(Text, LengthLimit) {
    const std::string loop =
        R"(Let("s", "ab", Iterate(Local("s") := Local("s") + Local("s"), 1, 64)))";
    const TextRow rows[] = {
        {R"(Repeat("ab", 8388609))", Failed + Raised(TooLong, "Repeat")},
        {R"(Repeat("ab", 1e9))", Failed + Raised(TooLong, "Repeat")},
        {"Char(65, 2147483647)", Failed + Raised(TooLong, "Char")},
        {R"(Concatenate(Repeat("a", 16777216), "b"))", Failed + Raised(TooLong, "Concatenate")},
        {R"(ConcatToString("-", Repeat("a", 16777216), "b"))",
         Failed + Raised(TooLong, "ConcatToString")},
        {R"(TranslateString(Repeat("a", 1000), "a", Repeat("b", 20000)))",
         Failed + Raised(TooLong, "TranslateString")},
        {R"(Match(Repeat("a,", 1000), "a", "", Repeat("-", 20000)))",
         Failed + Raised(TooLong, "Match")},
        {R"(RemoveString("x", Repeat("a,", 1000), Repeat(",", 20000)))",
         Failed + Raised(TooLong, "RemoveString")},
        // Appending in a loop stops at the limit instead of doubling on.
        {loop, Failed + "Runtime error:\n" + TooLong + "\n\n" +
                   Raised("loop evaluation error", "Iterate") +
                   Raised("body evaluation error", "Let")},
    };
    Host host(HostOptions{.lineFeed = u"\n"});
    EXPECT_EQ(host.Calc(R"(Length(Repeat("ab", 8388608)))").text, "16777216");
    for (const TextRow& row : rows) {
        SCOPED_TRACE(row.formula);
        const Outcome outcome = host.Calc(row.formula);
        EXPECT_EQ(outcome.code, ORDODLL_RESULT_EVALUATION_ERROR);
        EXPECT_TRUE(outcome.text == row.text) << outcome.text.substr(0, 300);
    }
}

}  // namespace
