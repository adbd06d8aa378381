// Numbers in text the way a wide stream reads them: words separated by
// white space, each word read through the current context's number reader.
#pragma once

#include "values/Text.h"
#include "values/Vectors.h"

namespace CalcEngine {

// The number of the first word; a text without words reads as the empty text.
double ReadNumber(const WString& text);

// Appends the number of each word to `out`, leaving out nulls when
// `skipNulls` is set.
void ReadNumbers(const WString& text, DoubleVector& out, bool skipNulls);

}  // namespace CalcEngine
