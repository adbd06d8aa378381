#include "OrdoHost.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>

namespace ordotest {

namespace {

thread_local Host* currentHost = nullptr;

int32_t WriteLog(const char16_t* text, int32_t priority) {
    if (currentHost) currentHost->log.push_back({Narrow(text), priority});
    return ORDODLL_RESULT_OK;
}

int32_t GetSymbol(const char16_t* symbol, DTCalcFunctionParameterValue* arguments, int32_t flags,
                  DTCalcResult* result, void* data) {
    Host& host = *static_cast<Host*>(data);
    std::string name = Narrow(symbol);
    host.symbolRequests.push_back(name);
    host.lastSymbolFlags = flags;
    host.lastArguments.clear();
    for (; arguments; arguments = arguments->xdtNext)
        host.lastArguments.emplace_back(arguments->iType, Narrow(arguments->xcLabel));
    if (host.symbolFailure != ORDODLL_RESULT_OK) return host.symbolFailure;
    auto found = host.symbols.find(name);
    if (found == host.symbols.end()) return ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR;
    if (found->second.isNumber) {
        auto* value = static_cast<double*>(xCalcAllocateMemory(sizeof(double)));
        *value = found->second.number;
        result->xResultBuffer = reinterpret_cast<char16_t*>(value);
        result->iResultBufferLength = sizeof(double);
        result->iType = ORDODLL_FUNCTION_RESULT_TYPE_NUMBER;
    } else {
        std::u16string text = Wide(found->second.text);
        size_t bytes = (text.size() + 1) * sizeof(char16_t);
        result->xResultBuffer = static_cast<char16_t*>(xCalcAllocateMemory(bytes));
        std::memcpy(result->xResultBuffer, text.c_str(), bytes);
        result->iResultBufferLength = static_cast<int32_t>(bytes);
        result->iType = ORDODLL_FUNCTION_RESULT_TYPE_STRING;
    }
    return ORDODLL_RESULT_OK;
}

std::string ParameterText(const DTCalcFunctionParameterValue& parameter) {
    if (parameter.iType == ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBER) {
        double value;
        std::memcpy(&value, parameter.xValue, sizeof value);
        char text[32];
        std::snprintf(text, sizeof text, "%g", value);
        return text;
    }
    if (parameter.iType == ORDODLL_FUNCTION_PARAMETER_TYPE_STRING)
        return Narrow(static_cast<const char16_t*>(parameter.xValue));
    return "";
}

int32_t OnReference(DTExternalObjectReferenceData* data, void* vxData) {
    Host& host = *static_cast<Host*>(vxData);
    ReferenceReport report{
        Narrow(data->xcSymbol), data->iFlags, data->iStartPos, {}, data->xdtConstParams != nullptr};
    for (auto* parameter = data->xdtConstParams; parameter; parameter = parameter->xdtNext)
        report.constParams.emplace_back(parameter->iType, ParameterText(*parameter));
    host.references.push_back(report);
    for (const std::string& symbol : host.constSymbols) {
        if (symbol == report.symbol)
            data->iFlags |= ORDODLL_EXTERNAL_OBJECT_REFERENCE_FLAG_CONST_VALUE;
    }
    return host.referenceFailure;
}

int32_t OnCall(const char16_t* name, void* vxData) {
    Host& host = *static_cast<Host*>(vxData);
    host.callsReported.push_back(Narrow(name));
    return host.callReportFailure;
}

}  // namespace

std::string Narrow(const char16_t* text) {
    std::string out;
    for (; text && *text; ++text) {
        char16_t c = *text;
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

std::u16string Wide(const std::string& text) {
    std::u16string out;
    for (size_t i = 0; i < text.size();) {
        unsigned char c = text[i];
        if (c < 0x80) {
            out += c;
            i += 1;
        } else if (c < 0xE0) {
            out += static_cast<char16_t>(((c & 0x1F) << 6) | (text[i + 1] & 0x3F));
            i += 2;
        } else {
            out += static_cast<char16_t>(((c & 0x0F) << 12) | ((text[i + 1] & 0x3F) << 6) |
                                         (text[i + 2] & 0x3F));
            i += 3;
        }
    }
    return out;
}

Host::Host(const HostOptions& options) {
    DTCalcInit init{};
    init.iVersion = ORDODLL_VERSION;
    init.xGetSymbolValueFunc = GetSymbol;
    init.xWriteLogEntryFunc = WriteLog;
    if (options.listensForReferences) init.xOnExternalObjectReferenceCreatedFunc = OnReference;
    if (options.listensForCalls) init.xOnExternalFunctionCallCreatedFunc = OnCall;
    init.xcLineFeed = options.lineFeed;
    init.xxClientHandle = &client;
    init.iFlags = options.flags;
    init.iQuota = options.quota;
    init.cExpressionListSeparator = options.listSeparator;
    init.cDecimalSeparator = options.decimalSeparator;
    currentHost = this;
    iCalcInitialize(&init);
}

Host::~Host() {
    iCalcFinalize(client);
    currentHost = nullptr;
}

std::string Raised(const std::string& message, const std::string& function) {
    return "Runtime error:\n" + message + "\nError occurred while calculating function " +
           function + ".\n\n";
}

std::string Failure(const std::string& message, const std::string& function) {
    return "Calculation failed\n" + Raised(message, function);
}

std::string WrongCount(const std::string& detail) {
    return "Formula preparation failed\nSemantic error:\nWrong number of parameters for function " +
           detail + "!\n\n";
}

Outcome TakeResult(int32_t code, DTCalcResult& result) {
    Outcome outcome;
    outcome.code = code;
    outcome.type = result.iType;
    if (result.iType == ORDODLL_FUNCTION_RESULT_TYPE_NUMBER && result.iResultBufferLength == 8) {
        outcome.isNumber = true;
        std::memcpy(&outcome.number, result.xResultBuffer, sizeof(double));
    } else if (result.xResultBuffer) {
        outcome.text = Narrow(result.xResultBuffer);
    }
    iCalcFreeMemory(result.xResultBuffer);
    return outcome;
}

Outcome Host::Prepare(const std::string& formula, void** handle, int32_t* flags) {
    currentHost = this;
    std::u16string text = Wide(formula);
    DTCalcFormulaPreparationResult preparation{};
    Outcome outcome;
    outcome.code = iCalcPrepareFormula(client, text.c_str(), &preparation, handle, this);
    if (flags) *flags = preparation.iFlags;
    if (preparation.xResultBuffer) outcome.text = Narrow(preparation.xResultBuffer);
    iCalcFreeMemory(preparation.xResultBuffer);
    return outcome;
}

Outcome Host::Calculate(void* handle) {
    currentHost = this;
    DTCalcResult result{};
    int32_t code = iCalcCalculate(client, handle, &result, this);
    return TakeResult(code, result);
}

Outcome Host::Calc(const std::string& formula) {
    void* handle = nullptr;
    Outcome prepared = Prepare(formula, &handle);
    if (prepared.code != ORDODLL_RESULT_OK) return prepared;
    Outcome outcome = Calculate(handle);
    iCalcFreeFormula(client, handle);
    return outcome;
}

const std::string NullNumber = "<null number>";

std::string WarningsOf(Host& host, const std::string& formula) {
    std::istringstream lines(host.Calc(formula + " + zz").text);
    std::string warnings;
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with("Warning: ")) warnings += line.substr(9) + "|";
    return warnings;
}

int32_t ImpliedCode(const std::string& text) {
    if (text.starts_with("Formula preparation failed\n")) return ORDODLL_RESULT_PARSE_ERROR;
    if (text.starts_with("Calculation failed\n")) return ORDODLL_RESULT_EVALUATION_ERROR;
    return ORDODLL_RESULT_OK;
}

void ExpectTexts(Host& host, const std::vector<TextRow>& rows) {
    for (const TextRow& row : rows) {
        SCOPED_TRACE(row.formula);
        const Outcome outcome = host.Calc(row.formula);
        EXPECT_EQ(outcome.code, ImpliedCode(row.text));
        EXPECT_EQ(outcome.isNumber && std::isnan(outcome.number) ? NullNumber : outcome.text,
                  row.text);
    }
}

void ExpectTexts(const std::vector<TextRow>& rows, HostOptions options) {
    options.lineFeed = u"\n";
    Host host(options);
    ExpectTexts(host, rows);
}

}  // namespace ordotest
