// Lexer of the rule language: turns rule text (UTF-8) into the tokens of
// CalcParserTokenTypes. Dotted names stay one IDENT; keywords are upper case.
#pragma once

#include <antlr/CommonToken.hpp>
#include <cstdint>
#include <span>
#include <string_view>

#include "language/CalcParserTokenTypes.h"
#include "language/UnicodeCharBuffer.h"
#include "language/UnicodeCharScanner.h"

namespace CalcEngine {

class CalcLexer : public UnicodeCharScanner, public CalcParserTokenTypes {
public:
    // A token that also knows where it starts in the rule text.
    class CustomToken : public antlr::CommonToken {
    public:
        static antlr::RefToken factory();

        // Code points before the token's first character, blanks and
        // comments included.
        std::uint32_t offset = 0;
    };

    explicit CalcLexer(UnicodeCharBuffer& input);

    // Throws antlr::TokenStreamRecognitionException on the first lexical error.
    antlr::RefToken nextToken() override;

protected:
    void consume() override;
    antlr::RefToken makeToken(int type) override;

private:
    struct Lexeme {
        std::string_view text;
        int type;
    };

    // Runs the rule for the input ahead; answers the token type, or
    // antlr::Token::SKIP for white space and comments.
    int scanToken();

    void whitespace();
    void comment();
    void stringLiteral();
    void escape();
    int nameOrKeyword();
    void nameRest();
    int number();
    int mantissa();
    bool exponent();
    void digits();

    const Lexeme* findAhead(std::span<const Lexeme> lexemes);
    bool digitsFollowedBy(std::string_view ascii);
    void matchDropped(int c);

    std::uint32_t tokenStartOffset = 0;
    std::uint32_t charOffset = 0;
};

}  // namespace CalcEngine
