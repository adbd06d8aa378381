// A call of a known function, bound to it while the tree is built.
#pragma once

#include <memory>

#include "tree/Nodes.h"
#include "tree/References.h"

namespace CalcEngine {

// How a call node reaches its function.
class ICalcFunctionReference {
public:
    virtual ~ICalcFunctionReference() = default;
    // Calls the function on the unevaluated `arguments`; it evaluates them as
    // far as it wants. One reference for the caller, or null for no value.
    virtual Object* Evaluate(Environment& environment, const ExpressionList& arguments) const = 0;
    // The function's name.
    virtual void Dump(WString& out) const = 0;
    // Whether the result depends on nothing but the arguments.
    virtual bool IsConst() const = 0;
    // Tells the function's owner that a formula calls it: after every
    // preparation of the formula.
    virtual void ReportCreated() const = 0;
};

class Call : public Expr {
public:
    Call(std::unique_ptr<ObjectIdentifier> identifier, std::unique_ptr<ExpressionList> arguments);

    Object* Evaluate(Environment& environment) const override;
    void Dump(WString& out, int options) const override;
    bool IsConst() const override { return function->IsConst(); }
    void Accept(SymNodeVisitor& visitor) override;
    void ReportCreated() const { function->ReportCreated(); }
    void AcceptConst(SymNodeVisitor& visitor) override;

private:
    std::unique_ptr<ExpressionList> arguments;
    std::unique_ptr<ICalcFunctionReference> function;
};

}  // namespace CalcEngine
