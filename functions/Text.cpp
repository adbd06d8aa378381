// Text functions: building, cutting, searching and rewriting text. Text is
// counted in 16-bit units; only Upper and Lower know surrogate pairs. Match
// and RemoveString read a text as separated fields. Every text built from a
// count or by joining pieces is held to the library's text limit.
#include <algorithm>
#include <functional>
#include <optional>
#include <string_view>

#include "functions/ArgumentToolkit.h"
#include "functions/FunctionRegistry.h"
#include "values/ObjectFactory.h"

namespace CalcEngine {

namespace {

constexpr std::u16string_view MatchTooShort = u"MATCH-RESULT-LIST-TOO-SHORT";

// The text of parameter `index`, or `fallback` when the call has fewer.
WString OptionalText(const ArgumentList& arguments, size_t index, const WString& fallback) {
    return index < arguments.size() ? TextArgument(arguments[index], index) : fallback;
}

// Appends `piece` unless the text would pass the limit.
void AppendChecked(WString& text, std::u16string_view piece) {
    CheckTextLength(text.size() + piece.size());
    text += piece;
}

// `piece` `count` times; empty for a count of 0 or below.
WString Repeated(std::u16string_view piece, int32_t count) {
    if (count <= 0 || piece.empty()) return WString();
    const size_t length = piece.size() * static_cast<size_t>(count);
    CheckTextLength(length);
    WString text;
    text.reserve(length);
    for (int32_t i = 0; i < count; ++i) text += piece;
    return text;
}

// A field of a text read as separated fields.
struct Field {
    std::u16string_view text;
    bool quoted;
};

// The field of `text` that begins at `pos`, none at the end of the text;
// `pos` moves behind the separator after it. A field that opens with a
// double quote runs to the next one, without the quotes, and what stands
// between that quote and the separator is skipped; a quote never closed
// ends with the text.
std::optional<Field> NextField(std::u16string_view text, size_t& pos, char16_t separator) {
    constexpr size_t npos = std::u16string_view::npos;
    if (pos >= text.size()) return std::nullopt;
    Field field{{}, text[pos] == u'"'};
    size_t end;
    if (field.quoted) {
        const size_t close = text.find(u'"', pos + 1);
        field.text = text.substr(pos + 1, close == npos ? npos : close - pos - 1);
        end = close == npos ? npos : text.find(separator, close + 1);
    } else {
        end = text.find(separator, pos);
        field.text = text.substr(pos, end == npos ? npos : end - pos);
    }
    pos = end == npos ? text.size() : end + 1;
    return field;
}

// Field `number` (1-based) of `list`; empty when there is none.
std::u16string_view FieldAt(std::u16string_view list, size_t number, char16_t separator) {
    size_t pos = 0;
    for (size_t i = 1; auto field = NextField(list, pos, separator); ++i) {
        if (i == number) return field->text;
    }
    return {};
}

// Joins the items of every further parameter with the delimiter. While the
// items are split and formatted, the delimiter's first character stands for
// the first three separators of the context; an empty delimiter changes none.
Object* ConcatToStringFunc(ICalcContext& context, Environment& environment,
                           ArgumentList& arguments) {
    const WString delimiter = TextArgument(arguments[0], 0);
    std::optional<SeparatorOverride> separators;
    if (!delimiter.empty())
        separators.emplace(context, SeparatorOverride::FirstThree, delimiter[0]);
    WString result;
    bool first = true;
    StringVector items;
    for (size_t i = 1; i < arguments.size(); ++i) {
        RequireArgument(arguments[i], i);
        items.clear();
        arguments[i].value->AppendToStrings(items);
        for (const WString& item : items) {
            if (!first) AppendChecked(result, delimiter);
            AppendChecked(result, item);
            first = false;
        }
    }
    return NewText(environment, result);
}

// A missing parameter is reported as the 1st, wherever it stands.
Object* ConcatenateFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    WString result;
    for (const FunctionArgument& argument : arguments)
        AppendChecked(result, TextArgument(argument, 0));
    return NewText(environment, result);
}

// How many units Left and Right take: all for a count at or past the length
// and for a negative one, which as an unsigned number passes every length.
size_t TakenCount(const WString& text, int32_t count) {
    return std::min(text.size(), static_cast<size_t>(count));
}

Object* LeftFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const WString text = TextArgument(arguments[0], 0);
    return NewText(environment, text.substr(0, TakenCount(text, IntArgument(arguments[1], 1))));
}

Object* RightFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const WString text = TextArgument(arguments[0], 0);
    return NewText(environment,
                   text.substr(text.size() - TakenCount(text, IntArgument(arguments[1], 1))));
}

// `start` counts from 1; a start outside the text or a count below 1 gives
// an empty text.
Object* MidFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const WString text = TextArgument(arguments[0], 0);
    const int32_t start = IntArgument(arguments[1], 1);
    const int32_t count = IntArgument(arguments[2], 2);
    if (count < 1 || start < 1 || static_cast<size_t>(start) > text.size())
        return NewText(environment, WString());
    return NewText(environment, text.substr(static_cast<size_t>(start) - 1, count));
}

// The low 16 bits of the code, once or `count` times.
Object* CharFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const auto unit = static_cast<char16_t>(IntArgument(arguments[0], 0));
    return NewText(environment, Repeated({&unit, 1}, OptionalInt(arguments, 1, 1)));
}

Object* AsciiFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const WString text = TextArgument(arguments[0], 0);
    return NewNumber(environment, text.empty() ? 0 : text[0]);
}

Object* LengthFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return NewNumber(environment, static_cast<double>(TextArgument(arguments[0], 0).size()));
}

// The 1-based position of the needle from `start` on, 0 when absent. An
// empty needle is found at `start` unless that lies past the end.
Object* FindFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const WString needle = TextArgument(arguments[0], 0);
    const WString text = TextArgument(arguments[1], 1);
    const int32_t start = OptionalInt(arguments, 2, 1);
    if (start < 1) return NewNumber(environment, 0);
    const size_t found = text.find(needle, static_cast<size_t>(start) - 1);
    return NewNumber(environment, found == WString::npos ? 0 : static_cast<double>(found) + 1);
}

// The position of each lookup field in the list, or the field of the result
// list at that position. One lookup field gives the number itself, or the
// result field; several give a text joined with the delimiter, where a
// missing result field is marked.
Object* MatchFunc(ICalcContext& context, Environment& environment, ArgumentList& arguments) {
    const WString lookup = TextArgument(arguments[0], 0);
    const WString list = TextArgument(arguments[1], 1);
    const WString results = OptionalText(arguments, 2, WString());
    const WString delimiter = OptionalText(arguments, 3, u",");
    const char16_t separator = context.GetSeparator3();
    size_t pos = 0;
    std::optional<Field> field = NextField(lookup, pos, separator);
    if (pos >= lookup.size()) {
        const size_t position = CsvPosition(field ? field->text : std::u16string_view(), list);
        if (results.empty()) return NewNumber(environment, static_cast<double>(position));
        return NewText(environment, WString(FieldAt(results, position, separator)));
    }
    WString result;
    for (; field; field = NextField(lookup, pos, separator)) {
        const size_t position = CsvPosition(field->text, list);
        if (!result.empty()) AppendChecked(result, delimiter);
        if (results.empty()) {
            AppendChecked(result, ToDecimal(static_cast<long long>(position)));
        } else {
            const std::u16string_view found = FieldAt(results, position, separator);
            AppendChecked(result, found.empty() ? MatchTooShort : found);
        }
    }
    return NewText(environment, result);
}

Object* UpperFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return NewText(environment, ToUpperCase(TextArgument(arguments[0], 0)));
}

Object* LowerFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return NewText(environment, ToLowerCase(TextArgument(arguments[0], 0)));
}

// Trims blanks, tabs, carriage returns, line feeds and the given characters:
// direction 1 at the left, 2 at the right, anything else at both ends.
Object* TrimFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const WString text = TextArgument(arguments[0], 0);
    const int32_t direction = OptionalInt(arguments, 1, 3);
    const WString trimmed = u" \t\r\n" + OptionalText(arguments, 2, WString());
    size_t begin = 0;
    size_t end = text.size();
    if (direction != 2) begin = std::min(text.find_first_not_of(trimmed), end);
    if (direction != 1) {
        const size_t last = text.find_last_not_of(trimmed);
        end = last == WString::npos ? 0 : last + 1;
    }
    return NewText(environment, begin < end ? text.substr(begin, end - begin) : WString());
}

// Each character found in `from` becomes the one at the same place in `to`,
// or goes when `to` is too short.
Object* TranslateCharactersFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const WString text = TextArgument(arguments[0], 0);
    const WString from = TextArgument(arguments[1], 1);
    const WString to = TextArgument(arguments[2], 2);
    WString result;
    result.reserve(text.size());
    for (char16_t c : text) {
        const size_t at = from.find(c);
        if (at == WString::npos) {
            result += c;
        } else if (at < to.size()) {
            result += to[at];
        }
    }
    return NewText(environment, result);
}

// Replaces each occurrence of `from`, scanning on behind the replacement.
Object* TranslateStringFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const WString text = TextArgument(arguments[0], 0);
    const WString from = TextArgument(arguments[1], 1);
    const WString to = TextArgument(arguments[2], 2);
    if (from.empty()) return NewText(environment, text);
    const std::u16string_view source = text;
    WString result;
    size_t done = 0;
    for (size_t hit = text.find(from); hit != WString::npos; hit = text.find(from, done)) {
        AppendChecked(result, source.substr(done, hit - done));
        AppendChecked(result, to);
        done = hit + from.size();
    }
    AppendChecked(result, source.substr(done));
    return NewText(environment, result);
}

// The list without every field equal to the item; an item in double quotes
// is compared without them. The fields left are joined with the delimiter,
// quoted ones in their quotes again. The delimiter's first character
// separates the fields; without one, the context's item separator does.
Object* RemoveStringFunc(ICalcContext& context, Environment& environment, ArgumentList& arguments) {
    const WString item = TextArgument(arguments[0], 0);
    const WString list = TextArgument(arguments[1], 1);
    const WString delimiter = OptionalText(arguments, 2, WString(1, context.GetSeparator3()));
    const char16_t separator = delimiter.empty() ? context.GetSeparator3() : delimiter[0];
    std::u16string_view value = item;
    if (value.size() >= 2 && value.front() == u'"' && value.back() == u'"')
        value = value.substr(1, value.size() - 2);
    WString result;
    bool first = true;
    size_t pos = 0;
    while (std::optional<Field> field = NextField(list, pos, separator)) {
        if (field->text == value) continue;
        if (!first) AppendChecked(result, delimiter);
        first = false;
        const WString text(field->text);
        AppendChecked(result, field->quoted ? u'"' + text + u'"' : text);
    }
    return NewText(environment, result);
}

// The text that no other beats by `better`, compared unit by unit. A
// missing parameter is reported as the 1st, wherever it stands.
template <class Better>
Object* BestText(Environment& environment, const ArgumentList& arguments, Better better) {
    WString best = TextArgument(arguments[0], 0);
    for (size_t i = 1; i < arguments.size(); ++i) {
        WString text = TextArgument(arguments[i], 0);
        if (better(text, best)) best = std::move(text);
    }
    return NewText(environment, best);
}

Object* SMaxFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return BestText(environment, arguments, std::greater<>());
}

Object* SMinFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return BestText(environment, arguments, std::less<>());
}

// A missing count is reported as the 1st parameter.
Object* RepeatFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return NewText(environment,
                   Repeated(TextArgument(arguments[0], 0), IntArgument(arguments[1], 0)));
}

Object* ReverseFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    WString text = TextArgument(arguments[0], 0);
    std::reverse(text.begin(), text.end());
    return NewText(environment, text);
}

constexpr uint8_t Pure = ICalcFunction::Pure;

constexpr BuiltinEntry entries[] = {
    {u"Text", u"ConcatToString", nullptr, ConcatToStringFunc, u"S?*",
     u"delimiter text, list of string items [,more items]", Pure},
    {u"Text", u"Concatenate", nullptr, ConcatenateFunc, u"*", u"items", Pure},
    {u"Text", u"Left", nullptr, LeftFunc, u"SD", u"text, number of chars", Pure},
    {u"Text", u"Right", nullptr, RightFunc, u"SD", u"text, number of chars", Pure},
    {u"Text", u"Mid", nullptr, MidFunc, u"SDD", u"text,start char, number of chars", Pure},
    {u"Text", u"Char", nullptr, CharFunc, u"D.", u"ascii-code [,number of characters]", Pure},
    {u"Text", u"Ascii", nullptr, AsciiFunc, u"S", u"character which ascii code is returned", Pure},
    {u"Text", u"Length", nullptr, LengthFunc, u"S", u"text", Pure},
    {u"Text", u"Find", nullptr, FindFunc, u"SS.",
     u"text to find, within text [, start position(1)]", Pure},
    {u"Text", u"Match", nullptr, MatchFunc, u"SS..",
     u"lookup value, lookup value list [,result value list, delimiter]", Pure},
    {u"Text", u"Upper", nullptr, UpperFunc, u"S", u"text", Pure},
    {u"Text", u"Lower", nullptr, LowerFunc, u"S", u"text", Pure},
    {u"Text", u"Trim", nullptr, TrimFunc, u"S..",
     u"text [, direction(1=left,2=right,3=both(default)),additional characters]", Pure},
    {u"Text", u"TranslateCharacters", nullptr, TranslateCharactersFunc, u"SSS",
     u"text to be translated, original chars, result chars", Pure},
    {u"Text", u"TranslateString", u"Replace", TranslateStringFunc, u"SSS",
     u"text to be translated, original string, result string", Pure},
    {u"Text", u"RemoveString", nullptr, RemoveStringFunc, u"SS.",
     u"string to be removed, original [,delimiter]", Pure},
    {u"Text", u"sMax", nullptr, SMaxFunc, u"S*", u"list of string items [,more items]", Pure},
    {u"Text", u"sMin", nullptr, SMinFunc, u"S*", u"list of string items [,more items]", Pure},
    {u"Text", u"Repeat", nullptr, RepeatFunc, u"SD", u"text, number of repetitions", Pure},
    {u"Text", u"Reverse", nullptr, ReverseFunc, u"S", u"text to be reversed", Pure},
};

}  // namespace

const std::span<const BuiltinEntry> textFunctions = entries;

}  // namespace CalcEngine
