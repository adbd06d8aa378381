#include "values/ICalcContext.h"

namespace CalcEngine {

// One thread-local read per access (initial-exec: see CMakeLists.txt): the
// slot is reached on every node.
thread_local constinit ICalcContext* currentContext = nullptr;

void SetCurrentContext(ICalcContext* context) { currentContext = context; }

}  // namespace CalcEngine
