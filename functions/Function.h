// The function interface that call nodes reach, the functions built into
// the library, and the reference through which a call node holds one.
#pragma once

#include <cstdint>

#include "tree/Arguments.h"
#include "tree/Call.h"
#include "values/ICalcContext.h"

namespace CalcEngine {

class ICalcFunction {
public:
    enum Flags : uint8_t {
        // Gets its parameters unevaluated and decides what to run, how often
        // and in which order.
        Lazy = 1,
        // The result depends on nothing but the parameters.
        Pure = 4,
    };

    // Null texts count as empty.
    ICalcFunction(const char16_t* category, const char16_t* name, const char16_t* alias,
                  uint8_t flags);
    virtual ~ICalcFunction() = default;
    ICalcFunction(const ICalcFunction&) = delete;
    ICalcFunction& operator=(const ICalcFunction&) = delete;

    // Calls the function on `parameters`; one reference for the caller, or
    // null for no value.
    virtual Object* Calculate(ICalcContext& context, Environment& environment,
                              const ExpressionList& parameters) const = 0;
    // Raises SemanticError when the number of `parameters` does not fit.
    virtual void CheckParameters(ICalcContext& context, const ExpressionList& parameters) const = 0;
    // Whether the host implements the function: the host is told of each
    // call of it that a formula makes.
    virtual bool IsHostImplemented() const { return false; }

    const WString category;
    const WString name;
    const WString alias;
    const uint8_t flags;
    // The place of the function in its registry, written when it is added.
    uint32_t index = 0;
};

// A handler receives the call's arguments, evaluated unless the function is
// lazy, and answers a new reference, or null for no value.
using BuiltinHandler = Object* (*)(ICalcContext& context, Environment& environment,
                                   ArgumentList& arguments);

// One row of a family's registration table.
struct BuiltinEntry {
    const char16_t* category;
    const char16_t* name;
    const char16_t* alias;
    BuiltinHandler handler;
    // One place per character ('.' optional, '*' any number from there on);
    // the letters only document the kinds.
    const char16_t* signature;
    const char16_t* description;
    uint8_t flags;
};

// A function implemented inside the library.
class BuiltinFunction : public ICalcFunction {
public:
    static constexpr uint32_t Unlimited = 0xFFFFFFFF;

    explicit BuiltinFunction(const BuiltinEntry& entry);

    Object* Calculate(ICalcContext& context, Environment& environment,
                      const ExpressionList& parameters) const override;
    void CheckParameters(ICalcContext& context, const ExpressionList& parameters) const override;

    uint32_t RequiredParameters() const { return requiredParameters; }
    uint32_t MaximumParameters() const { return maximumParameters; }
    const WString& Description() const { return description; }

private:
    void ScanSignature();

    BuiltinHandler handler;
    const WString signature;
    const WString description;
    uint32_t requiredParameters = 0;
    uint32_t maximumParameters = 0;
};

// How a call node holds its function: with the mark of a name written with
// a trailing underscore, which has the call ignore nulls.
class CalcFunctionReference : public ICalcFunctionReference {
public:
    CalcFunctionReference(const ICalcFunction& function, bool ignoreNull)
        : function(function), ignoreNull(ignoreNull) {}

    Object* Evaluate(Environment& environment, const ExpressionList& arguments) const override;
    void Dump(WString& out) const override { out += function.name; }
    bool IsConst() const override { return function.flags & ICalcFunction::Pure; }
    void ReportCreated() const override;

private:
    const ICalcFunction& function;
    const bool ignoreNull;
};

}  // namespace CalcEngine
