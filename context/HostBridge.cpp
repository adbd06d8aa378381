#include "context/HostBridge.h"

#include <cstring>
#include <memory>
#include <vector>

#include "values/ICalcContext.h"
#include "context/CalcClient.h"
#include "tree/Nodes.h"
#include "values/NumberVectorObject.h"
#include "values/ObjectFactory.h"

namespace CalcEngine {

namespace {

// The argument array handed to the host, with every buffer it points at.
class ParameterArray {
public:
    explicit ParameterArray(size_t count) : values(count), labels(count) {
        for (size_t i = 0; i + 1 < count; ++i) values[i].xdtNext = &values[i + 1];
    }
    ~ParameterArray() {
        for (DTCalcFunctionParameterValue& value : values) iCalcFreeMemory(value.xValue);
    }
    ParameterArray(const ParameterArray&) = delete;
    ParameterArray& operator=(const ParameterArray&) = delete;

    void Fill(size_t i, const Object& value, const WString& label, bool forceNumber) {
        DTCalcFunctionParameterValue& parameter = values[i];
        labels[i] = label;
        parameter.xcLabel = labels[i].c_str();
        DTCalcResult written{};
        if (forceNumber && value.IsScalar() && value.IsSingleValue()) {
            value.ToResult(written);  // a single number goes out as a number
        } else if (forceNumber) {
            PtrWrapper list(CurrentFactory()->CreateNumberVector(value.environment));
            list->Assign(value, true);
            list->ToResult(written);
        } else {
            value.ToResult(written);
        }
        parameter.xValue = written.xResultBuffer;
        parameter.iType = written.iType;
    }
    DTCalcFunctionParameterValue* First() { return values.empty() ? nullptr : values.data(); }

private:
    std::vector<DTCalcFunctionParameterValue> values;
    std::vector<WString> labels;
};

WString Ordinal(size_t n) {
    static const char16_t* const first[] = {u"1st", u"2nd", u"3rd"};
    return n >= 1 && n <= 3 ? WString(first[n - 1]) : ToDecimal(static_cast<long long>(n)) + u"th";
}

WString TextFromBuffer(const DTCalcResult& result) {
    const char16_t* text = result.xResultBuffer;
    size_t limit = static_cast<size_t>(result.iResultBufferLength) / sizeof(char16_t);
    size_t length = 0;
    while (length < limit && text[length]) ++length;
    return WString(text, length);
}

double ReadDouble(const void* bytes) {
    double value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

// A bit pattern with a magnitude above that of infinity is not a number.
bool IsNotANumber(double value) {
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return (bits & 0x7FFFFFFFFFFFFFFFull) > 0x7FF0000000000000ull;
}

// A host's not-a-number becomes the null value where a substitute is allowed.
double RawNumber(double value) {
    if (!IsNotANumber(value)) return value;
    if (!CurrentContext()->NullAccepted()) throw NullValueException();
    return CurrentContext()->GetNullValue();
}

Object* NumberListFromBuffer(Environment* environment, const DTCalcResult& result, bool raw) {
    PtrWrapper list(CurrentFactory()->CreateNumberVector(environment));
    auto& numbers = static_cast<NumberVectorObject&>(*list);
    const auto* bytes = reinterpret_cast<const unsigned char*>(result.xResultBuffer);
    uint64_t count;
    std::memcpy(&count, bytes, sizeof count);
    uint64_t room =
        (static_cast<uint64_t>(result.iResultBufferLength) - sizeof count) / sizeof(double);
    if (count > room) count = room;
    numbers.values.resize(count);
    for (uint64_t i = 0; i < count; ++i) {
        double value = ReadDouble(bytes + sizeof count + i * sizeof(double));
        numbers.values[i] = raw ? RawNumber(value) : value;
    }
    return list.Detach();
}

}  // namespace

Object* GetSymbolValue(Environment& environment, const WString& symbol,
                       const ExpressionList* arguments) {
    ICalcContext& context = *CurrentContext();
    CalcClient& client = *context.GetClient();
    size_t count = arguments ? arguments->Size() : 0;
    ParameterArray parameters(count);
    bool forceNumber = client.flags & ORDODLL_FLAG_FORCE_NUMBER_SYMBOL_PARAMETER_TYPE;
    for (size_t i = 0; i < count; ++i) {
        const Expr& argument = (*arguments)[i];
        PtrWrapper value(argument.Evaluate(environment));
        if (!value) RaiseRuntimeError(u"couldn't evaluate " + Ordinal(i + 1) + u" parameter");
        parameters.Fill(i, *value, argument.GetLabel(), forceNumber);
    }
    DTCalcResult result{};
    int32_t code = client.getSymbolValue(symbol.c_str(), parameters.First(),
                                         ORDODLL_GET_SYMBOL_VALUE_FLAG_DEFAULT, &result,
                                         context.GetClientData());
    std::unique_ptr<char16_t, int32_t (*)(void*)> buffer(result.xResultBuffer, iCalcFreeMemory);
    if (code != ORDODLL_RESULT_OK)
        RaiseRuntimeError(CallbackErrorHead(code) +
                          u" occurred while evaluating value for external symbol: " + symbol);
    return CreateObjectFromResult(&environment, 0, result.iType, result);
}

Object* CreateObjectFromResult(Environment* environment, int32_t failed, int32_t type,
                               const DTCalcResult& result) {
    if (failed) return nullptr;
    ObjectFactory& factory = *CurrentFactory();
    if (result.iResultBufferLength == 0) return factory.CreateEmpty(environment);
    switch (type) {
        case ORDODLL_FUNCTION_RESULT_TYPE_UNKNOWN:
        case ORDODLL_FUNCTION_RESULT_TYPE_STRING:
            return factory.CreateString(environment,
                                        result.xResultBuffer ? TextFromBuffer(result) : WString());
        case ORDODLL_FUNCTION_RESULT_TYPE_NUMBERLIST:
        case ORDODLL_FUNCTION_RESULT_TYPE_RAW_NUMBERLIST:
            if (!result.xResultBuffer || result.iResultBufferLength < 8)
                return factory.CreateNumberVector(environment);
            return NumberListFromBuffer(environment, result,
                                        type == ORDODLL_FUNCTION_RESULT_TYPE_RAW_NUMBERLIST);
        case ORDODLL_FUNCTION_RESULT_TYPE_NUMBER:
        case ORDODLL_FUNCTION_RESULT_TYPE_RAW_NUMBER: {
            if (!result.xResultBuffer || result.iResultBufferLength < 8)
                return factory.CreateFloat(environment);
            double value = ReadDouble(result.xResultBuffer);
            return factory.CreateFloat(environment, type == ORDODLL_FUNCTION_RESULT_TYPE_RAW_NUMBER
                                                        ? RawNumber(value)
                                                        : value);
        }
        default:
            return nullptr;
    }
}

}  // namespace CalcEngine
