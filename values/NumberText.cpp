#include "values/NumberText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

#include "values/ICalcContext.h"
#include "values/Object.h"

namespace CalcEngine {

namespace {

// Numbers become text with at most this many decimals.
constexpr int Decimals = 4;
// More decimals than any double has significant digits to show.
constexpr int MaxDecimals = 340;
// Sign, the 309 integer digits of the largest double, point, decimals.
constexpr size_t FixedBufferSize = 1 + 309 + 1 + MaxDecimals;
// Beyond this every power of ten is 0 or infinite anyway.
constexpr int MaxExponent = 100000;

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

void AppendAscii(WString& out, std::string_view text) { out.append(text.begin(), text.end()); }

void AppendZeros(WString& out, int count) {
    if (count > 0) out.append(static_cast<size_t>(count), u'0');
}

// The exponent that follows an 'e' at `i`: an optional '-', then the digits
// of the whole rest of the text, other characters passed over.
int ReadExponent(const WString& text, size_t i) {
    const bool negative = i < text.size() && text[i] == u'-';
    if (negative) ++i;
    int exponent = 0;
    for (; i < text.size(); ++i) {
        if (IsDigit(text[i])) exponent = std::min(exponent * 10 + (text[i] - u'0'), MaxExponent);
    }
    return negative ? -exponent : exponent;
}

bool IsSpace(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }

// Copies the word that starts at or after `pos` into `word` and returns the
// position behind it; false when only white space is left.
bool NextWord(const WString& text, size_t& pos, WString& word) {
    while (pos < text.size() && IsSpace(text[pos])) ++pos;
    if (pos == text.size()) return false;
    const size_t start = pos;
    while (pos < text.size() && !IsSpace(text[pos])) ++pos;
    word.assign(text, start, pos - start);
    return true;
}

}  // namespace

void FormatFixed(WString& out, double value, int decimals, int leadingZeros, char16_t separator) {
    // A negative count writes no zeros, as none does; from 0 on, the counts
    // below cannot overflow.
    leadingZeros = std::max(leadingZeros, 0);
    // Zero has no decimal part, whatever `decimals` says.
    if (value == 0.0) {
        out += u'0';
        AppendZeros(out, leadingZeros - 1);
        return;
    }
    // Correctly rounded and independent of the process locale.
    char buffer[FixedBufferSize];
    const char* end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed,
                                    std::clamp(decimals, 0, MaxDecimals))
                          .ptr;
    std::string_view text(buffer, static_cast<size_t>(end - buffer));
    if (!std::isfinite(value)) {
        AppendAscii(out, text);
        return;
    }
    if (text.front() == '-') {
        out += u'-';
        text.remove_prefix(1);
    }
    const size_t point = text.find('.');
    const std::string_view integer = text.substr(0, point);
    std::string_view fraction = point == std::string_view::npos ? "" : text.substr(point + 1);
    fraction = fraction.substr(0, fraction.find_last_not_of('0') + 1);

    if (integer == "0") {
        AppendZeros(out, std::max(leadingZeros, 1));
    } else {
        AppendZeros(out, leadingZeros - static_cast<int>(integer.size()));
        AppendAscii(out, integer);
    }
    if (!fraction.empty()) {
        out += separator ? separator : u'.';
        AppendAscii(out, fraction);
    }
}

double TextToNumber(const WString& text, char16_t separator) {
    if (separator == 0) separator = u'.';
    size_t i = 0;
    while (i < text.size() && !IsDigit(text[i]) && text[i] != u'-' && text[i] != separator) ++i;
    const bool negative = i < text.size() && text[i] == u'-';
    if (negative) ++i;

    double value = 0.0;
    double divisor = 1.0;
    bool inFraction = false;
    for (; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (IsDigit(c)) {
            value = value * 10.0 + (c - u'0');
            if (inFraction) divisor *= 10.0;
        } else if (c == separator) {
            inFraction = true;
        } else if (c == u'e' || c == u'E') {
            value *= std::pow(10.0, ReadExponent(text, i + 1));
            break;
        }
    }
    if (inFraction) value /= divisor;
    return negative ? -value : value;
}

void FormatNumber(double value, WString& out) {
    if (ICalcContext* context = CurrentContext()) {
        context->FormatNumber(value, out, Decimals);
    } else if (IsNull(value)) {
        out += u"NULL";
    } else {
        FormatFixed(out, value, Decimals, 1, u'.');
    }
}

double ParseNumber(const WString& text) {
    if (ICalcContext* context = CurrentContext()) return context->ParseNumber(text);
    return text == u"NULL" ? NullNumber() : TextToNumber(text, u'.');
}

double ReadNumber(const WString& text) {
    size_t pos = 0;
    WString word;
    NextWord(text, pos, word);
    return ParseNumber(word);
}

void ReadNumbers(const WString& text, DoubleVector& out, bool skipNulls) {
    size_t pos = 0;
    WString word;
    while (NextWord(text, pos, word)) {
        const double value = ParseNumber(word);
        if (!(skipNulls && IsNull(value))) out.values.push_back(value);
    }
}

}  // namespace CalcEngine
