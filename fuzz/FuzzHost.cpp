#include "fuzz/FuzzHost.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

#include "interface/ordo.h"

namespace ordofuzz {

namespace {

// The set-up bytes, in order.
enum SetupByte { ClientFlags, ListSeparator, DecimalSeparator, QuotaLow, QuotaHigh, Seed, Run };

// ClientFlags: the three ORDODLL_FLAG_* bits, then what the host does.
constexpr uint8_t libraryFlags = 0x07;
constexpr uint8_t listensForReferences = 0x08;
constexpr uint8_t listensForCalls = 0x10;
constexpr uint8_t registersFunctions = 0x20;
constexpr uint8_t oneShot = 0x40;  // iCalcCalculateFormula instead of the three calls
constexpr uint8_t plainLineFeed = 0x80;

// Run: extra calculations of the prepared formula (bits 0-1), a second
// preparation of the same text, functions registered again after the
// preparation, and the second name of the first host function (bits 4-6).
constexpr uint8_t extraCalculations = 0x03;
constexpr uint8_t preparesTwice = 0x04;
constexpr uint8_t registersAfterPreparing = 0x08;
constexpr int secondNameShift = 4;

// A formula that a host function calculates may itself call one: this
// deep and no deeper, so that no formula can make the host recurse forever.
constexpr int maximumNesting = 2;

struct RunState {
    void* client = nullptr;
    uint32_t seed = 0;
    int nesting = 0;
};

// The last crash report that the library wrote to the log. The log callback
// has no data pointer, hence a thread-local.
thread_local std::u16string crashReport;

int32_t WriteLog(const char16_t* text, int32_t priority) {
    if (priority == ORDODLL_LOG_ENTRY_PRIORITY_CRITICAL_ERROR) crashReport = text;
    return ORDODLL_RESULT_OK;
}

std::string Narrow(std::u16string_view text) {
    std::string out;
    for (char16_t c : text) out += c < 0x80 ? static_cast<char>(c) : '?';
    return out;
}

[[noreturn]] void Fail(const char* what, std::u16string_view detail = {}) {
    std::fprintf(stderr, "ordo fuzz host: %s\n%s\n", what, Narrow(detail).c_str());
    std::abort();
}

// The library answers -7 on purpose where the language keeps the processor's
// integer division fault (a list remainder by 0.5, the most negative integer
// divided by -1), and where the evaluation hands one of the engine's own
// exceptions to the exported frame: an operand or an assignment target
// without a value, a range too long, a host symbol's argument that failed,
// an engine error while the result is converted (its what() is "Exception").
// The report then names no fault address. Any other fault or stray
// exception is a defect.
constexpr std::u16string_view deliberateExceptions[] = {
    u"Exception\r\n",
    u"error evaluating ",
    u"the left hand side of the assign operator",
    u"The result length of range-expression",
};

bool IsDeliberateFault(std::u16string_view report) {
    constexpr auto npos = std::u16string_view::npos;
    const size_t firstLineEnd = report.find(u"\r\n");
    if (firstLineEnd == npos || report.find(u"Fault address") != npos) return false;
    if (report.substr(0, firstLineEnd).ends_with(u"(0x00000000c0000094)")) return true;
    const std::u16string_view what = report.substr(firstLineEnd + 2);
    for (std::u16string_view start : deliberateExceptions) {
        if (what.starts_with(start)) return true;
    }
    return what.find(u"Error occurred while evaluating ") != npos;
}

void RequireNoFault(int32_t code) {
    if (code == ORDODLL_RESULT_UNHANDLED_EXCEPTION && !IsDeliberateFault(crashReport))
        Fail("the library answered -7", crashReport);
    crashReport.clear();
}

uint32_t Hash(const char16_t* text, uint32_t seed) {
    uint32_t hash = 2166136261u ^ seed;
    for (; text && *text; ++text) hash = (hash ^ *text) * 16777619u;
    return hash;
}

double NullNumber() {
    const uint64_t bits = 0x7FFFFFFFFFFFFFFFull;
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

const double numbers[] = {0,        1,           -1,    2.5,           -0.5,
                          1e308,    -1e-300,     65536, -2147483648.0, 4294967296.5,
                          INFINITY, NullNumber()};
const char16_t* const texts[] = {u"",    u"NULL",         u"abc",  u"1,5",    u"3 4 5", u"-7",
                                 u"1e3", u"\u00c4\u20ac", u"a\"b", u"  12  ", u"[1 2]", u"\xd800x"};

template <class T, size_t n>
const T& Pick(const T (&table)[n], uint32_t hash) {
    return table[hash % n];
}

void* Allocate(DTCalcResult& result, size_t bytes) {
    result.xResultBuffer = static_cast<char16_t*>(xCalcAllocateMemory(bytes));
    result.iResultBufferLength = static_cast<int32_t>(bytes);
    return result.xResultBuffer;
}

void AnswerNumber(DTCalcResult& result, double value,
                  int32_t type = ORDODLL_FUNCTION_RESULT_TYPE_NUMBER) {
    std::memcpy(Allocate(result, sizeof value), &value, sizeof value);
    result.iType = type;
}

void AnswerText(DTCalcResult& result, std::u16string_view text) {
    auto* buffer = static_cast<char16_t*>(Allocate(result, (text.size() + 1) * sizeof(char16_t)));
    std::memcpy(buffer, text.data(), text.size() * sizeof(char16_t));
    buffer[text.size()] = 0;
    result.iType = ORDODLL_FUNCTION_RESULT_TYPE_STRING;
}

// A count-prefixed list; `count` may claim more members than the buffer holds.
void AnswerList(DTCalcResult& result, const std::vector<double>& values,
                int32_t type = ORDODLL_FUNCTION_RESULT_TYPE_NUMBERLIST,
                uint64_t count = UINT64_MAX) {
    if (count == UINT64_MAX) count = values.size();
    auto* buffer = static_cast<char*>(Allocate(result, 8 + 8 * values.size()));
    std::memcpy(buffer, &count, 8);
    if (!values.empty()) std::memcpy(buffer + 8, values.data(), 8 * values.size());
    result.iType = type;
}

// The value of a host function's parameter, which the library always gives.
const void* ValueOf(const DTCalcFunctionParameterValue* parameter) {
    if (!parameter->xValue) Fail("a host function's parameter without its value");
    return parameter->xValue;
}

double ReadNumber(const void* bytes) {
    double value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

std::vector<double> ReadList(const void* bytes) {
    uint64_t count;
    std::memcpy(&count, bytes, sizeof count);
    std::vector<double> values(count);
    if (count) std::memcpy(values.data(), static_cast<const char*>(bytes) + 8, 8 * count);
    return values;
}

// Reads every byte of what the library hands over, so that a wrong length or
// a dangling pointer shows under the sanitizers; the digest varies answers.
uint32_t ReadParameters(const DTCalcFunctionParameterValue* parameter) {
    uint32_t digest = 0;
    for (; parameter; parameter = parameter->xdtNext) {
        digest = digest * 31 + Hash(parameter->xcLabel, 0) + Hash(parameter->xcDescription, 0);
        if (!parameter->xValue) continue;
        switch (parameter->iType) {
            case ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBER:
                digest += std::isnan(ReadNumber(parameter->xValue)) ? 1 : 2;
                break;
            case ORDODLL_FUNCTION_PARAMETER_TYPE_STRING:
                digest += Hash(static_cast<const char16_t*>(parameter->xValue), 0);
                break;
            case ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBERLIST:
                digest += static_cast<uint32_t>(ReadList(parameter->xValue).size());
                break;
            case ORDODLL_FUNCTION_PARAMETER_TYPE_VARREF: {
                auto* reference =
                    static_cast<const DTCalcFunctionVarRefParameterValue*>(parameter->xValue);
                digest +=
                    Hash(reference->xcIdentifier, 0) + ReadParameters(reference->xdtParameters);
                break;
            }
        }
    }
    return digest;
}

// Answers in forms that a careless host might use: a text without its
// terminator, a list that claims more members than it has, a number too
// short, a type the library does not know, a buffer with a length of 0.
void AnswerOddly(DTCalcResult& result, uint32_t hash) {
    switch (hash % 5) {
        case 0:
            std::memcpy(Allocate(result, 8), u"abcd", 8);
            result.iType = ORDODLL_FUNCTION_RESULT_TYPE_STRING;
            break;
        case 1:
            AnswerList(result, {1, 2}, ORDODLL_FUNCTION_RESULT_TYPE_NUMBERLIST, 1000);
            break;
        case 2:
            std::memset(Allocate(result, 4), 0, 4);
            result.iType = ORDODLL_FUNCTION_RESULT_TYPE_NUMBER;
            break;
        case 3:
            AnswerNumber(result, 3, 9);
            break;
        default:
            AnswerNumber(result, 3);
            result.iResultBufferLength = 0;
            break;
    }
}

// The first argument as it came, or the number of arguments.
void Echo(DTCalcResult& result, const DTCalcFunctionParameterValue* arguments) {
    if (!arguments || !arguments->xValue) return AnswerNumber(result, arguments ? 1 : 0);
    switch (arguments->iType) {
        case ORDODLL_FUNCTION_PARAMETER_TYPE_STRING:
            return AnswerText(result, static_cast<const char16_t*>(arguments->xValue));
        case ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBERLIST:
            return AnswerList(result, ReadList(arguments->xValue));
        case ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBER:
            return AnswerNumber(result, ReadNumber(arguments->xValue));
        default:
            return AnswerNumber(result, 2);
    }
}

// Each symbol gets its own kind of answer, fixed by its name and the seed.
int32_t AnswerSymbol(const char16_t* symbol, DTCalcFunctionParameterValue* arguments, int32_t flags,
                     DTCalcResult* result, void* data) {
    const RunState& run = *static_cast<RunState*>(data);
    const uint32_t hash = Hash(symbol, run.seed) + static_cast<uint32_t>(flags);
    const uint32_t detail = (hash >> 8) + ReadParameters(arguments);
    switch (hash % 10) {
        case 0:
        case 1:
        case 2:
            AnswerNumber(*result, Pick(numbers, detail));
            break;
        case 3:
        case 4:
            AnswerText(*result, Pick(texts, detail));
            break;
        case 5:
        case 6: {
            std::vector<double> values;
            for (uint32_t i = 0; i < detail % 6; ++i) values.push_back(Pick(numbers, detail + i));
            AnswerList(*result, values);
            break;
        }
        case 7: {
            // A failure, sometimes with a text that the library must free.
            static constexpr int32_t codes[] = {ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR,
                                                ORDODLL_RESULT_EVALUATION_ERROR, 5,
                                                ORDODLL_RESULT_UNKNOWN_ERROR};
            if (detail & 4) AnswerText(*result, u"no value");
            return Pick(codes, detail);
        }
        case 8:
            AnswerOddly(*result, detail);
            break;
        default:
            Echo(*result, arguments);
            break;
    }
    return ORDODLL_RESULT_OK;
}

// Calls some symbols constant, and sometimes refuses a reference.
int32_t OnReference(DTExternalObjectReferenceData* reference, void* data) {
    const RunState& run = *static_cast<RunState*>(data);
    const uint32_t hash = Hash(reference->xcSymbol, run.seed ^ 0x5bd1e995u);
    ReadParameters(reference->xdtConstParams);
    if (hash % 3 == 0) reference->iFlags |= ORDODLL_EXTERNAL_OBJECT_REFERENCE_FLAG_CONST_VALUE;
    return hash % 17 == 0 ? ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR : ORDODLL_RESULT_OK;
}

int32_t OnCall(const char16_t* name, void* data) {
    const RunState& run = *static_cast<RunState*>(data);
    return Hash(name, run.seed) % 13 == 0 ? ORDODLL_RESULT_EVALUATION_ERROR : ORDODLL_RESULT_OK;
}

// Host functions.

int32_t SumNumbers(int32_t, DTCalcFunctionParameterValue* arguments, void*, DTCalcResult* result) {
    double sum = 0;
    for (; arguments; arguments = arguments->xdtNext) sum += ReadNumber(ValueOf(arguments));
    AnswerNumber(*result, sum);
    return ORDODLL_RESULT_OK;
}

int32_t JoinTexts(int32_t, DTCalcFunctionParameterValue* arguments, void*, DTCalcResult* result) {
    std::u16string joined;
    for (; arguments; arguments = arguments->xdtNext) {
        joined += static_cast<const char16_t*>(ValueOf(arguments));
        if (arguments->xdtNext) joined += u'|';
    }
    AnswerText(*result, joined);
    return ORDODLL_RESULT_OK;
}

int32_t ScaleList(int32_t, DTCalcFunctionParameterValue* arguments, void*, DTCalcResult* result) {
    std::vector<double> values = ReadList(ValueOf(arguments));
    const double factor = ReadNumber(ValueOf(arguments->xdtNext));
    for (double& value : values) value *= factor;
    AnswerList(*result, values);
    return ORDODLL_RESULT_OK;
}

// Raw lists: a not-a-number member, added to an odd count, is the library's
// to refuse or replace.
int32_t JoinLists(int32_t, DTCalcFunctionParameterValue* arguments, void*, DTCalcResult* result) {
    std::vector<double> joined;
    for (; arguments; arguments = arguments->xdtNext) {
        const std::vector<double> values = ReadList(ValueOf(arguments));
        joined.insert(joined.end(), values.begin(), values.end());
    }
    if (joined.size() % 2) joined.push_back(NAN);
    AnswerList(*result, joined, ORDODLL_FUNCTION_RESULT_TYPE_RAW_NUMBERLIST);
    return ORDODLL_RESULT_OK;
}

// The number of arguments of the reference, or not-a-number for an empty text.
int32_t CountReferenceArguments(int32_t, DTCalcFunctionParameterValue* arguments, void*,
                                DTCalcResult* result) {
    auto* reference = static_cast<const DTCalcFunctionVarRefParameterValue*>(ValueOf(arguments));
    double count = 0;
    for (auto* argument = reference->xdtParameters; argument; argument = argument->xdtNext) ++count;
    const auto* text = static_cast<const char16_t*>(ValueOf(arguments->xdtNext));
    AnswerNumber(*result, *text ? count : NAN, ORDODLL_FUNCTION_RESULT_TYPE_RAW_NUMBER);
    return ORDODLL_RESULT_OK;
}

int32_t FailWithText(int32_t, DTCalcFunctionParameterValue* arguments, void*,
                     DTCalcResult* result) {
    AnswerText(*result, static_cast<const char16_t*>(ValueOf(arguments)));
    return ORDODLL_RESULT_EVALUATION_ERROR;
}

// Calculates its text as a formula of the same client, as a host may.
int32_t CalculateNested(int32_t, DTCalcFunctionParameterValue* arguments, void* data,
                        DTCalcResult* result) {
    RunState& run = *static_cast<RunState*>(data);
    if (run.nesting >= maximumNesting) return ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR;
    ++run.nesting;
    const int32_t code = iCalcCalculateFormula(
        run.client, static_cast<const char16_t*>(ValueOf(arguments)), result, data);
    --run.nesting;
    RequireNoFault(code);
    return code;
}

int32_t AnswerThree(int32_t, DTCalcFunctionParameterValue*, void*, DTCalcResult* result) {
    AnswerNumber(*result, 3);
    return ORDODLL_RESULT_OK;
}

struct Parameter {
    int32_t type;
    int32_t flags;
};

struct HostFunction {
    const char16_t* name;
    TCalcFunctionHandler handler;
    int32_t resultType;
    int32_t flags;
    std::vector<Parameter> parameters;
};

constexpr int32_t Number = ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBER;
constexpr int32_t Text = ORDODLL_FUNCTION_PARAMETER_TYPE_STRING;
constexpr int32_t List = ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBERLIST;
constexpr int32_t Reference = ORDODLL_FUNCTION_PARAMETER_TYPE_VARREF;
constexpr int32_t Repeating = ORDODLL_FUNCTION_PARAMETER_FLAG_ONE_OR_MORE;

const HostFunction hostFunctions[] = {
    {u"HSum",
     SumNumbers,
     ORDODLL_FUNCTION_RESULT_TYPE_NUMBER,
     ORDODLL_EXTERNAL_FUNCTION_FLAG_CONST,
     {{Number, Repeating}}},
    {u"HJoin", JoinTexts, ORDODLL_FUNCTION_RESULT_TYPE_STRING, 0, {{Text, Repeating}}},
    {u"HScale", ScaleList, ORDODLL_FUNCTION_RESULT_TYPE_NUMBERLIST, 0, {{List, 0}, {Number, 0}}},
    {u"HRaw", JoinLists, ORDODLL_FUNCTION_RESULT_TYPE_RAW_NUMBERLIST, 0, {{List, Repeating}}},
    {u"HRef",
     CountReferenceArguments,
     ORDODLL_FUNCTION_RESULT_TYPE_RAW_NUMBER,
     0,
     {{Reference, 0}, {Text, 0}}},
    {u"HFail", FailWithText, ORDODLL_FUNCTION_RESULT_TYPE_STRING, 0, {{Text, 0}}},
    {u"HEval", CalculateNested, ORDODLL_FUNCTION_RESULT_TYPE_UNKNOWN, 0, {{Text, 0}}},
    // A parameter of an unknown type is left out, a result of an unknown type is none.
    {u"HOdd", AnswerThree, 7, ORDODLL_EXTERNAL_FUNCTION_FLAG_CONST, {{9, 0}}},
};

// The first host function may also answer to a builtin's name.
const char16_t* const secondNames[] = {nullptr, u"Sum",   u"If",       u"Left",
                                       u"Let",  u"Count", u"Evaluate", u"hs"};

void RegisterFunctions(void* client, uint8_t run) {
    const char16_t* secondName = secondNames[(run >> secondNameShift) & 7];
    for (const HostFunction& function : hostFunctions) {
        std::vector<DTCalcFunctionParameter> parameters;
        for (const Parameter& parameter : function.parameters)
            parameters.push_back({u"parameter", parameter.flags, parameter.type, nullptr});
        for (size_t i = 0; i + 1 < parameters.size(); ++i)
            parameters[i].xdtNext = &parameters[i + 1];
        DTCalcFunction record{function.name,   &function == hostFunctions ? secondName : nullptr,
                              u"Fuzz",         parameters.empty() ? nullptr : parameters.data(),
                              function.flags,  function.resultType,
                              function.handler};
        if (iCalcRegisterFunction(client, &record) != ORDODLL_RESULT_OK)
            Fail("a host function was refused");
    }
}

// A result record must describe its buffer: 8 bytes for a number, a text
// whose length ends with its terminator.
void CheckResult(const DTCalcResult& result) {
    if (!result.xResultBuffer) return;
    if (result.iType == ORDODLL_FUNCTION_RESULT_TYPE_NUMBER) {
        if (result.iResultBufferLength != 8) Fail("a number result not 8 bytes long");
        ReadNumber(result.xResultBuffer);
    } else if (result.iType == ORDODLL_FUNCTION_RESULT_TYPE_STRING) {
        const size_t units = static_cast<size_t>(result.iResultBufferLength) / sizeof(char16_t);
        // A text may hold a character 0 (Char(0)): only the end is checked.
        if (units == 0 || result.xResultBuffer[units - 1] != 0)
            Fail("a text result that does not end in its terminator");
    } else {
        Fail("a result neither number nor text");
    }
}

void CalculateOnce(RunState& run, void* handle) {
    DTCalcResult result{};
    const int32_t code = iCalcCalculate(run.client, handle, &result, &run);
    RequireNoFault(code);
    CheckResult(result);
    iCalcFreeMemory(result.xResultBuffer);
}

void CalculateFormula(RunState& run, const std::u16string& formula) {
    DTCalcResult result{};
    const int32_t code = iCalcCalculateFormula(run.client, formula.c_str(), &result, &run);
    RequireNoFault(code);
    CheckResult(result);
    iCalcFreeMemory(result.xResultBuffer);
}

// The handle, or null when the preparation failed; a failure's text is
// counted in characters, terminator included.
void* Prepare(RunState& run, const std::u16string& formula) {
    DTCalcFormulaPreparationResult preparation{};
    void* handle = nullptr;
    const int32_t code =
        iCalcPrepareFormula(run.client, formula.c_str(), &preparation, &handle, &run);
    RequireNoFault(code);
    if (preparation.xResultBuffer) {
        const auto units = static_cast<size_t>(preparation.iResultBufferLength);
        if (units == 0 || preparation.xResultBuffer[units - 1] != 0)
            Fail("a preparation error whose length is not its text's");
        iCalcFreeMemory(preparation.xResultBuffer);
    }
    if ((code == ORDODLL_RESULT_OK) != (handle != nullptr))
        Fail("a preparation's handle disagrees with its code");
    return handle;
}

void PrepareAndCalculate(RunState& run, const uint8_t (&setup)[setupSize],
                         const std::u16string& formula) {
    const uint8_t how = setup[Run];
    void* handles[2] = {Prepare(run, formula), nullptr};
    if (how & preparesTwice) {
        handles[1] = Prepare(run, formula);
        if (handles[0] && handles[1] && handles[0] != handles[1])
            Fail("one text prepared twice gave two handles", formula);
    }
    if (how & registersAfterPreparing) RegisterFunctions(run.client, how);
    for (void* handle : handles) {
        if (!handle) continue;
        for (int i = 0; i <= (how & extraCalculations); ++i) CalculateOnce(run, handle);
    }
    for (void* handle : handles) {
        if (handle && iCalcFreeFormula(run.client, handle) != ORDODLL_RESULT_OK)
            Fail("a prepared formula could not be freed");
    }
}

}  // namespace

Input SplitInput(const uint8_t* data, size_t size) {
    Input input;
    const size_t setup = size < setupSize ? size : setupSize;
    if (setup) std::memcpy(input.setup, data, setup);
    input.text = data + setup;
    input.textSize = size - setup;
    return input;
}

namespace {

// The code point of a well-formed sequence at `bytes` and its length, or
// 0 for none (overlong forms, surrogates and code points past U+10FFFF
// are not well-formed).
size_t Utf8Sequence(const uint8_t* bytes, size_t left, char32_t& codePoint) {
    const uint8_t lead = bytes[0];
    const size_t length = lead < 0x80   ? 1
                          : lead < 0xC2 ? 0
                          : lead < 0xE0 ? 2
                          : lead < 0xF0 ? 3
                          : lead < 0xF5 ? 4
                                        : 0;
    if (length == 0 || length > left) return 0;
    codePoint = length == 1 ? lead : lead & (0x7F >> length);
    for (size_t i = 1; i < length; ++i) {
        if ((bytes[i] & 0xC0) != 0x80) return 0;
        codePoint = (codePoint << 6) | (bytes[i] & 0x3F);
    }
    static constexpr char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    if (codePoint < least[length] || codePoint > 0x10FFFF ||
        (codePoint >= 0xD800 && codePoint < 0xE000))
        return 0;
    return length;
}

}  // namespace

std::u16string DecodeUtf8(const uint8_t* data, size_t size) {
    std::u16string text;
    for (size_t i = 0; i < size;) {
        char32_t codePoint;
        size_t length = Utf8Sequence(data + i, size - i, codePoint);
        if (length == 0) {
            codePoint = data[i];
            length = 1;
        }
        i += length;
        if (codePoint < 0x10000) {
            text += static_cast<char16_t>(codePoint);
        } else {
            text += static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10));
            text += static_cast<char16_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
        }
    }
    return text;
}

std::u16string ReadUnits(const uint8_t* data, size_t size) {
    std::u16string text;
    for (size_t i = 0; i + 1 < size; i += 2)
        text += static_cast<char16_t>(data[i] | data[i + 1] << 8);
    return text;
}

void RunFormula(const uint8_t (&setup)[setupSize], const std::u16string& formula) {
    const uint8_t flags = setup[ClientFlags];
    RunState run;
    run.seed = setup[Seed];
    DTCalcInit init{};
    init.iVersion = ORDODLL_VERSION;
    init.xGetSymbolValueFunc = AnswerSymbol;
    init.xWriteLogEntryFunc = WriteLog;
    if (flags & listensForReferences) init.xOnExternalObjectReferenceCreatedFunc = OnReference;
    if (flags & listensForCalls) init.xOnExternalFunctionCallCreatedFunc = OnCall;
    init.xcLineFeed = flags & plainLineFeed ? u"\n" : nullptr;
    init.xxClientHandle = &run.client;
    init.iFlags = flags & libraryFlags;
    // Always some quota: without one a formula may loop for ever, by design.
    init.iQuota = 1 + (setup[QuotaLow] | setup[QuotaHigh] << 8);
    init.cExpressionListSeparator = setup[ListSeparator];
    init.cDecimalSeparator = setup[DecimalSeparator];
    if (iCalcInitialize(&init) != ORDODLL_RESULT_OK) Fail("no client");

    if (flags & registersFunctions) RegisterFunctions(run.client, setup[Run]);
    if (flags & oneShot)
        CalculateFormula(run, formula);
    else
        PrepareAndCalculate(run, setup, formula);
    iCalcFinalize(run.client);
}

}  // namespace ordofuzz

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ORDO_FUZZ_ADDRESS_SANITIZER 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(ORDO_FUZZ_ADDRESS_SANITIZER)
// The library's fault guard would turn a wild access into a -7 and a crash
// report; the sanitizer keeps the faults to itself instead, and reports them
// with the stack where they happened.
extern "C" const char* __asan_default_options() {
    return "handle_segv=2:handle_sigbus=2:handle_sigfpe=2:handle_sigill=2";
}
#endif
