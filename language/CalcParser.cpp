#include "language/CalcParser.h"

#include <antlr/NoViableAltException.hpp>
#include <antlr/SemanticException.hpp>
#include <array>

#include "values/ICalcContext.h"
#include "language/CalcLexer.h"
#include "tree/Environment.h"
#include "tree/NodeFactory.h"
#include "values/OperatorTable.h"
#include "values/Text.h"

namespace CalcEngine {

namespace {

using Tokens = CalcParserTokenTypes;

constexpr int32_t NoOperator = -1;
// A limit below every precedence: the whole binary chain.
constexpr int32_t AnyPrecedence = -1;

constexpr const char* MissingParenthesis = "missing right parenthesis ')'";
constexpr const char* MissingBracket = "missing right bracket ']'";

// The binary operator of each token type. Precedences are those of the
// operator table, so this is the one place that ties tokens to operators.
constexpr auto binaryOperatorOfToken = [] {
    std::array<int32_t, CalcTokenCount> codes{};
    codes.fill(NoOperator);
    codes[Tokens::LOR] = OpOr;
    codes[Tokens::LXOR] = OpXor;
    codes[Tokens::LAND] = OpAnd;
    codes[Tokens::NOT_EQUAL] = OpNotEqual;
    codes[Tokens::EQUAL] = OpEqual;
    codes[Tokens::LT_] = OpLt;
    codes[Tokens::GT] = OpGt;
    codes[Tokens::LE] = OpLe;
    codes[Tokens::GE] = OpGe;
    codes[Tokens::PLUS] = OpPlus;
    codes[Tokens::MINUS] = OpMinus;
    codes[Tokens::DIV] = OpDiv;
    codes[Tokens::STAR] = OpMul;
    codes[Tokens::MODULO] = OpMod;
    codes[Tokens::INT_DIV] = OpIntDiv;
    codes[Tokens::POW] = OpPow;
    return codes;
}();

int32_t BinaryOperatorOf(int type) {
    return type >= 0 && type < CalcTokenCount ? binaryOperatorOfToken[type] : NoOperator;
}

int32_t Precedence(int32_t code) { return binaryOperators[code].precedence; }

int32_t UnaryOperatorOf(int type) {
    switch (type) {
        case Tokens::LNOT:
            return UnNot;
        case Tokens::MINUS:
            return UnMinus;
        case Tokens::PLUS:
            return UnPlus;
        default:
            return NoOperator;
    }
}

bool StartsExpression(int type) {
    switch (type) {
        case Tokens::STRING_LITERAL:
        case Tokens::IDENT:
        case Tokens::PLUS:
        case Tokens::MINUS:
        case Tokens::LNOT:
        case Tokens::LPAREN:
        case Tokens::LBRACK:
        case Tokens::NUM_INT:
        case Tokens::NUM_FLOAT:
        case Tokens::NIL:
        case Tokens::TRUE_:
        case Tokens::FALSE_:
            return true;
        default:
            return false;
    }
}

// The tokens that end an argument or item list: the proper closings and
// the ones that are refused by close().
bool IsClosing(int type) {
    return type == Tokens::RPAREN || type == Tokens::RBRACK || type == Tokens::EOF_;
}

bool IsColonOrSemi(int type) { return type == Tokens::COLON || type == Tokens::SEMI; }

}  // namespace

// One level of nesting for the lifetime of the object, checked against the
// limit when it opens at the current token.
class CalcParser::Nesting {
public:
    explicit Nesting(CalcParser& parser) : parser(parser) {
        if (parser.depth == MaxNestingDepth) parser.SemanticError("expression nested too deeply");
        ++parser.depth;
    }
    ~Nesting() { --parser.depth; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

private:
    CalcParser& parser;
};

CalcParser::CalcParser(antlr::TokenBuffer& tokens, Environment& environment)
    : antlr::LLkParser(tokens, 4), environment(environment), factory(GlobalNodeFactory()) {}

const char* CalcParser::getTokenName(int type) const {
    return type >= 0 && type < CalcTokenCount ? CalcTokenNames()[type] : nullptr;
}

// calculation -> EOF | expression ( EOF | COMMA calculation )
// An expression missing before the end, also after a trailing comma, stands
// for an empty value.
void CalcParser::calculation() {
    while (LA(1) != EOF_) {
        environment.AddExpression(expression());
        if (LA(1) == EOF_) return;
        if (LA(1) != COMMA) Unexpected();
        consume();
    }
    environment.AddExpression(factory.createEmptyConst(environment));
}

// expression -> binaryExpression [ ASSIGN expression ]
// Assignment is right-associative: `a := b := c` assigns to b first. Past the
// expression only a token that may follow one is accepted.
ExprPtr CalcParser::expression() {
    ExprPtr target = binaryExpression(AnyPrecedence);
    if (LA(1) == ASSIGN) {
        Nesting level(*this);
        consume();
        ExprPtr value = expression();
        return factory.createAssign(environment, std::move(target), std::move(value));
    }
    if (LA(1) != COMMA && !IsClosing(LA(1))) Unexpected();
    return target;
}

// binaryExpression -> unary { binop binaryExpression }
// Takes the operators that bind tighter than `limit`. The right operand of an
// operator is read with that operator's precedence as its limit, so it stops
// at the next operator of the same level, and this loop folds the chain to the
// left: `a - b + c` is built as (a - b), then ((a - b) + c). That is the
// left-leaning tree that the right-recursive grammar of each level gives after
// BinOp's rotation of a same-level right operand, with every level, `^`
// included, left-associative; here the right operand never has the same
// level, so the rotation does not trigger. The stack depth is bounded by the
// number of precedence levels, not by the length of a chain.
ExprPtr CalcParser::binaryExpression(int32_t limit) {
    ExprPtr left = unary();
    for (int32_t code = BinaryOperatorOf(LA(1)); code != NoOperator && Precedence(code) > limit;
         code = BinaryOperatorOf(LA(1))) {
        consume();
        ExprPtr right = binaryExpression(Precedence(code));
        left = factory.createBinOp(environment, code, std::move(left), std::move(right));
    }
    return left;
}

// unary -> ( PLUS | MINUS | LNOT ) unary | primary
// Binds tighter than `^`: `-2^2` is (-2)^2.
ExprPtr CalcParser::unary() {
    int32_t code = UnaryOperatorOf(LA(1));
    if (code == NoOperator) return primary();
    Nesting level(*this);
    consume();
    ExprPtr operand = unary();
    return factory.createUnOp(environment, code, std::move(operand));
}

// primary -> constant | parenthesisBlock | listBlock | name
ExprPtr CalcParser::primary() {
    switch (LA(1)) {
        case LPAREN:
            return parenthesisBlock();
        case LBRACK:
            return listBlock();
        case IDENT:
            return name();
        default:
            return constant();
    }
}

// constant -> STRING_LITERAL | NUM_INT | NUM_FLOAT | NIL | TRUE_ | FALSE_
// Every number is a float constant; TRUE and FALSE are the integers 1 and 0.
ExprPtr CalcParser::constant() {
    antlr::RefToken token = LT(1);
    switch (token->getType()) {
        case STRING_LITERAL:
            consume();
            return factory.createStringConst(environment, FromUtf8(token->getText()));
        case NUM_INT:
        case NUM_FLOAT:
            consume();
            return factory.createFloatConst(
                environment, CurrentContext()->ParseNumber(FromUtf8(token->getText())));
        case NIL:
            consume();
            return factory.createEmptyConst(environment);
        case TRUE_:
        case FALSE_:
            consume();
            return factory.createIntConst(environment, token->getType() == TRUE_ ? 1 : 0);
        default:
            Unexpected();
    }
}

// parenthesisBlock -> LPAREN expression close
// The block keeps a parenthesised chain whole, apart from its neighbours.
ExprPtr CalcParser::parenthesisBlock() {
    Nesting level(*this);
    consume();
    ExprPtr inner = expression();
    close(RPAREN, RBRACK, MissingParenthesis);
    return factory.createParenthesisBlock(environment, std::move(inner));
}

// listBlock -> LBRACK rangeItem { rangeItem } close
// Items stand side by side with no separator, and take no binary operator:
// `[1 -2]` has two items, and `[1*2]` is refused at the `*`.
ExprPtr CalcParser::listBlock() {
    Nesting level(*this);
    consume();
    std::unique_ptr<ListBlock> list = factory.createListBlock(environment);
    do {
        list->Items().Add(rangeItem());
    } while (StartsExpression(LA(1)));
    if (!IsClosing(LA(1))) Unexpected();
    close(RBRACK, RPAREN, MissingBracket);
    return list;
}

// rangeItem -> unary [ RANGE unary ]
// The only place where a range may stand.
ExprPtr CalcParser::rangeItem() {
    ExprPtr from = unary();
    if (LA(1) != RANGE) return from;
    consume();
    ExprPtr to = unary();
    return factory.createRange(environment, std::move(from), std::move(to));
}

// name -> IDENT LPAREN namedArguments close    (not a known function: a host symbol)
//       | IDENT LPAREN plainArguments close    (a known function: a call)
//       | IDENT                                (a plain reference)
// The three forms are told apart by the name and the three tokens after it,
// all of which must be tokens that the grammar knows: a `:` or `;` among them
// is refused at the name.
ExprPtr CalcParser::name() {
    if (IsColonOrSemi(LA(2)) || IsColonOrSemi(LA(3)) || IsColonOrSemi(LA(4))) Unexpected();
    antlr::RefToken token = LT(1);
    if (LA(2) != LPAREN) {
        consume();
        return factory.createVarRef(environment, Identifier(token), nullptr);
    }
    bool symbol = !IsFunctionName(token);
    consume();
    Nesting level(*this);  // opens at the parenthesis
    consume();
    std::unique_ptr<ExpressionList> list = arguments(symbol);
    close(RPAREN, RBRACK, MissingParenthesis);
    if (symbol) return factory.createVarRef(environment, Identifier(token), std::move(list));
    return factory.createCall(environment, Identifier(token), std::move(list));
}

// namedArguments -> [ namedArgument [ COMMA namedArguments ] ]
// plainArguments -> [ expression [ COMMA plainArguments ] ]
// Both are empty before a closing token, so a trailing comma adds nothing.
std::unique_ptr<ExpressionList> CalcParser::arguments(bool named) {
    std::unique_ptr<ExpressionList> list = factory.createExpressionList(environment);
    while (!IsClosing(LA(1))) {
        list->Add(named ? namedArgument() : expression());
        if (LA(1) != COMMA) break;
        consume();
    }
    return list;
}

// namedArgument -> ( STRING_LITERAL | IDENT ) EQUAL expression
//                | expression
// The first form is taken when an expression starts after the EQUAL; in a
// function's arguments `=` is always a comparison.
ExprPtr CalcParser::namedArgument() {
    bool labelled =
        (LA(1) == STRING_LITERAL || LA(1) == IDENT) && LA(2) == EQUAL && StartsExpression(LA(3));
    if (!labelled) return expression();
    antlr::RefToken label = LT(1);
    consume();
    consume();
    return Labelled(expression(), label);
}

// close -> closing | wrongClosing | EOF
// The last two alternatives are accepted only to be refused with `message`;
// any other token is the runtime's mismatch.
void CalcParser::close(int closing, int wrongClosing, const char* message) {
    if (LA(1) == wrongClosing || LA(1) == EOF_) SemanticError(message);
    match(closing);
}

bool CalcParser::IsFunctionName(const antlr::RefToken& token) {
    return CurrentContext()->FindFunction(FromUtf8(token->getText()));
}

std::unique_ptr<ObjectIdentifier> CalcParser::Identifier(const antlr::RefToken& token) {
    auto offset = static_cast<const CalcLexer::CustomToken*>(token.get())->offset;
    return factory.createObjectIdentifier(environment, static_cast<int32_t>(offset),
                                          FromUtf8(token->getText()));
}

// An empty label, as from `"" = 1`, labels nothing.
ExprPtr CalcParser::Labelled(ExprPtr value, const antlr::RefToken& label) {
    WString text = FromUtf8(label->getText());
    if (text.empty()) return value;
    return factory.createExprLabel(environment, std::move(value), text);
}

void CalcParser::Unexpected() { throw antlr::NoViableAltException(LT(1), getFilename()); }

void CalcParser::SemanticError(const char* message) {
    antlr::RefToken token = LT(1);
    throw antlr::SemanticException(message, "", token->getLine(), token->getColumn());
}

}  // namespace CalcEngine
