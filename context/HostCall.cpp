#include "context/HostCall.h"

namespace CalcEngine {

thread_local FaultFrame* innermostFaultFrame = nullptr;

int32_t RunHostCode(int32_t (*call)(void*), void* data) {
    FaultFrame frame;
    frame.previous = innermostFaultFrame;
    frame.hostCode = true;
    if (sigsetjmp(frame.jump, 0) != 0) {
        innermostFaultFrame = frame.previous;
        throw HostFault(frame.record);
    }
    innermostFaultFrame = &frame;
    // Also when the host's code throws.
    struct Leave {
        FaultFrame* previous;
        ~Leave() { innermostFaultFrame = previous; }
    } leave{frame.previous};
    return call(data);
}

}  // namespace CalcEngine
