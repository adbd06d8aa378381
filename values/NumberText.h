// The text form of numbers inside values. Within a call the current context
// decides (its decimal separator, its answer to "NULL"); without a context
// (unit tests, start-up) '.' is the separator and "NULL" reads as null.
#pragma once

#include "values/Text.h"

namespace CalcEngine {

// Appends "NULL" for null, else the number with at most 4 decimals.
void FormatNumber(double value, WString& out);
// The number in `text`; "NULL" gives the null value or, where the context
// forbids it, raises NullValueException.
double ParseNumber(const WString& text);

}  // namespace CalcEngine
