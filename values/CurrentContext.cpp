#include "values/ICalcContext.h"

namespace CalcEngine {

// One thread-local read per access: the slot is reached on every node.
thread_local ICalcContext* currentContext __attribute__((tls_model("initial-exec"))) = nullptr;

void SetCurrentContext(ICalcContext* context) { currentContext = context; }

CurrentContextScope::CurrentContextScope(ICalcContext* context) : saved(currentContext) {
    currentContext = context;
}

CurrentContextScope::~CurrentContextScope() { currentContext = saved; }

}  // namespace CalcEngine
