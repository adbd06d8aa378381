#include "interface/CrashReport.h"

#include <signal.h>

#include <cstdio>
#include <exception>

#include "interface/Modules.h"
#include "values/DivisionFault.h"

namespace CalcEngine {

namespace {

struct ExceptionName {
    uint32_t code;
    const char16_t* name;
};

// The exception codes that a report names, as hosts know them.
constexpr ExceptionName exceptionNames[] = {
    {0xC0000005, u"ACCESS_VIOLATION"},
    {0xC0000006, u"IN_PAGE_ERROR"},
    {0xC0000008, u"INVALID_HANDLE"},
    {0xC000001D, u"ILLEGAL_INSTRUCTION"},
    {0xC0000025, u"NONCONTINUABLE_EXCEPTION"},
    {0xC0000026, u"INVALID_DISPOSITION"},
    {0xC000008C, u"ARRAY_BOUNDS_EXCEEDED"},
    {0xC000008D, u"FLT_DENORMAL_OPERAND"},
    {0xC000008E, u"FLT_DIVIDE_BY_ZERO"},
    {0xC000008F, u"FLT_INEXACT_RESULT"},
    {0xC0000090, u"FLT_INVALID_OPERATION"},
    {0xC0000091, u"FLT_OVERFLOW"},
    {0xC0000092, u"FLT_STACK_CHECK"},
    {0xC0000093, u"FLT_UNDERFLOW"},
    {0xC0000094, u"INT_DIVIDE_BY_ZERO"},
    {0xC0000095, u"INT_OVERFLOW"},
    {0xC0000096, u"PRIV_INSTRUCTION"},
    {0xC00000FD, u"STACK_OVERFLOW"},
    {0x80000001, u"GUARD_PAGE"},
    {0x80000002, u"DATATYPE_MISALIGNMENT"},
    {0x80000003, u"BREAKPOINT"},
    {0x80000004, u"SINGLE_STEP"},
};

constexpr uint32_t CppExceptionCode = 0xE06D7363;
constexpr uint32_t IntDivideByZeroCode = 0xC0000094;

// The name of a code outside the table is the system's text for it: only
// a C++ exception has one here.
const char16_t* NameOf(uint32_t code) {
    for (const ExceptionName& entry : exceptionNames) {
        if (entry.code == code) return entry.name;
    }
    return code == CppExceptionCode ? u"C++ exception" : u"";
}

// The exception code of a signal and its si_code.
uint32_t CodeOf(const FaultRecord& fault) {
    switch (fault.signal) {
        case SIGSEGV:
            return fault.stackOverflow ? 0xC00000FD : 0xC0000005;
        case SIGBUS:
            return fault.code == BUS_ADRALN ? 0x80000002 : 0xC0000006;
        case SIGILL:
            return fault.code == ILL_PRVOPC || fault.code == ILL_PRVREG ? 0xC0000096 : 0xC000001D;
        case SIGFPE:
            switch (fault.code) {
                case FPE_INTDIV:
                    return IntDivideByZeroCode;
                case FPE_INTOVF:
                    return 0xC0000095;
                case FPE_FLTDIV:
                    return 0xC000008E;
                case FPE_FLTOVF:
                    return 0xC0000091;
                case FPE_FLTUND:
                    return 0xC0000093;
                case FPE_FLTRES:
                    return 0xC000008F;
                case FPE_FLTSUB:
                    return 0xC000008C;
                default:
                    return 0xC0000090;
            }
        default:
            return 0xC0000005;
    }
}

// "0x" and lower-case hexadecimal digits, padded to 16 or plain.
WString Hex(uint64_t value, bool padded) {
    char buffer[24];
    std::snprintf(buffer, sizeof buffer, padded ? "0x%016llx" : "0x%llx",
                  static_cast<unsigned long long>(value));
    return Widen(buffer);
}

WString ExceptionLine(uint32_t code) {
    return u"Exception: " + WString(NameOf(code)) + u" (" + Hex(code, true) + u")\r\n";
}

// "<section>:<offset> \t<module>" of a location.
WString SectionAndModule(const CodeLocation& location) {
    return ToDecimal(location.section) + u":" + Hex(location.offset, false) + u" \t" +
           FromUtf8(location.module);
}

// The fault's instruction, of which only the low 32 bits are written, and
// where it lies.
WString FaultAddressLine(uintptr_t instruction) {
    return u"Fault address: " + Hex(instruction & 0xFFFFFFFFu, true) + u" \t" +
           SectionAndModule(Locate(instruction)) + u"\r\n";
}

// One line per frame: its instruction and stack pointers, then its function
// and the distance into it, or where the instruction lies.
WString CallstackLines(const FaultRecord& fault) {
    WString lines = u"DllBase=" + Hex(LibraryBase(), true) + u"\r\nCallstack:\r\n";
    for (size_t i = 0; i < fault.depth && fault.frames[i].sp != 0; ++i) {
        const StackFrame& frame = fault.frames[i];
        lines += Hex(frame.pc, true) + u" \t" + Hex(frame.sp, true) + u" \t";
        const CodeLocation location = Locate(frame.pc);
        lines += location.symbol.empty()
                     ? SectionAndModule(location)
                     : FromUtf8(location.symbol) + u"+" +
                           ToDecimal(static_cast<long long>(location.displacement));
        lines += u"\r\n";
    }
    return lines + u"\r\n";
}

}  // namespace

WString DescribeFault(const FaultRecord& fault) {
    WString report = ExceptionLine(CodeOf(fault)) + FaultAddressLine(fault.instruction);
    // Without a walk of the stack the report ends here.
    if (fault.depth > 0) report += CallstackLines(fault);
    return report;
}

WString DescribeCurrentException() {
    try {
        throw;
    } catch (const DivisionFault&) {
        return ExceptionLine(IntDivideByZeroCode) + u"\r\n";
    } catch (const std::exception& e) {
        return ExceptionLine(CppExceptionCode) + FromUtf8(e.what()) + u"\r\n\r\n";
    } catch (...) {
        return ExceptionLine(CppExceptionCode) + u"\r\n";
    }
}

}  // namespace CalcEngine
