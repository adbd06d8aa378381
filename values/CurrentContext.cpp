#include "values/ICalcContext.h"

namespace CalcEngine {

// One thread-local read per access (initial-exec: see CMakeLists.txt): the
// slot is reached on every node.
thread_local constinit ICalcContext* currentContext = nullptr;

void ICalcContext::QuotaExceeded() { throw CalculationQuotaExceededException(); }

void SetCurrentContext(ICalcContext* context) { currentContext = context; }

SeparatorOverride::SeparatorOverride(ICalcContext& context, int index, char16_t character)
    : context(context),
      first(index == FirstThree ? ICalcContext::DecimalIndex : index),
      count(index == FirstThree ? 3 : 1) {
    for (int i = 0; i < count; ++i) saved[i] = context.ExchangeSeparator(first + i, character);
}

SeparatorOverride::~SeparatorOverride() {
    for (int i = 0; i < count; ++i) context.ExchangeSeparator(first + i, saved[i]);
}

}  // namespace CalcEngine
