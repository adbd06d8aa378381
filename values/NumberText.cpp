#include "values/NumberText.h"

#include "context/ICalcContext.h"
#include "functions/Conversion.h"
#include "values/Object.h"

namespace CalcEngine {

namespace {
constexpr int Decimals = 4;
}  // namespace

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

}  // namespace CalcEngine
