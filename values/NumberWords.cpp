#include "values/NumberWords.h"

#include "values/NumberText.h"
#include "values/Object.h"

namespace CalcEngine {

namespace {

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
