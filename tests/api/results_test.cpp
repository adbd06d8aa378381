// Result forms and client settings: flags, null results, quota, separators.
#include <gtest/gtest.h>

#include "OrdoHost.h"

using namespace ordotest;

namespace {

struct ResultRow {
    const char* formula;
    bool isNumber;
    double number;  // when isNumber; NaN stands for the null number
    const char* text;
};

void ExpectResults(int32_t flags, const std::vector<ResultRow>& rows) {
    Host host(HostOptions{.flags = flags});
    for (const ResultRow& row : rows) {
        Outcome outcome = host.Calc(row.formula);
        EXPECT_EQ(outcome.code, ORDODLL_RESULT_OK) << row.formula;
        ASSERT_EQ(outcome.isNumber, row.isNumber) << row.formula;
        if (row.isNumber && std::isnan(row.number))
            EXPECT_TRUE(std::isnan(outcome.number)) << row.formula;
        else if (row.isNumber)
            EXPECT_EQ(outcome.number, row.number) << row.formula;
        else
            EXPECT_EQ(outcome.text, row.text) << row.formula;
    }
}

TEST(Results, ForceFloat) {
    ExpectResults(ORDODLL_FLAG_FORCE_FLOAT_RESULT, {{"1 + 2", true, 3, ""},
                                                    {"\"12\"", true, 12, ""},
                                                    {"[4 5]", true, 4, ""},
                                                    {"\"abc\"", true, 0, ""},
                                                    {"NULL", true, NAN, ""},
                                                    {"\"NULL\"", true, NAN, ""}});
    ExpectResults(ORDODLL_FLAG_FORCE_FLOAT_OR_STRING_RESULT, {{"[7]", true, 7, ""},
                                                              {"[1 2]", false, 0, "1 2"},
                                                              {"\"7\"", false, 0, "7"},
                                                              {"TRUE", true, 1, ""},
                                                              {"NULL", false, 0, ""}});
    // The first flag wins when both are set.
    ExpectResults(ORDODLL_FLAG_FORCE_FLOAT_RESULT | ORDODLL_FLAG_FORCE_FLOAT_OR_STRING_RESULT,
                  {{"[1 2]", true, 1, ""}});
}

TEST(Results, TextResultsAndTheirBuffers) {
    Host host;
    DTCalcResult result{};
    ASSERT_EQ(iCalcCalculateFormula(host.client, u"\"abc\"", &result, nullptr), 0);
    EXPECT_EQ(result.iType, ORDODLL_FUNCTION_RESULT_TYPE_STRING);
    EXPECT_EQ(result.iResultBufferLength, 8);  // three characters and the terminator, in bytes
    TakeResult(0, result);
    ASSERT_EQ(iCalcCalculateFormula(host.client, u"\"\"", &result, nullptr), 0);
    EXPECT_EQ(result.iType, ORDODLL_FUNCTION_RESULT_TYPE_STRING);
    EXPECT_EQ(result.iResultBufferLength, 0);
    EXPECT_EQ(result.xResultBuffer, nullptr);
}

TEST(Results, MathErrorsAndNullsAreNullNumbers) {
    Host host;
    // Integer division by zero, and the word NULL read as a number.
    for (const char* formula :
         {"TRUE / FALSE", "TRUE DIV FALSE", "TRUE MOD FALSE", "-\"NULL\"", "[\"NULL\"]"}) {
        DTCalcResult result{};
        ASSERT_EQ(iCalcCalculateFormula(host.client, Wide(formula).c_str(), &result, nullptr), 0);
        EXPECT_EQ(result.iType, ORDODLL_FUNCTION_RESULT_TYPE_NUMBER);
        EXPECT_EQ(result.iResultBufferLength, 8);
        uint64_t bits;
        std::memcpy(&bits, result.xResultBuffer, sizeof bits);
        EXPECT_EQ(bits, 0x7FFFFFFFFFFFFFFFull);
        TakeResult(0, result);
    }
}

struct QuotaRow {
    int32_t quota;
    const char* formula;
    int32_t code;
    const char* text;
};

TEST(Results, Quota) {
    const QuotaRow rows[] = {
        {1, "1", ORDODLL_RESULT_OK, "1"},
        {1, "1 + 2", ORDODLL_RESULT_QUOTA_EXCEEDED_ERROR, "Calculation OK\r\n"},
        {3, "1 + 2", ORDODLL_RESULT_OK, "3"},
        // A range is a node of its own: list, range and its two ends.
        {3, "[1..3]", ORDODLL_RESULT_QUOTA_EXCEEDED_ERROR, "Calculation OK\r\n"},
        {4, "[1..3]", ORDODLL_RESULT_OK, "1 2 3"},
        {5, "(\"a\" - 1) + 1", ORDODLL_RESULT_QUOTA_EXCEEDED_ERROR,
         "Warnings occurred\r\nWarning: operator '-' is not supported for string objects\r\n"},
    };
    for (const QuotaRow& row : rows) {
        Host host(HostOptions{.quota = row.quota});
        Outcome outcome = host.Calc(row.formula);
        EXPECT_EQ(outcome.code, row.code) << row.formula;
        EXPECT_EQ(outcome.text, row.text) << row.formula;
    }
}

TEST(Results, QuotaCountsPerCall) {
    Host host(HostOptions{.quota = 3});
    host.symbols["x"] = Outcome{0, 0, true, 1, ""};
    void* handle = nullptr;
    ASSERT_EQ(host.Prepare("x + 1", &handle).code, 0);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(host.Calculate(handle).text, "2");
    iCalcFreeFormula(host.client, handle);
}

TEST(Results, ClientSeparators) {
    ExpectTexts(
        {
            {"1 / 4", "0,25"},
            {"1;2", "2"},
            {"\"a;b,c\"", "a;b,c"},
            {"[1 2] / 4", "0,25 0,5"},
            // The decimal comma becomes '.', which the number reading then skips: kept as it is.
            {"1,5 + 1", "16"},
            {"\"1,5\" + 0", "1,50"},
        },
        HostOptions{.listSeparator = ';', .decimalSeparator = ','});
}

}  // namespace
