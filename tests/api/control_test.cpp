// The control builtins through the exported interface: which parameters the
// lazy ones evaluate and how often, what they answer, and their messages.
// Host symbols: x is 2.5, n is the text "NULL" (a null from the host), zz is
// unknown and fails. Print's entries and the requests for x are counted.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "OrdoHost.h"

using namespace ordotest;

namespace {

const std::string OK = "Calculation OK\n";
const std::string Failed = "Calculation failed\n";
const std::string ZzMessage =
    "Error: Illegal parameter error occurred while evaluating value for external symbol: zz";
// What a lazy function's evaluation of zz leaves in the summary.
const std::string ZzReport = "Runtime error:\n" + ZzMessage + "\n\n";

// A row's code when its result text implies it.
constexpr int32_t Implied = 1;

struct Row {
    std::string formula;
    std::string result;  // the value's text, NullNumber, or the summary
    int32_t code = Implied;
    std::string printed = "";  // Print's entries, joined by '|'
    int xRequests = -1;        // how often x was asked for; -1: not checked
};

// A quota keeps a loop that wrongly never ends from hanging the test.
constexpr int32_t Quota = 10000;

void Check(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        SCOPED_TRACE(row.formula);
        Host host(HostOptions{.quota = Quota, .lineFeed = u"\n"});
        host.symbols["x"] = Outcome{0, 0, true, 2.5, ""};
        host.symbols["n"] = Outcome{0, 0, false, 0, "NULL"};
        Outcome outcome = host.Calc(row.formula);
        EXPECT_EQ(outcome.code, row.code == Implied ? ImpliedCode(row.result) : row.code);
        EXPECT_EQ(outcome.isNumber && std::isnan(outcome.number) ? NullNumber : outcome.text,
                  row.result);
        std::string printed;
        for (const LogEntry& entry : host.log) {
            if (entry.priority != ORDODLL_LOG_ENTRY_PRIORITY_INFORMATION) continue;
            printed += (printed.empty() ? "" : "|") + entry.text;
        }
        EXPECT_EQ(printed, row.printed);
        if (row.xRequests >= 0) {
            EXPECT_EQ(std::count(host.symbolRequests.begin(), host.symbolRequests.end(), "x"),
                      row.xRequests);
        }
    }
}

TEST(Control, If) {
    Check({
        {"If(1, x, x)", "2.5", 0, "", 1},
        {"If(0, x, 3)", "3", 0, "", 0},
        {"If(1/0, x, 3)", "3", 0, "", 0},  // a null number is false
        {"If(0, x)", "", 0, "", 0},        // no part: an empty value
        {"If(1, Rem(), 2)", OK, -4},
        {"If(Rem(), 1, 2)", Failed + Raised("condition evaluation error", "If")},
        {"If(1, zz, 2)", Failed + ZzReport + Raised("true-part evaluation error", "If")},
        // A failed false-part is judged by the true-part's record: no value
        // and no message of If's own.
        {"If(0, 1, zz)", Failed + ZzReport},
        {"If(0, 1, TRUE/FALSE)", Failed + "Math error:\ndivision by zero\n\n"},
        // A variable is read as one number, a list in it by its first element.
        {R"(Let("c", [0 1], If(Local("c"), 5, 6)))", "6"},
        {R"(Let("c", [0 1], If(Local("c") + 0, 5, 6)))", "6 5"},
        {R"(Let("c", Rem(), If(Local("c"), 5, 6)))",
         Failed + Raised("illegal usage of undefined variable", "If") +
             Raised("body evaluation error", "Let")},
        // Each part runs once and whole, and only when some element needs it.
        {"If([1 0], x, x)", "2.5 2.5", 0, "", 2},
        {"If([1 1], x, x)", "2.5 2.5", 0, "", 1},
        {"If([0 0], x, x)", "2.5 2.5", 0, "", 1},
        {"If([0 0], x)", "0 0", 0, "", 0},
        {"If([1 0] / [1 0], 5, 6)", "5 6"},  // a null element is false
        {"If([1 1], [5 6 7])", "5 6 7"},     // a list part is returned as it is
        {"If([1 0 1], [5], 2)", "5 2 0"},    // a shorter list is padded with 0
        {"If([1 0], Rem(), 2)", "0 2"},
        {"If([1 1], Rem(), 2)", ""},
        {"If([0 0], 1, Rem())", OK, -4},
        {"If([1 0], zz, 1)", Failed + ZzReport + Raised("true-part evaluation error", "If")},
        {"If([1 0], 1, zz)", Failed + ZzReport + Raised("false-part evaluation error", "If")},
    });
}

TEST(Control, PrintAndSequence) {
    Check({
        {R"(Print("hi"))", "1", 0, "hi"},
        {"Print(x)", "1", 0, "2.5", 1},
        {R"(Sequence(Print("a"), Print("b"), x))", "2.5", 0, "a|b", 1},
        {"Sequence()", OK, -4},
        // A failing statement is named one place further on than it stands,
        // and the statements after it do not run.
        {R"(Sequence(zz, Print("b")))",
         Failed + "Runtime error:\n" + ZzMessage +
             "\nError occurred while evaluating 2nd parameter for function Sequence." +
             "\nError occurred while calculating function Sequence.\n\n"},
        // A math error passes unwrapped and leaves the call without a value.
        {R"(Sequence(Print("a"), TRUE/FALSE, Print("c")))", "", 0, "a"},
    });
}

TEST(Control, LoopsTryAndStop) {
    const std::string endless = Raised("start,end & step would cause indefinite loop", "Iterate");
    Check({
        {R"(Iterate(Print("a"), 1, 3))", "1", 0, "a|a|a"},
        {"Iterate(x, 1, 2, 0.5)", "2.5", 0, "", 3},
        {"Iterate(x, 3, 1, -1)", "2.5", 0, "", 3},
        {R"(Iterate(Print("a"), x, 3))", "1", 0, "a", 1},  // start is read once
        {"Iterate(x, 3, 1)", Failed + endless, -4, "", 0},
        {"Iterate(x, 1, 3, 0)", Failed + endless, -4, "", 0},
        {"Iterate(x, 1/0, 3)", OK, -4, "", 0},
        {"Iterate(Rem(), 1, 2)", Failed + Raised("loop evaluation error", "Iterate")},
        {"Iterate(1, Rem(), 2)", Failed + Raised("start evaluation error", "Iterate")},
        {"Iterate(1, 1, Rem())", Failed + Raised("end evaluation error", "Iterate")},
        {"Iterate(1, 1, 2, Rem())", Failed + Raised("step evaluation error", "Iterate")},
        {"Iterate(1, 1, 1000000)", OK, ORDODLL_RESULT_QUOTA_EXCEEDED_ERROR},
        {"WhileDo(0, x)", "0", 0, "", 0},
        {"DoWhile(x, 0)", "2.5", 0, "", 1},
        {R"(Let("i", 0, WhileDo(Sequence(Print("c"), Local("i") < 2), Local("i") := Local("i") + 1)))",
         "2", 0, "c|c|c"},
        {R"(Let("i", 0, DoWhile(Sequence(Print("b"), Local("i") := Local("i") + 1), Local("i") < 2)))",
         "2", 0, "b|b"},
        {"WhileDo(1, 1)", OK, ORDODLL_RESULT_QUOTA_EXCEEDED_ERROR},
        {"WhileDo(1/0, 1)", OK, ORDODLL_RESULT_QUOTA_EXCEEDED_ERROR},  // only 0 ends the loop
        {"WhileDo(Rem(), 1)", Failed + Raised("condition evaluation error", "WhileDo")},
        {"DoWhile(zz, 0)", Failed + ZzReport + Raised("body evaluation error", "DoWhile")},
        {"DoWhile(Rem(), 0)", OK, -4},
        {R"(Try(1, Print("f"), Print("s")))", "1", 0, "s"},
        {R"(Try(zz, Print("f"), Print("s")))", "1", 0, "f"},
        {"Try(TRUE/FALSE, 2)", "2"},
        {"Try(1/0, 2)", "NULL"},
        {"Try(-n, 2)", "2"},
        {"Try(zz, Rem())", Failed + ZzReport},
        {"Try(1, 2, zz)", Failed + "Runtime error:\n" + ZzMessage +
                              "\nError occurred while calculating function Try.\n\n"},
        // A fail action of -1 and Stop end the whole calculation.
        {R"(Sequence(Try(zz, -1), Print("after")))", NullNumber},
        {R"(Sequence(Try(Stop(), 1), Print("after")))", NullNumber},
        {"Try(WhileDo(1, 1), 5)", OK, ORDODLL_RESULT_QUOTA_EXCEEDED_ERROR},
    });
}

TEST(Control, ForEach) {
    Check({
        {R"(Let("v", "", ForEachString("a,b,c", Local("v"), Print(Local("v")))))", "3", 0, "a|b|c"},
        {R"(Let("v", "x", Sequence(ForEachString("a,b", Local("v"), 1), Local("v"))))", ""},
        {R"(Let("v", "", ForEachString("a,b", Local("v"), Rem())))", "2"},
        {R"(Let("v", "", ForEachString("a,b", Local("v"), If(Local("v") = "b", zz, 1))))",
         Failed + ZzReport + Raised("true-part evaluation error", "If") +
             Raised("body evaluate error for string: 'b'", "ForEachString") +
             Raised("body evaluation error", "Let")},
        {"ForEachString(zz, 1, 1)",
         Failed + ZzReport + Raised("couldn't evaluate 1st parameter", "ForEachString")},
        {R"(Let("v", 0, ForEachNumber(1, 3, Local("v"), Print(Local("v")))))", "3", 0, "1|2|3"},
        {R"(Let("v", 0, ForEachNumber(1/0, 1, Local("v"), Print(Local("v")))))", "2", 0, "0|1"},
        {R"(Let("v", 0, ForEachNumber(3, 1, Local("v"), x)))", "-1", 0, "", 0},
        {R"(Let("v", 0, ForEachNumber(2, 4, Local("v"), If(Local("v") = 3, zz, 1))))",
         Failed + ZzReport + Raised("true-part evaluation error", "If") +
             Raised("body evaluate error for iteration: 2", "ForEachNumber") +
             Raised("body evaluation error", "Let")},
        {"ForEachNumber(1, 1000000, 1, 1)", OK, ORDODLL_RESULT_QUOTA_EXCEEDED_ERROR},
    });
}

TEST(Control, LetLocalAndIsDefined) {
    Check({
        {"Let(1)", "1"},
        {R"(Let("a", x, Local("a") + Local("a")))", "5", 0, "", 1},
        {R"(Let("a", 1, "b", Local("a") + 1, Local("b")))", "2"},
        {R"(Let("a", 1, Sequence(Let("a", 2, 0), Local("a"))))", "1"},
        // The body's value leaves the scope resolved: a list, no longer a variable.
        {R"(If(Let("c", [0 1], Local("c")), 5, 6))", "6 5"},
        {R"(Let("i", 0, Sequence(Local("i") := 5, Local("i"))))", "5"},
        {R"(Local("a"))", OK, -4},
        {R"(Let("a", 1, IsDefined(Local("A"))))", "0"},
        // The scope is gone also after a failure.
        {R"(Sequence(Try(Let("a", 1, zz), 0), IsDefined(Local("a"))))", "0"},
        {"Let(1, 2)", Failed + Raised("let-function requires uneven number of parameters", "Let")},
        {"Let(Rem(), 1, 2)", Failed + Raised("couldn't evaluate 1st parameter", "Let")},
        {R"(Let("a", zz, 2))",
         Failed + ZzReport + Raised("couldn't evaluate 2nd parameter", "Let")},
        {R"(Let("a", 1, zz))", Failed + ZzReport + Raised("body evaluation error", "Let")},
        {R"(Let("a", 1, Rem()))", OK, -4},
        {"IsDefined(1)", "1"},
        {"IsDefined(Rem())", "0"},
        {R"(Let("a", Rem(), IsDefined(Local("a"))))", "0"},
        {R"(Let("a", 1, IsDefined(Local("a"))))", "1"},
    });
}

TEST(Control, NullHandling) {
    Check({
        {"-n", NullNumber},  // without null handling a null from the host ends the calculation
        {"IsNull(n)", "1"},
        {"IsNull(NULL) + [0 0]", "1 1"},    // an empty value gives a number, not a list
        {"IsNull([1 1e308] * 10)", "0 1"},  // not finite counts as null
        {"IsNull()", ""},
        {"Sequence(IsNull(n), -n)", NullNumber},
        {"IsNull(zz)", Failed + ZzReport + Raised("parameter evaluation error", "IsNull")},
        {"IsNull(Rem())", Failed + Raised("couldn't evaluate 1st parameter", "IsNull")},
        {"Coalesce(1, x)", "1", 0, "", 0},
        {"Coalesce(NULL, x)", "2.5", 0, "", 1},
        {"Coalesce(-n, x)", "2.5", 0, "", 1},
        {"Coalesce([4 6 8] / [2 0 0], x)", "2 2.5 2.5", 0, "", 1},
        {"Coalesce([4 6] / [2 3], zz)", "2 2"},
        // While nulls are ignored the fallback, read first, stands in for them.
        {"IgnoreNull(Coalesce(-n, 5))", "-5"},
        {"IN(Coalesce(1, x))", "1", 0, "", 1},
        {"Coalesce_(-n, 5)", "-5"},
        {"RN(Coalesce_(-n, 5))", "5"},
        {"Sequence(IN(1), Coalesce(-n, 5))", "5"},
        // The mode is restored only when the statements end normally.
        {"Sequence(Try(IN(zz), 0), Coalesce(-n, 5))", "-5"},
        {"IN(Coalesce(-n, Rem()))",
         Failed + "Runtime error:\ncouldn't evaluate 2nd parameter"
                  "\nError occurred while evaluating parameter for function Coalesce."
                  "\nError occurred while calculating function Coalesce."
                  "\nError occurred while evaluating 2nd parameter for function Sequence."
                  "\nError occurred while calculating function IgnoreNull.\n\n"},
        {"IgnoreNull(x, x)", "2.5", 0, "", 2},
        {"IgnoreNull()", OK, -4},
        {"RaiseNull(1, zz)",
         Failed + "Runtime error:\n" + ZzMessage +
             "\nError occurred while evaluating 3rd parameter for function Sequence." +
             "\nError occurred while calculating function RaiseNull.\n\n"},
    });
}

TEST(Control, EvaluateAndRem) {
    Check({
        {R"(Evaluate("1 + 2"))", "3"},
        {R"f(Evaluate("Evaluate(\"3\")"))f", "3"},
        {R"f(Evaluate("Print(\"e\")"))f", "1", 0, "e"},
        {R"(Evaluate("1+"))",
         Failed + "parser exception: line 1:3: unexpected end of file\n\n" +
             Raised("Error preparing formula for Evaluate-function", "Evaluate")},
        {R"(Evaluate("x"))",
         Failed + "Runtime error:\nExternal object symbol references aren't allowed in "
                  "evaluate-function.\n\n",
         -4, "", 0},
        {"Rem(Stop(), x)", OK, -4, "", 0},
    });
}

// The text s evaluates itself through the shared scope until the counter d
// reaches `depth`, and answers d.
std::string NestedEvaluate(int depth) {
    return R"(Let("d", 0, "s", "Sequence(Local(\"d\") := Local(\"d\") + 1, If(Local(\"d\") < )" +
           std::to_string(depth) +
           R"f(, Evaluate(Local(\"s\")), Local(\"d\")))", Evaluate(Local("s"))))f";
}

TEST(Control, EvaluateNestsAtMost32Deep) {
    Host host(HostOptions{.lineFeed = u"\n"});
    EXPECT_EQ(host.Calc(NestedEvaluate(32)).text, "32");
    Outcome outcome = host.Calc(NestedEvaluate(33));
    EXPECT_EQ(outcome.code, ORDODLL_RESULT_EVALUATION_ERROR);
    EXPECT_NE(
        outcome.text.find(Raised("Evaluate-function nested more than 32 levels deep", "Evaluate")),
        std::string::npos)
        << outcome.text;
}

TEST(Control, NamesAndParameterCounts) {
    Check({
        {"iif(1, 5)", "5"},
        {"if_(1, 5)", "5"},
        // Only one trailing underscore is dropped: this is a host symbol.
        {"If__(1, 2)",
         Failed + "Runtime error:\nError: Illegal parameter error occurred while evaluating "
                  "value for external symbol: If__\n\n"},
        {"iif(1)", WrongCount("If (got 1 parameter when at least 2 parameters were expected)")},
        {"Print()", WrongCount("Print (got 0 parameter when at least 1 parameter was expected)")},
        {"Stop(1)", WrongCount("Stop (got 1 parameter when at most 0 parameter was expected)")},
        {"IsNull(1, 2)",
         WrongCount("IsNull (got 2 parameters when at most 1 parameter was expected)")},
        {"Coalesce(1, 2, 3)",
         WrongCount("Coalesce (got 3 parameters when at most 2 parameters were expected)")},
    });
}

}  // namespace
