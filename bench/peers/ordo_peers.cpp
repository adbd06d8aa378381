// Ordo beside its peers, in one process: the same formulas over the same
// host variables, calculated through Ordo's exported functions (as a host
// does it) and through muparserx and muparser. Each figure is the median of 7
// runs of the calling thread's own CPU time, per calculation.
//
//   ordo_peers                              prints the comparison
//   ordo_peers --measure CASE ENGINE COUNT  runs one case COUNT times in
//                                           RunMeasured, for callgrind
//                                           (see measure-instructions.sh)
#include <pthread.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <ordo.h>

#include "Peers.h"

namespace {

// a, b, c are 1, 2, 3 and t is 2, as in the peers.
int32_t HostValue(const char16_t* symbol, DTCalcFunctionParameterValue*, int32_t,
                  DTCalcResult* result, void*) {
    double value;
    switch (symbol[0]) {
        case u'a':
            value = 1;
            break;
        case u'b':
            value = 2;
            break;
        case u'c':
            value = 3;
            break;
        case u't':
            value = 2;
            break;
        default:
            return ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR;
    }
    auto* buffer = static_cast<double*>(xCalcAllocateMemory(sizeof value));
    *buffer = value;
    result->xResultBuffer = reinterpret_cast<char16_t*>(buffer);
    result->iResultBufferLength = sizeof value;
    result->iType = ORDODLL_FUNCTION_RESULT_TYPE_NUMBER;
    return ORDODLL_RESULT_OK;
}

int32_t IgnoreLog(const char16_t*, int32_t) { return ORDODLL_RESULT_OK; }

void* OrdoClient() {
    static void* client = [] {
        void* handle = nullptr;
        DTCalcInit init{};
        init.iVersion = ORDODLL_VERSION;
        init.xGetSymbolValueFunc = HostValue;
        init.xWriteLogEntryFunc = IgnoreLog;
        init.xxClientHandle = &handle;
        init.iFlags = ORDODLL_FLAG_FORCE_FLOAT_RESULT;
        iCalcInitialize(&init);
        return handle;
    }();
    return client;
}

std::u16string Wide(const std::string& text) { return std::u16string(text.begin(), text.end()); }

class OrdoCalculator : public Calculator {
public:
    explicit OrdoCalculator(const std::string& formula) {
        DTCalcFormulaPreparationResult preparation{};
        iCalcPrepareFormula(OrdoClient(), Wide(formula).c_str(), &preparation, &handle, nullptr);
        if (!handle) std::fprintf(stderr, "ordo cannot prepare %s\n", formula.c_str());
    }
    ~OrdoCalculator() override { iCalcFreeFormula(OrdoClient(), handle); }
    double Calculate() override {
        DTCalcResult result{};
        double value = 0;
        if (iCalcCalculate(OrdoClient(), handle, &result, nullptr) == ORDODLL_RESULT_OK)
            std::memcpy(&value, result.xResultBuffer, sizeof value);
        iCalcFreeMemory(result.xResultBuffer);
        return value;
    }

private:
    void* handle = nullptr;
};

std::unique_ptr<Calculator> CreateOrdo(const std::string& formula) {
    return std::make_unique<OrdoCalculator>(formula);
}

void PrepareAndFreeOrdo(const std::string& formula) {
    DTCalcFormulaPreparationResult preparation{};
    void* handle = nullptr;
    iCalcPrepareFormula(OrdoClient(), Wide(formula).c_str(), &preparation, &handle, nullptr);
    iCalcFreeFormula(OrdoClient(), handle);
}

const Peer ordo{"ordo", CreateOrdo, PrepareAndFreeOrdo};

// The same passes over a million numbers as `[1..1000000] * t + 1`, written
// as plain loops.
class PlainLoops : public Calculator {
public:
    double Calculate() override {
        const double t = 2;
        std::vector<double> values;
        values.reserve(1000000);
        for (int i = 1; i <= 1000000; ++i) values.push_back(i);
        for (double& value : values) value *= t;
        for (double& value : values) value += 1;
        return values.front();
    }
};

const Peer plainLoops{"plain C++",
                      [](const std::string&) -> std::unique_ptr<Calculator> {
                          return std::make_unique<PlainLoops>();
                      },
                      nullptr};

// A 64-character text that no earlier call has seen.
std::string NewText(long serial) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%013ld", serial % 10000000000000);
    return std::string("a*b + c*1.5 - (a + b)/(c + 2) + a*a*0.25 - b/3 + c*") + digits;
}

// One calculation, or one preparation of a new text with its free.
struct Work {
    std::unique_ptr<Calculator> calculator;
    const Peer* peer = nullptr;
    long serial = 0;
    void Run() {
        if (calculator)
            calculator->Calculate();
        else
            peer->prepareAndFree(NewText(serial++));
    }
};

std::string ManyRanges() {
    std::string list = "[";
    for (int i = 0; i < 10000; ++i) list += "1..100 ";
    return list + "] * t + 1";
}

struct Case {
    const char* name;
    std::string formula;  // empty: preparation of new texts
    std::vector<const Peer*> engines;
    long count;       // calculations per timed run
    int threads = 1;  // calculating the same handle at once
};

const std::vector<Case>& Cases() {
    static const std::vector<Case> cases = {
        {"a+b*c", "a+b*c", {&ordo, &muparserx, &muparser}, 200000},
        {"precalculated 1", "1", {&ordo}, 200000},
        {"33 nodes, 14 symbol references",
         "a*b*2 + c*a - b*c*2 + a/b - c*a*2 + b*c - a*b",
         {&ordo, &muparserx, &muparser},
         50000},
        {"33 nodes, 3 symbol references",
         "a*2 + b*3 - c/4 + (1+2)*(3+4) - (5-6)/(7+8) + 8",
         {&ordo, &muparserx, &muparser},
         50000},
        {"prepare + free, 64 characters", "", {&ordo, &muparserx, &muparser}, 5000},
        {"[1..1000000] * t + 1", "[1..1000000] * t + 1", {&ordo, &plainLoops}, 10},
        // The same million numbers from 10,000 ranges: linear in the count,
        // like one range.
        {"10,000 ranges of 100 * t + 1", ManyRanges(), {&ordo, &plainLoops}, 10},
        // The peers cannot share a parser between threads: each of their
        // threads has its own, which shows what two threads cost on this
        // machine with nothing shared at all.
        {"a+b*c, two threads on one handle", "a+b*c", {&ordo, &muparserx, &muparser}, 200000, 2},
    };
    return cases;
}

Work MakeWork(const Case& c, const Peer& engine) {
    Work work;
    work.peer = &engine;
    if (!c.formula.empty()) work.calculator = engine.create(c.formula);
    return work;
}

double ThreadSeconds() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return now.tv_sec + now.tv_nsec * 1e-9;
}

// Nanoseconds per run of `work`, over `count` runs, of this thread's time.
double TimeRuns(Work& work, long count) {
    const double start = ThreadSeconds();
    for (long i = 0; i < count; ++i) work.Run();
    return (ThreadSeconds() - start) * 1e9 / count;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Every thread runs the case at once, Ordo's threads on one prepared
// formula, each peer thread on a parser of its own; the figure is the first
// thread's.
double TimeCase(const Case& c, const Peer& engine) {
    const int works = &engine == &ordo ? 1 : c.threads;
    std::vector<Work> work;
    for (int i = 0; i < works; ++i) work.push_back(MakeWork(c, engine));
    work[0].Run();  // warm up
    std::vector<double> runs;
    for (int run = 0; run < 7; ++run) {
        std::vector<double> perThread(c.threads);
        std::vector<std::thread> threads;
        for (int t = 1; t < c.threads; ++t)
            threads.emplace_back([&, t] { perThread[t] = TimeRuns(work[t % works], c.count); });
        perThread[0] = TimeRuns(work[0], c.count);
        for (std::thread& thread : threads) thread.join();
        runs.push_back(perThread[0]);
    }
    return Median(runs);
}

std::string Figure(double nanoseconds) {
    char text[32];
    if (nanoseconds >= 1e6)
        std::snprintf(text, sizeof text, "%.2f ms", nanoseconds / 1e6);
    else if (nanoseconds >= 1e4)
        std::snprintf(text, sizeof text, "%.1f us", nanoseconds / 1e3);
    else
        std::snprintf(text, sizeof text, "%.0f ns", nanoseconds);
    return text;
}

void Compare() {
    std::printf("%-34s %12s %22s %22s\n", "case", "ordo", "second (ordo/it)", "third (ordo/it)");
    for (const Case& c : Cases()) {
        std::string line;
        double ordoTime = 0;
        for (const Peer* engine : c.engines) {
            const double time = TimeCase(c, *engine);
            if (engine == &ordo) {
                ordoTime = time;
                line += Figure(time);
            } else {
                char cell[64];
                std::snprintf(cell, sizeof cell, "  %s %s (%.2f)", engine->name,
                              Figure(time).c_str(), ordoTime / time);
                line += cell;
            }
        }
        std::printf("%-34s %s\n", c.name, line.c_str());
        std::fflush(stdout);
    }
}

// The runs that callgrind counts: collection is switched on for this
// function only.
__attribute__((noinline)) void RunMeasured(Work& work, long count) {
    for (long i = 0; i < count; ++i) work.Run();
}

int Measure(const char* caseName, const char* engineName, long count) {
    for (const Case& c : Cases()) {
        if (c.name != std::string(caseName)) continue;
        for (const Peer* engine : c.engines) {
            if (engine->name != std::string(engineName)) continue;
            Work work = MakeWork(c, *engine);
            work.Run();
            RunMeasured(work, count);
            return 0;
        }
    }
    std::fprintf(stderr, "no case \"%s\" for %s\n", caseName, engineName);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 5 && std::string(argv[1]) == "--measure")
        return Measure(argv[2], argv[3], std::atol(argv[4]));
    if (argc == 2 && std::string(argv[1]) == "--cases") {
        for (const Case& c : Cases()) {
            for (const Peer* engine : c.engines) std::printf("%s\t%s\n", c.name, engine->name);
        }
        return 0;
    }
    Compare();
    return 0;
}
