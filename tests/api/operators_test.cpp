// Every operator on every value class a formula can produce, through the
// exported functions: formula in, result text out. Number literals are
// floats; TRUE and FALSE are the only integers; NULL is the empty value.
#include <gtest/gtest.h>

#include "OrdoHost.h"

using namespace ordotest;

namespace {

// The host answers x with 5.
void Check(const std::vector<TextRow>& rows) {
    Host host(HostOptions{.lineFeed = u"\n"});
    host.symbols["x"] = Outcome{0, 0, true, 5, ""};
    ExpectTexts(host, rows);
}

TEST(Operators, Numbers) {
    Check({
        {"1 - 2 - 3", "-4"},  {"2 ^ 3 ^ 2", "64"},     {"-2 ^ 2", "4"},
        {"7 DIV 2", "3"},     {"-7 DIV 2", "-3"},      {"-7 MOD 3", "-1"},
        {"7.5 MOD 2.9", "1"}, {"7.5 MOD 0.5", "NULL"}, {"1 / 0", "NULL"},
        {"1 DIV 0", "NULL"},  {"0 ^ 0", "0"},          {"2 ^ -1", "0.5"},
        {"2 / 3", "0.6667"},  {"-1 / 3", "-0.3333"},   {"0.00001", "0"},
        {"1.5e-3", "0.0015"}, {".5", "0.5"},           {"1000000 * 1000", "1000000000"},
        {"--5", "5"},         {"-(1 / 0)", "NULL"},
    });
}

TEST(Operators, NumberComparisonAndLogic) {
    Check({
        {"1 < 2", "1"},         {"2 <= 2", "1"},         {"3 > 4", "0"},
        {"4 >= 5", "0"},        {"1 <> 1", "0"},         {"0.1 + 0.2 = 0.3", "0"},
        {"1 / 0 = 1 / 0", "0"}, {"1 / 0 <> 1 / 0", "1"}, {"1 / 0 < 1", "0"},
        {"NOT 0", "1"},         {"NOT (1 / 0)", "0"},    {"0 AND 1", "0"},
        {"2 AND 3", "1"},       {"2.5 OR 0", "2.5"},     {"0 OR 3", "1"},
        {"1 XOR 1", "0"},       {"(1 / 0) AND 1", "1"},  {"NOT 1 = 0", "1"},
        {"1 OR 0 AND 0", "1"},  {"1 AND x", "1"},        {"0 XOR x", "1"},
        {"0 OR [0 2]", "0 1"},
    });
}

TEST(Operators, LogicalShortCutsSkipTheRightSide) {
    Host host;
    for (const char* formula : {"0 AND x", "2 OR x", "[0 0] AND x", "[1 1] OR x", "NULL AND x"}) {
        EXPECT_EQ(host.Calc(formula).code, ORDODLL_RESULT_OK) << formula;
    }
    EXPECT_TRUE(host.symbolRequests.empty());
    host.symbols["x"] = Outcome{0, 0, true, 5, ""};
    EXPECT_EQ(host.Calc("1 AND x").text, "1");
    EXPECT_EQ(host.symbolRequests.size(), 1u);
}

TEST(Operators, IntegersAndNull) {
    const char* intMin = "(TRUE+TRUE)^((TRUE+TRUE)^(TRUE+TRUE+TRUE+TRUE+TRUE) - TRUE)";
    std::string intMax = std::string(intMin) + " - TRUE";
    Check({
        {"FALSE", "0"},
        {"TRUE - TRUE - TRUE", "-1"},
        {"(TRUE + TRUE) ^ -TRUE", "0"},
        {"(TRUE + TRUE + TRUE) DIV (TRUE + TRUE)", "1"},
        {"-(TRUE + TRUE + TRUE) MOD (TRUE + TRUE)", "-1"},
        {"FALSE ^ FALSE", "0"},
        {intMin, "-2147483648"},
        {intMax, "2147483647"},
        {intMax + " + TRUE", "-2147483648"},
        {"TRUE AND FALSE", "0"},
        {"TRUE + 0.5", "1.5"},
        {"NULL", ""},
        {"NULL AND 1", ""},
        {"NULL + 1", "NULL"},
        {"TRUE + NULL", "1"},
        {"NULL = 1", "0"},
        {"", ""},
        {"1, 2, 3", "3"},
        {"1,", ""},
    });
}

TEST(Operators, Texts) {
    Check({
        {"\"a\" + 1", "a1"},
        {"1.5 + \"a\"", "1.5a"},
        {"\"a\" - 1", "a"},
        {"\"abc\" = \"ABC\"", "0"},
        {"\"2\" < \"10\"", "0"},
        {"\"a\" <> \"b\"", "1"},
        {"-\"1 2\"", "-1 -2"},
        {"NOT \"0 1\"", "1 0"},
        {"\"3\" AND 1", "1"},
        {"\"1 0\" AND 1", "1 0"},
        {"\"a\" + [1 2]", "a1 2"},
        {"\"x\\ty\"", "x\ty"},
        {"\"say \\\"hi\\\"\"", "say \"hi\""},
        {"NULL + \"a\"", "a"},
    });
}

TEST(Operators, NumberLists) {
    Check({
        {"[1 2] + [10]", "11 2"},
        {"10 - [1 2]", "9 8"},
        {"[1 2] / 0", "NULL NULL"},
        {"[0] ^ [0]", "NULL"},
        {"[1 2 3] * [2]", "2 0 0"},
        {"[7] DIV 2", "3"},
        {"[1 2] + 1 + [1 1 1]", "3 4 2"},
        {"[5..1]", "5 4 3 2 1"},
        {"[1.9..3.9]", "1 2 3"},
        {"[-1 .. -3]", "-1 -2 -3"},
        {"[1..3 7]", "1 2 3 7"},
        {"[1+2]", "1 2"},
        {"[1 NULL 3]", "1 NULL 3"},
        {"[\"4\" 5]", "4 5"},
        {"[[1 2] 3]", "1 3"},
        {"[(1+2) x]", "3 5"},
        {"NOT [0 2]", "1 0"},
        {"[1 2] = [1 3]", "1 0"},
        {"[(1 / 0)] OR 1", "1"},
        {"[1 0] XOR [1 1]", "0 1"},
        {"[1 2] + (1 / 0)", "NULL NULL"},
    });
}

TEST(Operators, RangeOfAMillionNumbers) {
    Host host;
    Outcome outcome = host.Calc("[1..1000000] * 2 + 1");
    ASSERT_EQ(outcome.code, ORDODLL_RESULT_OK);
    EXPECT_EQ(outcome.text.substr(0, 8), "3 5 7 9 ");
    EXPECT_EQ(outcome.text.substr(outcome.text.size() - 8), " 2000001");
}

}  // namespace
