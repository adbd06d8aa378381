// Character source of the lexer: reads UTF-8 bytes and hands out code points.
#pragma once

#include <antlr/InputBuffer.hpp>
#include <istream>

namespace CalcEngine {

class UnicodeCharBuffer : public antlr::InputBuffer {
public:
    explicit UnicodeCharBuffer(std::istream& input) : input(input) {}

    // One code point, or the stream's end value. Continuation bytes are not
    // checked, and a four-byte form is read as three bytes: rule text is
    // expected to stay in the basic plane.
    int getChar() override;

private:
    std::istream& input;
};

}  // namespace CalcEngine
