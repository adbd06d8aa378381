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

// A sanitizer reports the library's own faults far better than the fault
// guard, and watches every jump.
#if defined(ORDO_SANITIZED) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ORDO_UNDER_SANITIZER 1
#endif

// Where a fault jumps back to. The frame's registers are kept in a few
// stores made in line: one is made for every call into the host's code, and
// the C library's sigsetjmp costs several times that. The signal mask needs
// no saving, as the handler blocks nothing. Builds under a sanitizer keep
// sigsetjmp, which the sanitizers watch to forget the frames a jump skips,
// and so do builds for shadow stacks, which only the C library's jump
// unwinds.
#if defined(ORDO_UNDER_SANITIZER) || (defined(__CET__) && (__CET__ & 2))
using JumpBuffer = sigjmp_buf;
#define ORDO_SET_JUMP(buffer) sigsetjmp(buffer, 0)
#define ORDO_LONG_JUMP(buffer) siglongjmp(buffer, 1)
#define ORDO_SAVE_CALLER_REGISTERS()
#else
using JumpBuffer = void* [5];
#define ORDO_SET_JUMP(buffer) __builtin_setjmp(buffer)
#define ORDO_LONG_JUMP(buffer) __builtin_longjmp(buffer, 1)
// This jump restores only the frame and stack pointers. A frame that
// unwinds by an exception after it must have saved the other registers its
// caller keeps (the fault may have left anything in them): naming them as
// clobbered makes the compiler save them on entry, where the unwinder finds
// them.
#define ORDO_SAVE_CALLER_REGISTERS() asm volatile("" ::: "rbx", "r12", "r13", "r14", "r15")
#endif

// A place for a fault on this thread to jump back to.
struct FaultFrame {
    JumpBuffer jump;
    FaultFrame* previous;
    bool hostCode;  // a call into the host's code, not the guard of an export
    FaultRecord record;
};

// The innermost frame of this thread, or null.
extern thread_local constinit FaultFrame* innermostFaultFrame;

// Raised once a fault in the host's code has jumped back to the library.
class HostFault {
public:
    explicit HostFault(const FaultRecord& record) : record(record) {}
    FaultRecord record;
};

// Calls the host's `callback` with `arguments` inside a frame of its own;
// a fault inside raises HostFault, an exception passes through. Not inlined:
// the jump needs this call's frame.
template <class... Parameters, class... Arguments>
[[gnu::noinline]] int32_t CallHost(int32_t (*callback)(Parameters...), Arguments... arguments) {
    FaultFrame frame;
    frame.previous = innermostFaultFrame;
    frame.hostCode = true;
    ORDO_SAVE_CALLER_REGISTERS();
    if (ORDO_SET_JUMP(frame.jump) != 0) {
        innermostFaultFrame = frame.previous;
        throw HostFault(frame.record);
    }
    innermostFaultFrame = &frame;
    // Also when the host's code throws.
    struct Leave {
        FaultFrame* previous;
        ~Leave() { innermostFaultFrame = previous; }
    } leave{frame.previous};
    return callback(arguments...);
}

}  // namespace CalcEngine
