#include "interface/FaultGuard.h"

#include <dlfcn.h>
#include <setjmp.h>
#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "context/CalcClient.h"
#include "context/FactoryPool.h"
#include "interface/PrepareLock.h"
#include "values/DivisionFault.h"
#include "values/ICalcContext.h"

using namespace CalcEngine;

namespace {

// What a faulting call leaves behind on its thread and the guard restores:
// the frames it skipped could not.
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

struct GuardFrame {
    sigjmp_buf jump;
    GuardFrame* previous;
    int signal;
    int code;
    void* address;
};

thread_local GuardFrame* activeGuard = nullptr;

constexpr int guardedSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};
struct sigaction previousActions[NSIG];

void OnFault(int signal, siginfo_t* info, void* machineContext) {
    if (GuardFrame* frame = activeGuard) {
        frame->signal = signal;
        frame->code = info->si_code;
        frame->address = info->si_addr;
        siglongjmp(frame->jump, 1);
    }
    // Not inside a guarded call: hand the fault to whoever had it before.
    const struct sigaction& previous = previousActions[signal];
    if (previous.sa_flags & SA_SIGINFO)
        previous.sa_sigaction(signal, info, machineContext);
    else if (previous.sa_handler == SIG_DFL)
        ::signal(signal, SIG_DFL);  // the fault repeats and takes its default course
    else if (previous.sa_handler != SIG_IGN)
        previous.sa_handler(signal);
}

bool InstallHandlers() {
    struct sigaction action {};
    action.sa_sigaction = OnFault;
    // SA_NODEFER leaves the signal unblocked in the handler, so jumping out
    // of it needs no saved signal mask (saving one costs a system call).
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    sigemptyset(&action.sa_mask);
    for (int signal : guardedSignals) sigaction(signal, &action, &previousActions[signal]);
    return true;
}

// A stack overflow can only be reported from another stack: give the thread
// an alternate signal stack unless it has one.
class AlternateStack {
public:
    AlternateStack() {
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
    ~AlternateStack() {
        if (!memory) return;
        stack_t off{};
        off.ss_flags = SS_DISABLE;
        sigaltstack(&off, nullptr);
        std::free(memory);
    }

private:
    void* memory = nullptr;
};

struct FaultName {
    int signal;
    int code;  // the si_code that tells SIGFPE's kinds apart; 0 for any
    const char16_t* name;
    uint32_t exceptionCode;
};

// The names and codes by which the host's reports know each fault.
constexpr FaultName faultNames[] = {
    {SIGSEGV, 0, u"ACCESS_VIOLATION", 0xC0000005},
    {SIGBUS, 0, u"IN_PAGE_ERROR", 0xC0000006},
    {SIGILL, 0, u"ILLEGAL_INSTRUCTION", 0xC000001D},
    {SIGFPE, FPE_INTDIV, u"INT_DIVIDE_BY_ZERO", 0xC0000094},
    {SIGFPE, FPE_INTOVF, u"INT_OVERFLOW", 0xC0000095},
    {SIGFPE, FPE_FLTDIV, u"FLT_DIVIDE_BY_ZERO", 0xC000008E},
    {SIGFPE, FPE_FLTOVF, u"FLT_OVERFLOW", 0xC0000091},
    {SIGFPE, FPE_FLTUND, u"FLT_UNDERFLOW", 0xC0000093},
    {SIGFPE, FPE_FLTRES, u"FLT_INEXACT_RESULT", 0xC000008F},
    {SIGFPE, 0, u"FLT_INVALID_OPERATION", 0xC0000090},
};

const FaultName& NameSignal(int signal, int code) {
    for (const FaultName& fault : faultNames) {
        if (fault.signal == signal && (fault.code == 0 || fault.code == code)) return fault;
    }
    return faultNames[0];
}

WString Hex(uint64_t value, bool padded) {
    char buffer[24];
    std::snprintf(buffer, sizeof buffer, padded ? "0x%016llx" : "0x%llx",
                  static_cast<unsigned long long>(value));
    return Widen(buffer);
}

WString ExceptionLine(const char16_t* name, uint32_t code) {
    return WString(u"Exception: ") + name + u" (" + Hex(code, true) + u")\r\n";
}

// "Fault address: <low 32 bits> \t<offset in module> \t<module path>".
WString FaultAddressLine(void* address) {
    Dl_info module{};
    bool located = address && dladdr(address, &module) && module.dli_fname;
    uint64_t offset = located ? reinterpret_cast<uintptr_t>(address) -
                                    reinterpret_cast<uintptr_t>(module.dli_fbase)
                              : 0;
    return u"Fault address: " + Hex(reinterpret_cast<uintptr_t>(address) & 0xFFFFFFFFu, true) +
           u" \t0:" + Hex(offset, false) + u" \t" +
           (located ? FromUtf8(module.dli_fname) : WString()) + u"\r\n";
}

WString DescribeSignal(const GuardFrame& frame) {
    const FaultName& fault = NameSignal(frame.signal, frame.code);
    return ExceptionLine(fault.name, fault.exceptionCode) + FaultAddressLine(frame.address) +
           u"\r\n";
}

// Called inside a catch handler: names the exception being handled.
WString DescribeCurrentException() {
    try {
        throw;
    } catch (const DivisionFault&) {
        return ExceptionLine(u"INT_DIVIDE_BY_ZERO", 0xC0000094) + u"\r\n";
    } catch (const std::exception& e) {
        return ExceptionLine(u"C++ exception", 0xE06D7363) + FromUtf8(e.what()) + u"\r\n\r\n";
    } catch (...) {
        return ExceptionLine(u"C++ exception", 0xE06D7363) + u"\r\n";
    }
}

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
    thread_local AlternateStack alternateStack;
    (void)alternateStack;

    const ThreadState state = ThreadState::Now();
    GuardFrame frame;
    frame.previous = activeGuard;
    if (sigsetjmp(frame.jump, 0) == 0) {
        activeGuard = &frame;
        try {
            int32_t result = work(data);
            activeGuard = frame.previous;
            return result;
        } catch (...) {
            activeGuard = frame.previous;
            WriteReport(client, DescribeCurrentException());
        }
    } else {
        activeGuard = frame.previous;
        state.Restore();
        WriteReport(client, DescribeSignal(frame));
    }
    return ORDODLL_RESULT_UNHANDLED_EXCEPTION;
}
