// A function the host registers: called from formulas like a builtin, its
// arguments handed to the host's handler as typed parameters.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "context/HostBridge.h"
#include "functions/Function.h"
#include "interface/ordo.h"

namespace CalcEngine {

class ExternalFunction : public ICalcFunction {
public:
    // One declared parameter: writes an argument into the handler's array.
    class IFunctionParameter {
    public:
        IFunctionParameter(const DTCalcFunctionParameter& declared);
        virtual ~IFunctionParameter() = default;
        // Writes `argument` (which must have a value) into element `index`
        // of `parameters`.
        virtual void Evaluate(Environment& environment, const FunctionArgument& argument,
                              ParameterArray& parameters, size_t index) const = 0;
        bool RepeatsForMore() const { return flags & ORDODLL_FUNCTION_PARAMETER_FLAG_ONE_OR_MORE; }

        const WString description;
        const int32_t flags;
    };
    class StringFunctionParameter;
    class NumberListFunctionParameter;
    class NumberFunctionParameter;
    class VarRefFunctionParameter;

    // Copies all it needs from `record`; a parameter of an unknown type is
    // left out.
    explicit ExternalFunction(const DTCalcFunction& record);

    Object* Calculate(ICalcContext& context, Environment& environment,
                      const ExpressionList& parameters) const override;
    void CheckParameters(ICalcContext& context, const ExpressionList& parameters) const override;
    bool IsHostImplemented() const override { return true; }

private:
    std::vector<std::unique_ptr<IFunctionParameter>> parameters;
    const int32_t resultType;
    const TCalcFunctionHandler handler;
};

}  // namespace CalcEngine
