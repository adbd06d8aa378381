// Calls into the host's code, and the frames that a fault jumps back to.
//
// A fault (a wild pointer, a stack overflow) is caught by the fault guard's
// signal handler, which records it and jumps to the innermost frame of its
// thread. A frame is pushed by the guard of each exported call and by each
// call into the host's code. A fault in the host's code jumps back to the
// call that entered it; from there a HostFault exception unwinds the
// library's own frames, so that every value they held is released and every
// lock and factory given back, and the guard of the exported call reports
// the fault. Only a fault in the library's own code jumps to that guard
// directly.
#pragma once

#include <setjmp.h>

#include <cstddef>
#include <cstdint>

namespace CalcEngine {

// One frame of the faulting stack: its instruction and stack pointers.
struct StackFrame {
    uintptr_t pc;
    uintptr_t sp;
};

// What the signal handler records of a fault.
struct FaultRecord {
    static constexpr size_t MaxFrames = 64;

    int signal;
    int code;               // the signal's si_code
    uintptr_t instruction;  // where the fault happened
    void* address;          // the address it touched
    bool stackOverflow;
    size_t depth;  // frames walked from the faulting instruction; 0: no walk
    StackFrame frames[MaxFrames];
};

// A place for a fault on this thread to jump back to.
struct FaultFrame {
    sigjmp_buf jump;
    FaultFrame* previous;
    bool hostCode;  // a call into the host's code, not the guard of an export
    FaultRecord record;
};

// The innermost frame of this thread, or null.
extern thread_local FaultFrame* innermostFaultFrame;

// Raised once a fault in the host's code has jumped back to the library.
class HostFault {
public:
    explicit HostFault(const FaultRecord& record) : record(record) {}
    FaultRecord record;
};

// Runs `call(data)`, the host's code, inside a frame of its own.
int32_t RunHostCode(int32_t (*call)(void*), void* data);

// Calls the host's `callback` with `arguments`; a fault inside raises
// HostFault, an exception passes through.
template <class... Parameters, class... Arguments>
int32_t CallHost(int32_t (*callback)(Parameters...), Arguments... arguments) {
    auto call = [&] { return callback(arguments...); };
    using Call = decltype(call);
    return RunHostCode([](void* data) { return (*static_cast<Call*>(data))(); }, &call);
}

}  // namespace CalcEngine
