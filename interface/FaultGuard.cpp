#include "interface/FaultGuard.h"

#include <pthread.h>
#include <signal.h>
#include <ucontext.h>

#define UNW_LOCAL_ONLY
#include <libunwind.h>

#include <cstdlib>

#include "context/CalcClient.h"
#include "context/FactoryPool.h"
#include "context/HostCall.h"
#include "interface/CrashReport.h"
#include "interface/PrepareLock.h"
#include "values/ICalcContext.h"

using namespace CalcEngine;

namespace {

// Under a sanitizer the guard takes only faults in the host's code.
#ifdef ORDO_UNDER_SANITIZER
constexpr bool guardsLibraryCode = false;
#else
constexpr bool guardsLibraryCode = true;
#endif

// What a fault in the library's own code leaves behind on its thread and
// the guard restores: the frames it skipped could not.
struct ThreadState {
    size_t locksHeld;
    size_t factoriesBorrowed;
    ICalcContext* context;

    static ThreadState Now() {
        return {PrepareLock::HeldOnThisThread(), BorrowedOnThisThread(), CurrentContext()};
    }
    void Restore() const {
        ReturnBorrowedBeyond(factoriesBorrowed);
        SetCurrentContext(context);
        PrepareLock::ReleaseBeyond(locksHeld);
    }
};

// The lowest address of this thread's stack, below which a fault is a stack
// overflow; 0 where the thread's stack is unknown.
thread_local uintptr_t stackLimit = 0;

constexpr uintptr_t StackGuardZone = 1 << 20;

bool IsStackOverflow(const void* address) {
    const auto touched = reinterpret_cast<uintptr_t>(address);
    return stackLimit != 0 && touched < stackLimit + 4096 && touched + StackGuardZone >= stackLimit;
}

// Walks the stack from the interrupted instruction; libunwind does that
// from a signal frame without allocating.
size_t WalkStack(void* machineContext, StackFrame* frames) {
    unw_cursor_t cursor;
    if (unw_init_local2(&cursor, static_cast<unw_context_t*>(machineContext),
                        UNW_INIT_SIGNAL_FRAME) != 0)
        return 0;
    size_t depth = 0;
    do {
        unw_word_t pc = 0, sp = 0;
        if (unw_get_reg(&cursor, UNW_REG_IP, &pc) != 0 || pc == 0) break;
        unw_get_reg(&cursor, UNW_REG_SP, &sp);
        frames[depth++] = {pc, sp};
    } while (depth < FaultRecord::MaxFrames && unw_step(&cursor) > 0);
    return depth;
}

void Record(FaultRecord& fault, int signal, const siginfo_t& info, void* machineContext) {
    fault.signal = signal;
    fault.code = info.si_code;
    fault.address = info.si_addr;
    fault.instruction = static_cast<uintptr_t>(
        static_cast<ucontext_t*>(machineContext)->uc_mcontext.gregs[REG_RIP]);
    fault.stackOverflow = signal == SIGSEGV && IsStackOverflow(info.si_addr);
    fault.depth = WalkStack(machineContext, fault.frames);
}

constexpr int guardedSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};
struct sigaction previousActions[NSIG];

void OnFault(int signal, siginfo_t* info, void* machineContext) {
    FaultFrame* frame = innermostFaultFrame;
    if (frame && (frame->hostCode || guardsLibraryCode)) {
        Record(frame->record, signal, *info, machineContext);
        // The jump skips the return from the handler that would restore the
        // interrupted code's signal mask. The handler itself blocks nothing,
        // but a runtime that wraps handlers (a sanitizer's) may have.
        pthread_sigmask(SIG_SETMASK, &static_cast<ucontext_t*>(machineContext)->uc_sigmask,
                        nullptr);
        ORDO_LONG_JUMP(frame->jump);
    }
    // Not ours to take: hand the fault to whoever had it before.
    const struct sigaction& previous = previousActions[signal];
    if (previous.sa_flags & SA_SIGINFO)
        previous.sa_sigaction(signal, info, machineContext);
    else if (previous.sa_handler == SIG_DFL)
        ::signal(signal, SIG_DFL);  // the fault repeats and takes its default course
    else if (previous.sa_handler != SIG_IGN)
        previous.sa_handler(signal);
}

// Lets libunwind set up its global state now, on one thread, rather than in
// the first handler; later walks keep their caches per thread, so that no
// walk waits for another's lock.
void PrepareStackWalk() {
    unw_set_caching_policy(unw_local_addr_space, UNW_CACHE_PER_THREAD);
    unw_context_t here;
    unw_cursor_t cursor;
    if (unw_getcontext(&here) == 0 && unw_init_local(&cursor, &here) == 0) unw_step(&cursor);
}

bool InstallHandlers() {
    PrepareStackWalk();
    struct sigaction action {};
    action.sa_sigaction = OnFault;
    // SA_NODEFER leaves the signal unblocked in the handler, so jumping out
    // of it needs no saved signal mask (saving one costs a system call).
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    sigemptyset(&action.sa_mask);
    for (int signal : guardedSignals) sigaction(signal, &action, &previousActions[signal]);
    return true;
}

// A stack overflow can only be handled on another stack: the thread gets an
// alternate signal stack unless it has one. It also learns where its stack
// ends.
class ThreadSetup {
public:
    ThreadSetup() {
        FindStackLimit();
        stack_t current;
        if (sigaltstack(nullptr, &current) != 0 || !(current.ss_flags & SS_DISABLE)) return;
        stack_t own{};
        own.ss_size = 64 * 1024;
        own.ss_sp = memory = std::malloc(own.ss_size);
        if (memory && sigaltstack(&own, nullptr) != 0) {
            std::free(memory);
            memory = nullptr;
        }
    }
    ~ThreadSetup() {
        if (!memory) return;
        stack_t off{};
        off.ss_flags = SS_DISABLE;
        sigaltstack(&off, nullptr);
        std::free(memory);
    }
    ThreadSetup(const ThreadSetup&) = delete;
    ThreadSetup& operator=(const ThreadSetup&) = delete;

private:
    static void FindStackLimit() {
        pthread_attr_t attributes;
        if (pthread_getattr_np(pthread_self(), &attributes) != 0) return;
        void* lowest = nullptr;
        size_t size = 0;
        if (pthread_attr_getstack(&attributes, &lowest, &size) == 0)
            stackLimit = reinterpret_cast<uintptr_t>(lowest);
        pthread_attr_destroy(&attributes);
    }

    void* memory = nullptr;
};

// The report must not prevent the result code: a failing log is ignored.
void WriteReport(CalcClient* client, const WString& report) {
    if (client && client->writeLogEntry)
        client->writeLogEntry(report.c_str(), ORDODLL_LOG_ENTRY_PRIORITY_CRITICAL_ERROR);
}

}  // namespace

int32_t RunGuarded(CalcClient* client, int32_t (*work)(void*), void* data) {
    // Once per process, at the first guarded call: a library that is only
    // loaded leaves the host's handlers alone.
    static const bool installed = InstallHandlers();
    (void)installed;
    thread_local ThreadSetup threadSetup;

    const ThreadState state = ThreadState::Now();
    FaultFrame frame;
    frame.previous = innermostFaultFrame;
    frame.hostCode = false;
    if (ORDO_SET_JUMP(frame.jump) == 0) {
        innermostFaultFrame = &frame;
        try {
            int32_t result = work(data);
            innermostFaultFrame = frame.previous;
            return result;
        } catch (const HostFault& fault) {
            // The library's frames have been unwound: nothing to restore.
            innermostFaultFrame = frame.previous;
            WriteReport(client, DescribeFault(fault.record));
        } catch (...) {
            innermostFaultFrame = frame.previous;
            WriteReport(client, DescribeCurrentException());
        }
    } else {
        innermostFaultFrame = frame.previous;
        state.Restore();
        WriteReport(client, DescribeFault(frame.record));
    }
    return ORDODLL_RESULT_UNHANDLED_EXCEPTION;
}
