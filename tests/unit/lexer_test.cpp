// The lexer: where tokens begin and end, their texts and positions, and its
// error messages.
#include <gtest/gtest.h>

#include <antlr/RecognitionException.hpp>
#include <antlr/TokenStreamRecognitionException.hpp>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "language/CalcLexer.h"
#include "language/UnicodeCharBuffer.h"

namespace CalcEngine {
namespace {

struct Lexed {
    std::vector<antlr::RefToken> tokens;  // EOF left out
    std::string error;                    // toString of the lexical error, if any
};

Lexed Lex(const std::string& text) {
    std::istringstream stream(text);
    UnicodeCharBuffer buffer(stream);
    CalcLexer lexer(buffer);
    Lexed lexed;
    try {
        for (antlr::RefToken token = lexer.nextToken(); token->getType() != CalcLexer::EOF_;
             token = lexer.nextToken()) {
            lexed.tokens.push_back(token);
        }
    } catch (const antlr::TokenStreamRecognitionException& e) {
        lexed.error = e.toString();
    }
    return lexed;
}

std::string TypeNames(const Lexed& lexed) {
    std::string names;
    for (const antlr::RefToken& token : lexed.tokens) {
        names += (names.empty() ? "" : " ") + std::string(CalcTokenNames()[token->getType()]);
    }
    return names;
}

std::uint32_t OffsetOf(const antlr::RefToken& token) {
    return static_cast<const CalcLexer::CustomToken*>(token.get())->offset;
}

struct TypeCase {
    const char* text;
    const char* types;
    const char* error;
};

// The token boundaries that the grammar alone does not settle, and where
// and how a lexical error is reported.
const TypeCase typeCases[] = {
    // Keywords: upper case only, and not when identifier characters follow.
    {"NIL Null false Not mod", "NIL IDENT IDENT IDENT IDENT", ""},
    {"ORDER NOTE MODEL DIVIDE ANDROID TRUEST XORED FALSEHOOD NIL2 OR_",
     "IDENT IDENT IDENT IDENT IDENT IDENT IDENT IDENT IDENT IDENT", ""},
    {"TRUE.x", "TRUE_", "line 1:6: unexpected char: 'x'"},
    // Operators, the longest first.
    {":= <> >= <= .. : < > = /", "ASSIGN NOT_EQUAL GE LE RANGE COLON LT_ GT EQUAL DIV", ""},
    {"a<>=b", "IDENT NOT_EQUAL EQUAL IDENT", ""},
    {"1/*c*/2/3", "NUM_INT NUM_INT DIV NUM_INT", ""},
    // Numbers.
    {"5.5.5", "NUM_FLOAT NUM_FLOAT", ""},
    {"2x 3e5y", "NUM_INT IDENT NUM_FLOAT IDENT", ""},
    {"5.", "NUM_INT", "line 1:3: unexpected char: EOF"},
    {"1.x", "NUM_INT", "line 1:3: unexpected char: 'x'"},
    {"12.x", "", "line 1:4: unexpected char: 'x'"},
    {".", "", "line 1:2: unexpected char: EOF"},
    {"1e", "", "line 1:3: unexpected char: EOF"},
    {"1e+5", "", "line 1:3: unexpected char: '+'"},
    {"2EUR", "", "line 1:3: unexpected char: 'U'"},
    // Names.
    {"a.b.c a.-b a.1 x.+y ?q _r \xC3\xA9t\xC3\xA9", "IDENT IDENT IDENT IDENT IDENT IDENT IDENT",
     ""},
    {"x ..y", "IDENT RANGE IDENT", ""},
    {"x..y", "", "line 1:3: unexpected char: '.'"},
    {"a.b..c", "", "line 1:5: unexpected char: '.'"},
    {"a.", "", "line 1:3: unexpected char: EOF"},
    {"a.*", "", "line 1:3: unexpected char: '*'"},
    // Strings and comments.
    {"\"a\\q\"", "", "line 1:4: unexpected char: 'q'"},
    {"\"abc", "", "line 1:5: expecting ''\"'', found 'EOF'"},
    {"\"abc\\", "", "line 1:6: unexpected char: EOF"},
    {"/* abc", "", "line 1:7: expecting ''*'', found 'EOF'"},
    {"/* abc *", "", "line 1:9: expecting ''/'', found 'EOF'"},
    {"/* a /* b */ c */", "IDENT STAR DIV", ""},
    // Characters outside the language.
    {"'a'", "", "line 1:1: unexpected char: '''"},
    {"\t$", "", "line 1:2: unexpected char: '$'"},
    // Line counting: \r\n, \r and \n end a line; inside a string nothing does.
    {"a\n  $", "IDENT", "line 2:3: unexpected char: '$'"},
    {"\r\r\n\n$", "", "line 4:1: unexpected char: '$'"},
    {"\"x\r\ny\" $", "STRING_LITERAL", "line 1:8: unexpected char: '$'"},
    {"/*\r\n*/$", "", "line 2:3: unexpected char: '$'"},
    {"/*\r*/$", "", "line 1:6: unexpected char: '$'"},
};

TEST(LexerTest, TokenTypesAndErrors) {
    for (const TypeCase& c : typeCases) {
        const Lexed lexed = Lex(c.text);
        EXPECT_EQ(TypeNames(lexed), c.types) << c.text;
        EXPECT_EQ(lexed.error, c.error) << c.text;
    }
}

TEST(LexerTest, NonLatinCharacterOnlyInStringsAndComments) {
    EXPECT_EQ(Lex("\"\xD1\x8F\" /* \xD1\x8F */").error, "");
    EXPECT_TRUE(Lex("\xD1\x8F").error.starts_with("line 1:1: unexpected char: "));
    // A character outside the basic plane reads as a wrong character and a NUL.
    EXPECT_EQ(Lex("\"\xF0\x9F\x98\x80\"").tokens.at(0)->getText(), std::string("\xDF\x98\0", 3));
}

struct TextCase {
    const char* text;
    std::vector<std::string> texts;
};

const TextCase textCases[] = {
    {"NOTE.x1 7..8", {"NOTE.x1", "7", "..", "8"}},
    {"\"a\\tb\\\"c\\\\d\\ne\\rf\"", {"a\tb\"c\\d\ne\rf"}},
    {"\"\" \"x\r\ny\" \"\xE2\x82\xAC\xD1\x8F\"", {"", "x\r\ny", "\xE2\x82\xAC\xD1\x8F"}},
    {"/* * ** */x/***/y", {"x", "y"}},
};

TEST(LexerTest, TokenTexts) {
    for (const TextCase& c : textCases) {
        const Lexed lexed = Lex(c.text);
        std::vector<std::string> texts;
        for (const antlr::RefToken& token : lexed.tokens) texts.push_back(token->getText());
        EXPECT_EQ(texts, c.texts) << c.text;
        EXPECT_EQ(lexed.error, "") << c.text;
    }
}

struct PositionCase {
    const char* text;
    std::uint32_t offset;  // of the last token, in code points
    int line;
    int column;
};

const PositionCase positionCases[] = {
    {"/* c */x", 7, 1, 8},
    {"a + \"\xC3\xA9\" b", 8, 1, 9},
    {"\xC3\xA9\xC3\xA9 ORDER", 3, 1, 4},
    {"a\r\n /*\n*/ b", 10, 3, 4},
};

TEST(LexerTest, TokenPositions) {
    for (const PositionCase& c : positionCases) {
        const Lexed lexed = Lex(c.text);
        ASSERT_FALSE(lexed.tokens.empty()) << c.text;
        const antlr::RefToken& last = lexed.tokens.back();
        EXPECT_EQ(OffsetOf(last), c.offset) << c.text;
        EXPECT_EQ(last->getLine(), c.line) << c.text;
        EXPECT_EQ(last->getColumn(), c.column) << c.text;
    }
}

TEST(LexerTest, LongComment) {
    const std::string comment = "/*" + std::string(1000000, '*') + "*/1";
    EXPECT_EQ(OffsetOf(Lex(comment).tokens.at(0)), 1000004u);
}

}  // namespace
}  // namespace CalcEngine
