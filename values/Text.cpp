#include "values/Text.h"

#include <unicode/ustring.h>

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

}  // namespace CalcEngine
