// The parser: how it groups operators and labels arguments, the trees that
// evaluation cannot tell apart, its error messages, and its nesting limit.
#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>
#include <string>

#include "context/CalcContext.h"
#include "interface/Handles.h"
#include "language/CalcParser.h"
#include "tests/TestClient.h"
#include "tree/Environment.h"
#include "tree/Operators.h"
#include "tree/References.h"

using namespace CalcEngine;

namespace {

// One client for all tests; each parse runs in a context of its own.
class ParserTest : public testing::Test {
protected:
    static void SetUpTestSuite() { client = NewTestClient(nullptr); }
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
        return ToUtf8(summary.substr(start, summary.find_first_of(u"\r\n", start) - start));
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

// Collects the argument labels the parser gave each VarRef.
class LabelCollector : public SymNodeVisitor {
public:
    void Visit(SymNode& node) override {
        auto* ref = dynamic_cast<VarRef*>(&node);
        if (!ref || !ref->Arguments()) return;
        const ExpressionList& arguments = *ref->Arguments();
        for (size_t i = 0; i < arguments.Size(); ++i)
            labels += (i ? "|" : "") + ToUtf8(arguments[i].GetLabel());
    }
    void VisitUp(SymNode&) override {}
    void VisitConst(SymNode&) override {}

    std::string labels;
};

struct Case {
    const char* formula;
    const char* expected;
};

// The trees that evaluation alone does not tell apart: a trailing comma in
// arguments, an assignment as an argument, list items.
TEST_F(ParserTest, BuildsTree) {
    const Case cases[] = {
        {"f(1,)", "f(1)"},
        {"a.b.c(x := 1)", "a.b.c(x := 1)"},
        {"[(1 * 2) f(1) [2] NOT a]", "[(1 * 2) f(1) [2] NOTa]"},
    };
    for (const Case& c : cases) EXPECT_EQ(Outcome(c.formula), c.expected) << c.formula;
}

TEST_F(ParserTest, GroupsOperators) {
    const Case cases[] = {
        // Every binary level is left-associative.
        {"1 - 2 + 3 - 4", "- + - 1 2 3 4"},
        {"8 / 4 * 2 MOD 3 DIV 1", "DIV MOD * / 8 4 2 3 1"},
        // Precedence, loosest first: OR XOR AND, = <>, < > <= >=, + -, * / DIV MOD, ^.
        {"a OR b XOR c AND d", "OR a XOR b AND c d"},
        {"a AND b = c <> d", "AND a <> = b c d"},
        {"a = b < c + d * e ^ f", "= a < b + c * d ^ e f"},
        {"a ^ b * c + d < e = f", "= < + * ^ a b c d e f"},
        // Unary operators bind tighter than `^`.
        {"NOT a = b", "= NOTa b"},
        // Assignment is loosest and right-associative.
        {"a := b := 1 + 2", ":= a := b + 1 2"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Gathered(c.formula, &PrefixPrinter::out), c.expected) << c.formula;
}

// Labels of the one symbol with arguments in the formula, joined by "|":
// only a name or a text standing alone before `=` is one.
TEST_F(ParserTest, LabelsArguments) {
    const Case cases[] = {
        {"f(a = 1, 2, b.c = -3)", "a||b.c"},
        {"f(a = b = 1)", "a"},
        {"f((a) = 1, 1 = 1, a := 1)", "||"},
        {"f(a + 1 = 2)", ""},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Gathered(c.formula, &LabelCollector::labels), c.expected) << c.formula;
}

TEST_F(ParserTest, Refuses) {
    const Case cases[] = {
        // Closing tokens: the other closing or the end is a semantic error.
        {"(1]", "line 1:3: missing right parenthesis ')'"},
        {"f(1", "line 1:4: missing right parenthesis ')'"},
        {"g(", "line 1:3: missing right parenthesis ')'"},
        {"[1 2)", "line 1:5: missing right bracket ']'"},
        {"(1, 2)", "line 1:3: expecting RPAREN, found ','"},
        // Any token outside the follow set fails at once.
        {"[1, 2]", "line 1:3: unexpected token: ,"},
        {"[]", "line 1:2: unexpected token: ]"},
        {"1..5", "line 1:2: unexpected token: .."},
        {"1 2", "line 1:3: unexpected token: 2"},
        {",1", "line 1:1: unexpected token: ,"},
        {"f(a = )", "line 1:7: unexpected token: )"},
        {"1 +", "line 1:4: unexpected end of file"},
        // A `:` or `;` fails where it stands, or at a name up to three tokens before it.
        {"1;", "line 1:2: unexpected token: ;"},
        {"x + 1 + 2;", "line 1:10: unexpected token: ;"},
        {"x + 1;", "line 1:1: unexpected token: x"},
        {"a :", "line 1:1: unexpected token: a"},
        {"x + f(;", "line 1:5: unexpected token: f"},
        {"f(1:", "line 1:1: unexpected token: f"},
        {"f(1, 2;", "line 1:7: unexpected token: ;"},
        // Lines are counted.
        {"1 +\n\n  * 2", "line 3:3: unexpected token: *"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Outcome(c.formula), std::string("parser exception: ") + c.expected) << c.formula;
}

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

// A long chain needs no stack, and the deepest nesting fits a small one.
TEST_F(ParserTest, SmallStackSuffices) {
    const int levels = CalcParser::MaxNestingDepth / 3;
    const std::string formulas[] = {
        "1" + Repeat(" + 1", 99999),
        Repeat("f([(", levels) + "1 + 2 * -3" + Repeat(")])", levels),
    };
    for (const std::string& formula : formulas) {
        std::string error = "not run";
        RunWithStack(1 << 20, [&] { error = Parse(formula, [](Environment&) {}); });
        EXPECT_EQ(error, "") << formula.substr(0, 20);
    }
}

}  // namespace
