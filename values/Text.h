// Text inside the engine is UTF-16, held in std::u16string.
#pragma once

#include <string>
#include <string_view>

namespace CalcEngine {

using WString = std::u16string;

// UTF-16 to UTF-8; a lone surrogate becomes U+FFFD, as the platform
// conversion of the original host did.
std::string ToUtf8(std::u16string_view text);
// UTF-8 to UTF-16; malformed sequences become U+FFFD.
WString FromUtf8(std::string_view text);
// ASCII text (messages, numbers) widened character by character.
WString Widen(std::string_view ascii);
// The decimal form of an integer.
WString ToDecimal(long long value);
// "1st", "2nd", "3rd", and for any other n the number followed by "th"
// (so also "21th"): the place of a parameter in messages.
WString Ordinal(size_t n);
// Simple case mapping per code point: a surrogate pair maps as one
// character, a lone surrogate stays, and the text keeps its length.
WString ToLowerCase(const WString& text);
WString ToUpperCase(const WString& text);

// The most 16-bit units that a text made by the engine may hold (32 MiB): a
// formula that would make a longer one fails instead of exhausting the
// host's memory.
constexpr size_t MaxTextLength = size_t{1} << 24;
// Raises a RuntimeError when a text of `length` units would pass the limit.
void CheckTextLength(size_t length);

}  // namespace CalcEngine
