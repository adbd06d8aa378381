#include "values/Text.h"

#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include "values/Exception.h"

namespace CalcEngine {

namespace {
constexpr UChar32 ReplacementCharacter = 0xFFFD;
}  // namespace

std::string ToUtf8(std::u16string_view text) {
    // One UTF-16 unit never needs more than three bytes.
    std::string out(text.size() * 3, '\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8WithSub(out.data(), static_cast<int32_t>(out.size()), &length, text.data(),
                       static_cast<int32_t>(text.size()), ReplacementCharacter, nullptr, &status);
    out.resize(U_SUCCESS(status) ? length : 0);
    return out;
}

WString FromUtf8(std::string_view text) {
    // One byte never yields more than one UTF-16 unit.
    WString out(text.size(), u'\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(out.data(), static_cast<int32_t>(out.size()), &length, text.data(),
                         static_cast<int32_t>(text.size()), ReplacementCharacter, nullptr, &status);
    out.resize(U_SUCCESS(status) ? length : 0);
    return out;
}

WString Widen(std::string_view ascii) {
    WString out;
    out.reserve(ascii.size());
    for (char c : ascii) out.push_back(static_cast<unsigned char>(c));
    return out;
}

WString ToDecimal(long long value) { return Widen(std::to_string(value)); }

WString Ordinal(size_t n) {
    static const char16_t* const first[] = {u"1st", u"2nd", u"3rd"};
    return n >= 1 && n <= 3 ? WString(first[n - 1]) : ToDecimal(static_cast<long long>(n)) + u"th";
}

namespace {

// Maps each code point of `text` with `map`.
template <class Map>
WString MapCase(const WString& text, Map map) {
    WString out;
    out.reserve(text.size());
    const int32_t length = static_cast<int32_t>(text.size());
    for (int32_t i = 0; i < length;) {
        UChar32 c;
        U16_NEXT(text.data(), i, length, c);
        // A lone surrogate comes back as itself: the case maps leave it alone.
        c = map(c);
        if (U_IS_BMP(c)) {
            out += static_cast<char16_t>(c);
        } else {
            out += static_cast<char16_t>(U16_LEAD(c));
            out += static_cast<char16_t>(U16_TRAIL(c));
        }
    }
    return out;
}

}  // namespace

WString ToLowerCase(const WString& text) { return MapCase(text, u_tolower); }
WString ToUpperCase(const WString& text) { return MapCase(text, u_toupper); }

void CheckTextLength(size_t length) {
    if (length > MaxTextLength)
        RaiseRuntimeError(u"the text would be longer than " + ToDecimal(MaxTextLength) +
                          u" characters");
}

}  // namespace CalcEngine
