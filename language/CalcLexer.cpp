#include "language/CalcLexer.h"

#include <antlr/RecognitionException.hpp>
#include <antlr/TokenStreamRecognitionException.hpp>

namespace CalcEngine {

namespace {

bool IsDigit(int c) { return c >= '0' && c <= '9'; }

bool IsIdentFirst(int c) {
    return c == '?' || c == '_' || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
           (c >= 0x80 && c <= 0xFF);
}

bool IsIdentChar(int c) { return IsDigit(c) || IsIdentFirst(c); }

// A part after a '.' may also begin with a sign or a digit: a.-b, a.1.
bool IsSubIdentFirst(int c) { return c == '+' || c == '-' || IsIdentChar(c); }

bool IsNumberStart(int c) { return c == '.' || IsDigit(c); }

bool IsBlank(int c) { return c == '\t' || c == '\n' || c == '\f' || c == '\r' || c == ' '; }

// The code points the language reads at all; the end of input is not one.
bool IsVocabulary(int c) { return c >= 0 && c <= 0xFFFE; }

bool IsCommentChar(int c) { return IsVocabulary(c) && c != '\n' && c != '*'; }

// The value of the escape `\c`, or -1 when there is no such escape.
int EscapedValue(int c) {
    switch (c) {
        case '"':
        case '\\':
            return c;
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        default:
            return -1;
    }
}

}  // namespace

antlr::RefToken CalcLexer::CustomToken::factory() { return antlr::RefToken(new CustomToken); }

CalcLexer::CalcLexer(UnicodeCharBuffer& input) : UnicodeCharScanner(input, &CustomToken::factory) {}

antlr::RefToken CalcLexer::nextToken() {
    try {
        for (;;) {
            resetText();
            const int type = scanToken();
            if (type != antlr::Token::SKIP) {
                antlr::RefToken token = makeToken(type);
                token->setText(text);
                return token;
            }
        }
    } catch (antlr::RecognitionException& e) {
        throw antlr::TokenStreamRecognitionException(e);
    }
}

void CalcLexer::consume() {
    if (guessing == 0) {
        if (text.empty()) tokenStartOffset = charOffset;
        ++charOffset;
    }
    UnicodeCharScanner::consume();
}

antlr::RefToken CalcLexer::makeToken(int type) {
    antlr::RefToken token = UnicodeCharScanner::makeToken(type);
    static_cast<CustomToken*>(token.get())->offset = tokenStartOffset;
    return token;
}

int CalcLexer::scanToken() {
    // Two-character operators come before their one-character prefixes.
    static constexpr Lexeme operators[] = {
        {":=", ASSIGN}, {"<>", NOT_EQUAL}, {">=", GE},   {"<=", LE},    {"..", RANGE},
        {"(", LPAREN},  {")", RPAREN},     {"*", STAR},  {"+", PLUS},   {",", COMMA},
        {"-", MINUS},   {";", SEMI},       {"=", EQUAL}, {"[", LBRACK}, {"]", RBRACK},
        {"^", POW},     {":", COLON},      {"/", DIV},   {">", GT},     {"<", LT_},
    };
    const int c = LA(1);
    if (IsBlank(c)) {
        whitespace();
        return antlr::Token::SKIP;
    }
    if (c == '"') {
        stringLiteral();
        return STRING_LITERAL;
    }
    if (lookingAt("/*")) {
        comment();
        return antlr::Token::SKIP;
    }
    if (const Lexeme* op = findAhead(operators)) {
        match(op->text);
        return op->type;
    }
    if (IsIdentFirst(c)) return nameOrKeyword();
    if (IsNumberStart(c)) return number();
    if (c == EOF_CHAR) return EOF_;
    throw unexpectedChar();
}

// \r\n is one line end, as are a lone \r and a lone \n. A tab counts as one column.
void CalcLexer::whitespace() {
    const int c = LA(1);
    consume();
    if (c == '\r' && LA(1) == '\n') consume();
    if (c == '\r' || c == '\n') newline();
}

// Comments do not nest. A '*' is text only when two more characters follow
// and the next is not '/'; otherwise the closing match decides. Only \n
// counts as a line end here.
void CalcLexer::comment() {
    match("/*");
    for (;;) {
        const int c = LA(1);
        if (c == '\n') {
            consume();
            newline();
        } else if (IsCommentChar(c) ||
                   (c == '*' && LA(2) != '/' && IsVocabulary(LA(2)) && IsVocabulary(LA(3)))) {
            consume();
        } else {
            break;
        }
    }
    match("*/");
}

// The token text is the string's value: quotes dropped, escapes resolved.
// Line ends inside a string are taken as text and not counted.
void CalcLexer::stringLiteral() {
    matchDropped('"');
    for (;;) {
        const int c = LA(1);
        if (c == '\\') {
            escape();
        } else if (c != '"' && IsVocabulary(c)) {
            consume();
        } else {
            break;
        }
    }
    matchDropped('"');
}

void CalcLexer::escape() {
    matchDropped('\\');
    const int value = EscapedValue(LA(1));
    if (value < 0) throw unexpectedChar();
    matchDropped(LA(1));
    append(value);
}

// Keywords are upper case only, and a keyword that runs on into identifier
// characters is a name: ORDER, NOTE, FALSEHOOD.
int CalcLexer::nameOrKeyword() {
    static constexpr Lexeme keywords[] = {
        {"FALSE", FALSE_}, {"NULL", NIL}, {"TRUE", TRUE_}, {"XOR", LXOR},    {"AND", LAND},
        {"NOT", LNOT},     {"NIL", NIL},  {"MOD", MODULO}, {"DIV", INT_DIV}, {"OR", LOR},
    };
    if (const Lexeme* keyword = findAhead(keywords)) {
        match(keyword->text);
        if (!IsIdentChar(LA(1))) return keyword->type;
    } else {
        consume();
    }
    nameRest();
    return IDENT;
}

// The rest of a name, dotted parts included. Every '.' commits to a further
// part, so x..y is an error and a range over a name needs a blank: x ..y.
void CalcLexer::nameRest() {
    while (IsIdentChar(LA(1))) consume();
    while (LA(1) == '.') {
        consume();
        if (!IsSubIdentFirst(LA(1))) throw unexpectedChar();
        consume();
        while (IsIdentChar(LA(1))) consume();
    }
}

int CalcLexer::number() {
    // Digits before ".." are an integer that begins a range, as in [1..5].
    if (IsDigit(LA(1)) && digitsFollowedBy("..")) {
        digits();
        return NUM_INT;
    }
    const int type = mantissa();
    return exponent() ? NUM_FLOAT : type;
}

// 12, 1.5 or .5. A '.' must be followed by digits: 12.x and .x are errors.
int CalcLexer::mantissa() {
    if (LA(1) == '.') {
        consume();
        digits();
        return NUM_FLOAT;
    }
    if (IsNumberStart(LA(2)) && IsNumberStart(LA(3)) && digitsFollowedBy(".")) {
        digits();
        match('.');
        digits();
        return NUM_FLOAT;
    }
    digits();
    return NUM_INT;
}

// E or e, an optional '-', digits. A '+' is not part of the language: 1e+5 is an error.
bool CalcLexer::exponent() {
    if (LA(1) != 'E' && LA(1) != 'e') return false;
    consume();
    if (LA(1) == '-') consume();
    digits();
    return true;
}

void CalcLexer::digits() {
    if (!IsDigit(LA(1))) throw unexpectedChar();
    while (IsDigit(LA(1))) consume();
}

const CalcLexer::Lexeme* CalcLexer::findAhead(std::span<const Lexeme> lexemes) {
    for (const Lexeme& lexeme : lexemes) {
        if (lookingAt(lexeme.text)) return &lexeme;
    }
    return nullptr;
}

// A guess: whether digits followed by `ascii` lie ahead. Consumes nothing.
bool CalcLexer::digitsFollowedBy(std::string_view ascii) {
    const unsigned start = mark();
    ++guessing;
    digits();
    const bool matched = lookingAt(ascii);
    rewind(start);
    --guessing;
    return matched;
}

// Matches `c` and leaves it out of the token text.
void CalcLexer::matchDropped(int c) {
    const std::size_t length = text.size();
    match(c);
    text.resize(length);
}

}  // namespace CalcEngine
