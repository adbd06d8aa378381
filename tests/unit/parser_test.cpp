#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>
#include <string>

#include "context/CalcContext.h"
#include "interface/Handles.h"
#include "interface/ordo.h"
#include "language/CalcParser.h"
#include "tree/Environment.h"
#include "tree/Operators.h"
#include "tree/References.h"

using namespace CalcEngine;

namespace {

int32_t IgnoreLog(const char16_t*, int32_t) { return 0; }

// One client for all tests; each parse runs in a context of its own.
class ParserTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        DTCalcInit init{};
        init.iVersion = ORDODLL_VERSION;
        init.xWriteLogEntryFunc = IgnoreLog;
        init.xcLineFeed = u"\n";
        init.xxClientHandle = &client;
        ASSERT_EQ(iCalcInitialize(&init), ORDODLL_RESULT_OK);
    }
    static void TearDownTestSuite() { iCalcFinalize(client); }

    // Parses `formula` and runs `inspect` on the tree; answers the first
    // error message, or "" on success.
    static std::string Parse(const std::string& formula,
                             const std::function<void(Environment&)>& inspect) {
        CalcContext context(ClientOfHandle(client), nullptr);
        Environment environment;
        if (environment.Parse(FromUtf8(formula), &context)) {
            CurrentContextScope scope(&context);
            inspect(environment);
            return "";
        }
        WString summary;
        context.GetSummary(summary, u"Formula preparation");
        size_t start = summary.find(u'\n') + 1;
        return ToUtf8(summary.substr(start, summary.find(u'\n', start) - start));
    }

    // The Dump of the parsed formula, or its error message.
    static std::string Outcome(const std::string& formula) {
        std::string dump;
        std::string error = Parse(formula, [&](Environment& environment) {
            WString out;
            environment.Dump(out, 0);
            dump = ToUtf8(out);
        });
        return error.empty() ? dump : error;
    }

    // What a visitor of the parsed tree gathered in `result`, or the error message.
    template <class Visitor>
    static std::string Gathered(const std::string& formula, std::string Visitor::*result) {
        std::string text;
        std::string error = Parse(formula, [&](Environment& environment) {
            Visitor visitor;
            environment.Accept(visitor);
            text = visitor.*result;
        });
        return error.empty() ? text : error;
    }

    static void* client;
};

void* ParserTest::client = nullptr;

// Prints the operator structure in prefix form: a binary operator or an
// assignment as its symbol before its two operands, any other node as its
// Dump. "- - 1 2 3" is (1 - 2) - 3, "- 1 (2 - 3)" is 1 - (2 - 3).
class PrefixPrinter : public SymNodeVisitor {
public:
    void Visit(SymNode& node) override {
        if (!OnOperatorSpine(node)) return;
        if (!out.empty()) out += " ";
        if (auto* binOp = dynamic_cast<BinOp*>(&node)) {
            out += ToUtf8(binaryOperators[binOp->Op()].symbol);
        } else if (dynamic_cast<Assign*>(&node)) {
            out += ":=";
        } else {
            WString dump;
            node.Dump(dump, 0);
            out += ToUtf8(dump);
        }
    }
    void VisitUp(SymNode&) override {}
    void VisitConst(SymNode&) override {}

    std::string out;

private:
    static bool IsOperator(const SymNode* node) {
        return dynamic_cast<const BinOp*>(node) || dynamic_cast<const Assign*>(node);
    }
    static bool OnOperatorSpine(const SymNode& node) {
        for (const SymNode* up = node.parent; up && !dynamic_cast<const Environment*>(up);
             up = up->parent)
            if (!IsOperator(up)) return false;
        return true;
    }
};

// Collects what the parser gave each VarRef: offsets and argument labels.
class VarRefCollector : public SymNodeVisitor {
public:
    void Visit(SymNode& node) override {
        auto* ref = dynamic_cast<VarRef*>(&node);
        if (!ref) return;
        if (!positions.empty()) positions += " ";
        positions += std::to_string(ref->Identifier().Position());
        if (const ExpressionList* arguments = ref->Arguments()) {
            for (size_t i = 0; i < arguments->Size(); ++i)
                labels += (i ? "|" : "") + ToUtf8((*arguments)[i].GetLabel());
        }
    }
    void VisitUp(SymNode&) override {}
    void VisitConst(SymNode&) override {}

    std::string positions;
    std::string labels;
};

struct Case {
    const char* formula;
    const char* expected;
};

std::ostream& operator<<(std::ostream& out, const Case& c) { return out << c.formula; }

class DumpTest : public ParserTest, public testing::WithParamInterface<Case> {};

TEST_P(DumpTest, BuildsTree) { EXPECT_EQ(Outcome(GetParam().formula), GetParam().expected); }

INSTANTIATE_TEST_SUITE_P(Cases, DumpTest,
                         testing::Values(
                             // Top level: an empty formula, or a missing last expression, is null.
                             Case{"", "NULL"}, Case{"  /* only a comment */ ", "NULL"},
                             Case{"1, 2, 3", "1, 2, 3"}, Case{"1,", "1, NULL"},
                             // Constants: every number is a float; TRUE and FALSE are integers.
                             Case{"TRUE, FALSE, NULL, NIL", "1, 0, NULL, NULL"},
                             Case{"2.5, .5, 1e3, 007", "2.5, 0.5, 1000, 7"},
                             Case{"\"a b\", \"\xC3\xA9\", \xC3\xA9t\xC3\xA9",
                                  "\"a b\", \"\xC3\xA9\", \xC3\xA9t\xC3\xA9"},
                             Case{"a = 1", "a = 1"}, Case{"-1, +x, NOT y", "-1, +x, NOTy"},
                             // Lists: items side by side, a sign starts a new item, ranges inside.
                             Case{"[1 2 3]", "[1 2 3]"}, Case{"[1+2]", "[1 +2]"},
                             Case{"[1-2]", "[1 -2]"}, Case{"[1..3 7]", "[1..3 7]"},
                             Case{"[1 ..3]", "[1..3]"}, Case{"[-1 .. -3]", "[-1..-3]"},
                             Case{"[x ..y]", "[x..y]"},
                             Case{"[(1 * 2) f(1) [2] NOT a]", "[(1 * 2) f(1) [2] NOTa]"},
                             // Arguments: a trailing comma adds nothing.
                             Case{"f()", "f()"}, Case{"f(1, 2)", "f(1, 2)"}, Case{"f(1,)", "f(1)"},
                             Case{"a.b.c(x := 1)", "a.b.c(x := 1)"},
                             // An empty string as a label labels nothing.
                             Case{"f(\"\" = 1, \"x\" = 2)", "f(1, x = 2)"}));

class ShapeTest : public ParserTest, public testing::WithParamInterface<Case> {};

TEST_P(ShapeTest, GroupsOperators) {
    EXPECT_EQ(Gathered(GetParam().formula, &PrefixPrinter::out), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ShapeTest,
    testing::Values(
        // Every binary level is left-associative, `^` included.
        Case{"1 - 2 - 3", "- - 1 2 3"}, Case{"1 - 2 + 3 - 4", "- + - 1 2 3 4"},
        Case{"2 ^ 3 ^ 2", "^ ^ 2 3 2"}, Case{"8 / 4 * 2 MOD 3 DIV 1", "DIV MOD * / 8 4 2 3 1"},
        Case{"1 - (2 - 3)", "- 1 (2 - 3)"}, Case{"(1 - 2) - 3", "- (1 - 2) 3"},
        // Precedence, loosest first: OR XOR AND, = <>, < > <= >=, + -, * / DIV MOD, ^.
        Case{"a OR b XOR c AND d", "OR a XOR b AND c d"},
        Case{"a AND b = c <> d", "AND a <> = b c d"},
        Case{"a = b < c + d * e ^ f", "= a < b + c * d ^ e f"},
        Case{"a ^ b * c + d < e = f", "= < + * ^ a b c d e f"},
        // Unary operators bind tighter than `^`.
        Case{"-2 ^ 2", "^ -2 2"}, Case{"NOT a = b", "= NOTa b"},
        // Assignment is loosest and right-associative.
        Case{"a := b := 1 + 2", ":= a := b + 1 2"},
        Case{"a = f(1 - 2 - 3) - 1", "= a - f(1 - 2 - 3) 1"}));

// Labels of the one symbol with arguments in the formula, joined by "|".
class LabelTest : public ParserTest, public testing::WithParamInterface<Case> {};

TEST_P(LabelTest, LabelsArguments) {
    EXPECT_EQ(Gathered(GetParam().formula, &VarRefCollector::labels), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, LabelTest,
    testing::Values(Case{"f(a = 1)", "a"}, Case{"f(\"x y\" = 1)", "x y"}, Case{"f(\"\" = 1)", ""},
                    Case{"f(a = 1, 2, b.c = -3)", "a||b.c"}, Case{"f(a = b = 1)", "a"},
                    Case{"f((a) = 1, 1 = 1, a := 1)", "||"}, Case{"f(a + 1 = 2)", ""},
                    Case{"f(\xC3\xA9 = 1)", "\xC3\xA9"}));

TEST_F(ParserTest, IdentifiersCarryCodePointOffsets) {
    // Arguments are visited before their symbol.
    EXPECT_EQ(Gathered("  x + /* c */ yy(\xC3\xA9, z)", &VarRefCollector::positions), "2 17 20 14");
}

class ErrorTest : public ParserTest, public testing::WithParamInterface<Case> {};

TEST_P(ErrorTest, Refuses) {
    EXPECT_EQ(Outcome(GetParam().formula), std::string("parser exception: ") + GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ErrorTest,
    testing::Values(
        // Closing tokens: the other closing or the end is a semantic error.
        Case{"(1", "line 1:3: missing right parenthesis ')'"},
        Case{"(1]", "line 1:3: missing right parenthesis ')'"},
        Case{"f(1", "line 1:4: missing right parenthesis ')'"},
        Case{"f(1]", "line 1:4: missing right parenthesis ')'"},
        Case{"g(", "line 1:3: missing right parenthesis ')'"},
        Case{"[1", "line 1:3: missing right bracket ']'"},
        Case{"[1 2)", "line 1:5: missing right bracket ']'"},
        Case{"(1, 2)", "line 1:3: expecting RPAREN, found ','"},
        // Any token outside the follow set fails at once.
        Case{"[1, 2]", "line 1:3: unexpected token: ,"},
        Case{"[1*2]", "line 1:3: unexpected token: *"}, Case{"[]", "line 1:2: unexpected token: ]"},
        Case{"1..5", "line 1:2: unexpected token: .."},
        Case{"1 2", "line 1:3: unexpected token: 2"}, Case{"1)", "line 1:2: unexpected token: )"},
        Case{",1", "line 1:1: unexpected token: ,"}, Case{"1,,2", "line 1:3: unexpected token: ,"},
        Case{"f(a = )", "line 1:7: unexpected token: )"},
        Case{"1 +", "line 1:4: unexpected end of file"},
        Case{"a :=", "line 1:5: unexpected end of file"},
        // A `:` or `;` fails where it stands, or at a name up to three tokens before it.
        Case{"1;", "line 1:2: unexpected token: ;"},
        Case{"x + 1 + 2;", "line 1:10: unexpected token: ;"},
        Case{"x + 1;", "line 1:1: unexpected token: x"},
        Case{"a :", "line 1:1: unexpected token: a"},
        Case{"x + f(;", "line 1:5: unexpected token: f"},
        Case{"f(1:", "line 1:1: unexpected token: f"},
        Case{"f(1, 2;", "line 1:7: unexpected token: ;"},
        // Lines are counted.
        Case{"1 +\n\n  * 2", "line 3:3: unexpected token: *"}));

std::string Repeat(const std::string& text, int times) {
    std::string out;
    for (int i = 0; i < times; ++i) out += text;
    return out;
}

// Runs `body` on a thread with a stack of `bytes`.
void RunWithStack(size_t bytes, const std::function<void()>& body) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, bytes);
    pthread_t thread;
    auto run = [](void* argument) -> void* {
        (*static_cast<const std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&body)),
              0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

const size_t SmallStack = 1 << 20;

TEST_F(ParserTest, LongChainsNeedNoStack) {
    std::string sum = "1" + Repeat(" + 1", 99999);
    std::string error = "not run";
    size_t count = 0;
    RunWithStack(SmallStack, [&] {
        error =
            Parse(sum, [&](Environment& environment) { count = environment.ExpressionCount(); });
    });
    EXPECT_EQ(error, "");
    EXPECT_EQ(count, 1u);
}

struct Nesting {
    const char* open;
    const char* close;
    int tokenColumn;  // of the token that opens the level, within `open`
};

// Each `(`, argument list, `[`, unary operator and `:=` opens a level; the
// level past the limit is refused at its opening token.
TEST_F(ParserTest, LimitsNesting) {
    const int limit = CalcParser::MaxNestingDepth;
    for (Nesting n : {Nesting{"(", ")", 1}, Nesting{"f(", ")", 2}, Nesting{"[", "]", 1},
                      Nesting{"-", "", 1}, Nesting{"a :=", "", 3}}) {
        int width = static_cast<int>(std::string(n.open).size());
        EXPECT_EQ(Parse(Repeat(n.open, limit) + "1" + Repeat(n.close, limit), [](Environment&) {}),
                  "")
            << n.open;
        EXPECT_EQ(Outcome(Repeat(n.open, limit + 1) + "1" + Repeat(n.close, limit + 1)),
                  "parser exception: line 1:" + std::to_string(width * limit + n.tokenColumn) +
                      ": expression nested too deeply")
            << n.open;
    }
    EXPECT_EQ(
        Outcome(Repeat("(", 100000) + "1"),
        "parser exception: line 1:" + std::to_string(limit + 1) + ": expression nested too deeply");
}

TEST_F(ParserTest, DeepestNestingFitsSmallStack) {
    const int levels = CalcParser::MaxNestingDepth / 3;
    std::string formula = Repeat("f([(", levels) + "1 + 2 * -3" + Repeat(")])", levels);
    std::string error = "not run";
    RunWithStack(SmallStack, [&] { error = Parse(formula, [](Environment&) {}); });
    EXPECT_EQ(error, "");
}

}  // namespace
