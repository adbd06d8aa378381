// Conversion functions: numbers to text (Text with the fixed-point writer,
// Format with one printf conversion) and text to numbers (Value), and any
// value to its text (ToString).
//
// Format hands a format string that comes from a formula to the C runtime,
// so it accepts only what cannot reach beyond its one double argument:
// exactly one conversion of a double, with bounded width and precision.
#include <algorithm>
#include <clocale>
#include <cstdio>
#include <string>
#include <string_view>

#include "functions/ArgumentToolkit.h"
#include "functions/FunctionRegistry.h"
#include "values/NumberText.h"

namespace CalcEngine {

namespace {

// The first character of the text of parameter `place` where the call has it
// and it has a value; 0 (no separator) otherwise and for an empty text.
char16_t SeparatorIfEvaluated(const ArgumentList& arguments, size_t place) {
    if (place >= arguments.size() || !arguments[place].value) return 0;
    const WString text = TextArgument(arguments[place], place);
    return text.empty() ? 0 : text[0];
}

// Text(number [, decimals (2), leading zeros (1), separator]). A number of
// leading zeros beyond the longest text is refused before it is written.
Object* TextFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const int32_t decimals = IntIfEvaluated(arguments, 1, 2);
    const int32_t leadingZeros = IntIfEvaluated(arguments, 2, 1);
    const char16_t separator = SeparatorIfEvaluated(arguments, 3);
    const double value = NumberArgument(arguments[0], 0);
    if (leadingZeros > 0) CheckTextLength(static_cast<size_t>(leadingZeros));
    WString text;
    FormatFixed(text, value, decimals, leadingZeros, separator);
    return NewText(environment, text);
}

// The widest field and the most digits a conversion of Format may ask for.
constexpr int MaxFormatField = 400;
// Room for any accepted conversion: a sign, the 309 integer digits of the
// largest double, the point and MaxFormatField digits, or an exponent form,
// which is shorter; a width only pads up to MaxFormatField.
constexpr size_t ConvertedSize = 1 + 309 + 1 + MaxFormatField + 16;

// A format split around its one conversion: the literal text before and
// after it, with "%%" already made "%", and the conversion in the C
// runtime's terms, such as "%-08.2f".
struct FormatPlan {
    WString before;
    std::string conversion;
    WString after;
};

bool IsAsciiDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

bool IsOneOf(char16_t c, std::u16string_view set) { return set.find(c) != set.npos; }

// Copies the digits at `pos` to `conversion`; false when they give a number
// above MaxFormatField.
bool CopyField(const WString& format, size_t& pos, std::string& conversion) {
    int value = 0;
    for (; pos < format.size() && IsAsciiDigit(format[pos]); ++pos) {
        value = value * 10 + (format[pos] - u'0');
        if (value > MaxFormatField) return false;
        conversion += static_cast<char>(format[pos]);
    }
    return true;
}

// Reads the conversion whose '%' stands at `pos` into `conversion`, leaving
// `pos` at its last character: flags, width, precision and one of the
// conversions of a double. False for anything else: a '*' width, a length
// modifier, a conversion of another type.
bool ReadConversion(const WString& format, size_t& pos, std::string& conversion) {
    conversion = "%";
    for (++pos; pos < format.size() && IsOneOf(format[pos], u"-+ #0"); ++pos)
        conversion += static_cast<char>(format[pos]);
    if (!CopyField(format, pos, conversion)) return false;
    if (pos < format.size() && format[pos] == u'.') {
        conversion += '.';
        if (!CopyField(format, ++pos, conversion)) return false;
    }
    if (pos == format.size() || !IsOneOf(format[pos], u"eEfFgGaA")) return false;
    conversion += static_cast<char>(format[pos]);
    return true;
}

[[noreturn]] void RaiseUnsupportedFormat(const WString& format) {
    RaiseRuntimeError(u"format \"" + format +
                      u"\" not supported: it must hold exactly one conversion of a number "
                      u"(%e, %E, %f, %F, %g, %G, %a or %A, width and precision at most 400)");
}

// Splits `format` around its conversion; raises unless it holds exactly one
// acceptable conversion.
FormatPlan PlanFormat(const WString& format) {
    FormatPlan plan;
    bool converted = false;
    for (size_t pos = 0; pos < format.size(); ++pos) {
        WString& literal = converted ? plan.after : plan.before;
        if (format[pos] != u'%') {
            literal += format[pos];
        } else if (pos + 1 < format.size() && format[pos + 1] == u'%') {
            literal += u'%';
            ++pos;
        } else if (converted || !ReadConversion(format, pos, plan.conversion)) {
            RaiseUnsupportedFormat(format);
        } else {
            converted = true;
        }
    }
    if (!converted) RaiseUnsupportedFormat(format);
    return plan;
}

// The C runtime's conversion of `value` in the "C" locale, whatever locale
// the host process has set: the decimal point is always '.'.
std::string Convert(const std::string& conversion, double value) {
    static const locale_t classic = newlocale(LC_ALL_MASK, "C", nullptr);
    const locale_t saved = uselocale(classic);
    char buffer[ConvertedSize];
    const int length = std::snprintf(buffer, sizeof buffer, conversion.c_str(), value);
    uselocale(saved);
    return std::string(buffer, length < 0 ? 0 : std::min<size_t>(length, sizeof buffer - 1));
}

// Format(format, number [, separator]): the separator replaces every '.' of
// the result, those of the format's own text included.
Object* FormatFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const char16_t separator = SeparatorIfEvaluated(arguments, 2);
    const WString format = TextArgument(arguments[0], 0);
    const double value = NumberArgument(arguments[1], 1);
    const FormatPlan plan = PlanFormat(format);
    WString text = plan.before + Widen(Convert(plan.conversion, value)) + plan.after;
    if (separator != 0) std::replace(text.begin(), text.end(), u'.', separator);
    return NewText(environment, text);
}

// Value(text [, separator]): with a separator, its first character is the
// context's decimal separator while the text is read, and is restored also
// when reading fails.
Object* ValueFunc(ICalcContext& context, Environment& environment, ArgumentList& arguments) {
    if (arguments.size() < 2) return NewNumber(environment, NumberArgument(arguments[0], 0));
    const WString separator = TextArgument(arguments[1], 1);
    if (separator.empty())
        RaiseRuntimeError(u"Empty string not allowed as a separator in Value-function.");
    SeparatorOverride decimal(context, ICalcContext::DecimalIndex, separator[0]);
    return NewNumber(environment, NumberArgument(arguments[0], 0));
}

// Any value's text; no value gives the empty text.
Object* ToStringFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    WString text;
    if (arguments[0].value) arguments[0].value->GetText(text);
    return NewText(environment, text);
}

constexpr uint8_t Pure = ICalcFunction::Pure;

constexpr BuiltinEntry entries[] = {
    {u"Conversion", u"Text", nullptr, TextFunc, u"D...",
     u"number to be converted [,decimals(2), leading zeros(1), decimal_separator]", Pure},
    {u"Conversion", u"Format", nullptr, FormatFunc, u"SD.",
     u"format string in (c-language) printf format, number to be formatted as text [, decimal "
     u"separator]",
     Pure},
    {u"Conversion", u"Value", u"ToNumber", ValueFunc, u"S.",
     u"text to be converted [, decimal_separator]", Pure},
    {u"Conversion", u"ToString", nullptr, ToStringFunc, u"?", u"any object", Pure},
};

}  // namespace

const std::span<const BuiltinEntry> conversionFunctions = entries;

}  // namespace CalcEngine
