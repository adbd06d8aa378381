// Numbers as text, in one place: the fixed-point writer and the lenient
// reader beneath every number format of the engine, the context's forms of
// them, and numbers read word by word out of a text.
//
// Within a call the current context decides the form (its decimal
// separator, its answer to "NULL"); without a context (unit tests,
// start-up) '.' is the separator and "NULL" reads as null.
#pragma once

#include "values/Text.h"
#include "values/Vectors.h"

namespace CalcEngine {

// Appends `value` with at most `decimals` decimals (trailing zeros cut),
// the integer part padded with zeros to `leadingZeros` digits. A separator
// of 0 means '.'.
void FormatFixed(WString& out, double value, int decimals, int leadingZeros, char16_t separator);

// Reads a number out of any text: characters before the first digit, '-' or
// separator are skipped, and later characters that are neither digits, the
// separator nor an exponent mark are passed over. Never fails; the empty
// text gives 0. A separator of 0 means '.'.
double TextToNumber(const WString& text, char16_t separator);

// Appends "NULL" for null, else the number with at most 4 decimals.
void FormatNumber(double value, WString& out);
// The number in `text`; "NULL" gives the null value or, where the context
// forbids it, raises NullValueException.
double ParseNumber(const WString& text);

// Words separated by white space, each read as ParseNumber reads it, the
// way a wide stream reads numbers.
// The number of the first word; a text without words reads as the empty text.
double ReadNumber(const WString& text);
// Appends the number of each word to `out`, leaving out nulls when
// `skipNulls` is set.
void ReadNumbers(const WString& text, DoubleVector& out, bool skipNulls);

}  // namespace CalcEngine
