// Scanner base of the lexer. It offers the operations of ANTLR's character
// scanner, but over 32-bit code points; the token text is kept in UTF-8.
#pragma once

#include <antlr/InputBuffer.hpp>
#include <antlr/NoViableAltForCharException.hpp>
#include <antlr/TokenStream.hpp>
#include <string>
#include <string_view>

namespace CalcEngine {

class UnicodeCharScanner : public antlr::TokenStream {
public:
    using TokenFactory = antlr::RefToken (*)();

    static constexpr int EOF_CHAR = -1;

    UnicodeCharScanner(antlr::InputBuffer& input, TokenFactory tokenFactory)
        : input(input), tokenFactory(tokenFactory) {}

    int getLine() const { return line; }
    int getColumn() const { return column; }

protected:
    // Code point `i` ahead; EOF_CHAR at the end of the input.
    int LA(unsigned i) { return input.LA(i); }
    // Whether the code points ahead spell `ascii`.
    bool lookingAt(std::string_view ascii);

    // Outside a guess, appends LA(1) to the text and advances the column.
    virtual void consume();
    // Consume LA(1) if it is `c`, else throw MismatchedUnicodeCharException.
    void match(int c);
    void match(std::string_view ascii);

    // Input positions for a guess; consume() keeps nothing while guessing > 0.
    unsigned mark() { return input.mark(); }
    void rewind(unsigned position) { input.rewind(position); }

    // Adds `c` to the token text in UTF-8.
    void append(int c);
    // Starts a new token at the current position.
    void resetText();
    void newline();

    virtual antlr::RefToken makeToken(int type);

    // The runtime's error for a character no rule expects here.
    antlr::NoViableAltForCharException unexpectedChar();

    std::string text;
    int guessing = 0;

private:
    antlr::InputBuffer& input;
    TokenFactory tokenFactory;
    int line = 1;
    int column = 1;
    int tokenStartLine = 1;
    int tokenStartColumn = 1;
};

}  // namespace CalcEngine
