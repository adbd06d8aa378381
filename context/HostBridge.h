// Values to and from the host's records: the argument arrays handed to host
// callbacks, and the values made from what a host answers.
#pragma once

#include <memory>
#include <vector>

#include "interface/ordo.h"
#include "tree/Arguments.h"

namespace CalcEngine {

// The argument array of a host callback, with every buffer it points at;
// released with it. Each element's value is a buffer of the host allocator,
// which the host may replace by one of its own.
class ParameterArray {
public:
    // `count` elements, linked in order, without values and of type number,
    // to be filled one by one.
    explicit ParameterArray(size_t count);
    // One element per argument, each with its label. An argument without a
    // value raises "couldn't evaluate <place> parameter". With `forceNumber`
    // every value goes out as a number or a number list.
    ParameterArray(const ArgumentList& arguments, bool forceNumber);
    ~ParameterArray();
    ParameterArray(const ParameterArray&) = delete;
    ParameterArray& operator=(const ParameterArray&) = delete;

    DTCalcFunctionParameterValue& operator[](size_t i) { return values[i]; }
    // The first element, null for no arguments.
    DTCalcFunctionParameterValue* First() { return values.empty() ? nullptr : values.data(); }
    // Makes element `i` a reference to `symbol`, with the reference's own
    // evaluated arguments (null for none).
    void SetReference(size_t i, const WString& symbol, std::unique_ptr<ParameterArray> arguments);

private:
    static void Fill(DTCalcFunctionParameterValue& parameter, Object& value, bool forceNumber);

    std::vector<DTCalcFunctionParameterValue> values;
    std::vector<WString> labels;
    // The argument arrays of reference elements.
    std::vector<std::unique_ptr<ParameterArray>> nested;
};

// The text a host left in a result record: bounded by the record's length
// when it gives one, else up to the terminator; empty without a buffer.
WString TextOfResult(const DTCalcResult& result);

// A copy of `text` with its terminator in a buffer of the host allocator.
char16_t* HostTextCopy(const WString& text);

// Turns a host's result record into a value (one reference), or null for a
// failed call or an unknown result type. The record's buffer stays the
// caller's.
Object* CreateObjectFromResult(Environment* environment, int32_t failed, int32_t type,
                               const DTCalcResult& result);

}  // namespace CalcEngine
