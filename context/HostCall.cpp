#include "context/HostCall.h"

namespace CalcEngine {

thread_local constinit FaultFrame* innermostFaultFrame = nullptr;

}  // namespace CalcEngine
