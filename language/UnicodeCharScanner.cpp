#include "language/UnicodeCharScanner.h"

#include <cstdint>

#include "language/MismatchedUnicodeCharException.h"

namespace CalcEngine {

bool UnicodeCharScanner::lookingAt(std::string_view ascii) {
    for (unsigned i = 0; i < ascii.size(); ++i) {
        if (LA(i + 1) != static_cast<unsigned char>(ascii[i])) return false;
    }
    return true;
}

void UnicodeCharScanner::consume() {
    if (guessing == 0) {
        append(LA(1));
        ++column;
    }
    input.consume();
}

void UnicodeCharScanner::match(int c) {
    if (LA(1) != c) throw MismatchedUnicodeCharException(LA(1), c, false, *this);
    consume();
}

void UnicodeCharScanner::match(std::string_view ascii) {
    for (const char c : ascii) match(static_cast<unsigned char>(c));
}

void UnicodeCharScanner::append(int c) {
    // The end of input, as unsigned, lies above every code point and is dropped.
    const auto code = static_cast<std::uint32_t>(c);
    if (code >= 0x200000) return;
    if (text.empty()) text.reserve(256);
    if (code < 0x80) {
        text.push_back(static_cast<char>(code));
        return;
    }
    const int continuationBytes = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    static constexpr std::uint32_t leadMarks[] = {0x00, 0xC0, 0xE0, 0xF0};
    text.push_back(
        static_cast<char>(leadMarks[continuationBytes] | (code >> (6 * continuationBytes))));
    for (int shift = 6 * (continuationBytes - 1); shift >= 0; shift -= 6) {
        text.push_back(static_cast<char>(0x80 | ((code >> shift) & 0x3F)));
    }
}

void UnicodeCharScanner::resetText() {
    text.clear();
    tokenStartColumn = column;
    tokenStartLine = line;
}

void UnicodeCharScanner::newline() {
    ++line;
    column = 1;
}

antlr::RefToken UnicodeCharScanner::makeToken(int type) {
    antlr::RefToken token = tokenFactory();
    token->setType(type);
    token->setColumn(tokenStartColumn);
    token->setLine(tokenStartLine);
    return token;
}

antlr::NoViableAltForCharException UnicodeCharScanner::unexpectedChar() {
    return antlr::NoViableAltForCharException(LA(1), std::string(), line, column);
}

}  // namespace CalcEngine
