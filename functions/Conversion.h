// Number/text conversion: the fixed-point writer and the lenient number
// reader beneath the calculation context's number format, and the
// conversion builtins built on them.
#pragma once

#include "values/Text.h"

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

}  // namespace CalcEngine
