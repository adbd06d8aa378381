#include "context/HostBridge.h"

#include <cstring>
#include <memory>
#include <vector>

#include "values/HostMemory.h"
#include "values/ICalcContext.h"
#include "values/NumberVectorObject.h"
#include "values/ObjectFactory.h"

namespace CalcEngine {

namespace {

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

ParameterArray::ParameterArray(size_t count) : values(count), labels(count) {
    for (size_t i = 0; i < count; ++i) {
        values[i].xcLabel = labels[i].c_str();
        values[i].iType = ORDODLL_FUNCTION_PARAMETER_TYPE_NUMBER;
        if (i + 1 < count) values[i].xdtNext = &values[i + 1];
    }
}

ParameterArray::ParameterArray(const ArgumentList& arguments, bool forceNumber)
    : ParameterArray(arguments.size()) {
    for (size_t i = 0; i < values.size(); ++i) {
        const FunctionArgument& argument = arguments[i];
        if (!argument.value)
            RaiseRuntimeError(u"couldn't evaluate " + Ordinal(i + 1) + u" parameter");
        labels[i] = argument.node ? argument.node->GetLabel() : WString();
        values[i].xcLabel = labels[i].c_str();
        Fill(values[i], *argument.value, forceNumber);
    }
}

ParameterArray::~ParameterArray() {
    for (DTCalcFunctionParameterValue& value : values) {
        if (value.iType == ORDODLL_FUNCTION_PARAMETER_TYPE_VARREF && value.xValue) {
            auto* reference = static_cast<DTCalcFunctionVarRefParameterValue*>(value.xValue);
            FreeHostMemory(const_cast<char16_t*>(reference->xcIdentifier));
        }
        FreeHostMemory(value.xValue);
    }
}

void ParameterArray::SetReference(size_t i, const WString& symbol,
                                  std::unique_ptr<ParameterArray> arguments) {
    auto* reference = static_cast<DTCalcFunctionVarRefParameterValue*>(
        AllocateHostMemory(sizeof(DTCalcFunctionVarRefParameterValue)));
    reference->xcIdentifier = nullptr;
    reference->xdtParameters = arguments ? arguments->First() : nullptr;
    values[i].xValue = reference;
    values[i].iType = ORDODLL_FUNCTION_PARAMETER_TYPE_VARREF;
    reference->xcIdentifier = HostTextCopy(symbol);
    if (arguments) nested.push_back(std::move(arguments));
}

WString TextOfResult(const DTCalcResult& result) {
    const char16_t* text = result.xResultBuffer;
    if (!text) return WString();
    if (result.iResultBufferLength <= 0) return WString(text);
    const size_t limit = static_cast<size_t>(result.iResultBufferLength) / sizeof(char16_t);
    size_t length = 0;
    while (length < limit && text[length]) ++length;
    return WString(text, length);
}

char16_t* HostTextCopy(const WString& text) {
    const size_t bytes = (text.size() + 1) * sizeof(char16_t);
    auto* copy = static_cast<char16_t*>(AllocateHostMemory(bytes));
    std::memcpy(copy, text.c_str(), bytes);
    return copy;
}

// The value's own form or, forced, a number for a single number and a
// number list for anything else.
void ParameterArray::Fill(DTCalcFunctionParameterValue& parameter, Object& object,
                          bool forceNumber) {
    PtrWrapper value(Resolve(&object));
    DTCalcResult written{};
    if (forceNumber && !(value->IsScalar() && value->IsSingleValue())) {
        PtrWrapper list(CurrentFactory()->CreateNumberVector(value->environment));
        list->Assign(*value, true);
        list->ToResult(written);
    } else {
        value->ToResult(written);
    }
    parameter.xValue = written.xResultBuffer;
    parameter.iType = written.iType;
}

namespace {

// Every result but a plain number, which the caller has handled.
[[gnu::noinline]] Object* ObjectFromOtherResult(Environment* environment, int32_t type,
                                                const DTCalcResult& result) {
    ObjectFactory& factory = *CurrentFactory();
    if (result.iResultBufferLength == 0) return factory.CreateEmpty(environment);
    switch (type) {
        case ORDODLL_FUNCTION_RESULT_TYPE_UNKNOWN:
        case ORDODLL_FUNCTION_RESULT_TYPE_STRING:
            return factory.CreateString(environment, TextOfResult(result));
        case ORDODLL_FUNCTION_RESULT_TYPE_NUMBERLIST:
        case ORDODLL_FUNCTION_RESULT_TYPE_RAW_NUMBERLIST:
            if (!result.xResultBuffer || result.iResultBufferLength < 8)
                return factory.CreateNumberVector(environment);
            return NumberListFromBuffer(environment, result,
                                        type == ORDODLL_FUNCTION_RESULT_TYPE_RAW_NUMBERLIST);
        case ORDODLL_FUNCTION_RESULT_TYPE_NUMBER:
            return factory.CreateFloat(environment);
        case ORDODLL_FUNCTION_RESULT_TYPE_RAW_NUMBER:
            if (!result.xResultBuffer || result.iResultBufferLength < 8)
                return factory.CreateFloat(environment);
            return factory.CreateFloat(environment, RawNumber(ReadDouble(result.xResultBuffer)));
        default:
            return nullptr;
    }
}

}  // namespace

Object* CreateObjectFromResult(Environment* environment, int32_t failed, int32_t type,
                               const DTCalcResult& result) {
    if (failed) return nullptr;
    // A number, the most frequent answer, on the shortest path.
    if (type == ORDODLL_FUNCTION_RESULT_TYPE_NUMBER && result.xResultBuffer &&
        result.iResultBufferLength >= 8)
        return CurrentFactory()->CreateFloat(environment, ReadDouble(result.xResultBuffer));
    return ObjectFromOtherResult(environment, type, result);
}

}  // namespace CalcEngine
