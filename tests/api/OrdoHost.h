// A small test host over the exported functions: a client with recording
// callbacks, and helpers that turn a formula into its result.
#pragma once

#include <cmath>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "interface/ordo.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace ordotest {

// Allocations made while it lives are not reported as leaks: for tests of
// what the library cannot reclaim, such as the frames a fault skips.
struct LeakCheckPause {
#if defined(__SANITIZE_ADDRESS__)
    LeakCheckPause() { __lsan_disable(); }
    ~LeakCheckPause() { __lsan_enable(); }
#else
    LeakCheckPause() {}
#endif
};

std::string Narrow(const char16_t* text);
std::u16string Wide(const std::string& text);

struct LogEntry {
    std::string text;
    int32_t priority;
};

// What a calculation answered.
struct Outcome {
    int32_t code = 0;
    int32_t type = 0;
    bool isNumber = false;
    double number = 0;
    std::string text;
};

struct HostOptions {
    int32_t flags = ORDODLL_FLAG_DEFAULT;
    int32_t quota = 0;
    unsigned char listSeparator = 0;
    unsigned char decimalSeparator = 0;
    const char16_t* lineFeed = nullptr;
    // Whether the host listens for the references that formulas make, and
    // for the calls of its functions.
    bool listensForReferences = false;
    bool listensForCalls = false;
};

// What the host was told of one reference.
struct ReferenceReport {
    std::string symbol;
    int32_t flags;  // as the library passed them
    int32_t position;
    // The constant arguments, each as its type and its text (a number in
    // %g form), empty when the library sent none.
    std::vector<std::pair<int32_t, std::string>> constParams;
    bool hasConstParams;
};

class Host {
public:
    explicit Host(const HostOptions& options = HostOptions());
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    // Prepare, calculate and free through the three separate calls.
    Outcome Calc(const std::string& formula);
    // Prepare only: the code, and the error text on failure.
    Outcome Prepare(const std::string& formula, void** handle, int32_t* flags = nullptr);
    Outcome Calculate(void* handle);

    void* client = nullptr;
    std::vector<LogEntry> log;
    // Symbol values the host answers: number, text, or list by name.
    std::map<std::string, Outcome> symbols;
    std::vector<std::string> symbolRequests;
    // The arguments of the last request: type and label of each.
    std::vector<std::pair<int32_t, std::string>> lastArguments;
    // The flags of the last request.
    int32_t lastSymbolFlags = 0;
    int32_t symbolFailure = ORDODLL_RESULT_OK;

    std::vector<ReferenceReport> references;
    std::vector<std::string> callsReported;
    int32_t callReportFailure = ORDODLL_RESULT_OK;
    // Symbols the host calls constant when told of a reference to them.
    std::vector<std::string> constSymbols;
    int32_t referenceFailure = ORDODLL_RESULT_OK;
};

// The summary entries of the dispatcher's messages, for a host whose line
// feed is "\n": a handler's error, and a wrong number of parameters.
std::string Raised(const std::string& message, const std::string& function);
std::string WrongCount(const std::string& detail);
// The whole summary of a calculation that a handler's error failed.
std::string Failure(const std::string& message, const std::string& function);

// Reads a result record and frees its buffer.
Outcome TakeResult(int32_t code, DTCalcResult& result);

// How ExpectTexts shows a result that is the null number.
extern const std::string NullNumber;

// A formula and what it gives: the value's text, NullNumber, or the summary
// of a failed preparation or calculation.
struct TextRow {
    std::string formula;
    std::string text;
};

// The code that goes with a result text whose line feed is "\n": a failed
// preparation, a failed calculation, or success.
int32_t ImpliedCode(const std::string& text);

// The warnings that a formula writes, each followed by '|', read from the
// summary of the failure that an unknown symbol added to it causes. The
// host's line feed must be "\n" and it must not know the symbol zz.
std::string WarningsOf(Host& host, const std::string& formula);

// Calculates each row on `host`, whose line feed must be "\n", and checks
// the text and the code that it implies.
void ExpectTexts(Host& host, const std::vector<TextRow>& rows);
// The same on a host of its own, made with `options` and the line feed "\n".
void ExpectTexts(const std::vector<TextRow>& rows, HostOptions options = HostOptions());

}  // namespace ordotest
