// Values to and from the host's records: the argument arrays handed to host
// callbacks, and the values made from what a host answers.
#pragma once

#include <vector>

#include "interface/ordo.h"
#include "tree/Arguments.h"

namespace CalcEngine {

// The argument array of a host callback, with every buffer it points at;
// released with it.
class ParameterArray {
public:
    // One element per argument, linked in order, each with its label. An
    // argument without a value raises "couldn't evaluate <place> parameter".
    // With `forceNumber` every value goes out as a number or a number list.
    ParameterArray(const ArgumentList& arguments, bool forceNumber);
    ~ParameterArray();
    ParameterArray(const ParameterArray&) = delete;
    ParameterArray& operator=(const ParameterArray&) = delete;

    // The first element, null for no arguments.
    DTCalcFunctionParameterValue* First() { return values.empty() ? nullptr : values.data(); }

private:
    static void Fill(DTCalcFunctionParameterValue& parameter, Object& value, bool forceNumber);

    std::vector<DTCalcFunctionParameterValue> values;
    std::vector<WString> labels;
};

// Turns a host's result record into a value (one reference), or null for a
// failed call or an unknown result type. The record's buffer stays the
// caller's.
Object* CreateObjectFromResult(Environment* environment, int32_t failed, int32_t type,
                               const DTCalcResult& result);

}  // namespace CalcEngine
