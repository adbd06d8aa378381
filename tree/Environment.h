// A formula's scope: owns the top-level expressions, runs the parse and
// starts evaluation.
#pragma once

#include <istream>
#include <vector>

#include "tree/SymNode.h"

namespace CalcEngine {

class ICalcContext;

class Environment : public SymNode {
public:
    Environment() = default;
    ~Environment() override;

    // Parses the rule text into this environment; on failure the error is
    // in the context, the environment is empty and the answer is false.
    virtual bool Parse(const WString& text, ICalcContext* context);
    // Evaluates all expressions; an Error is recorded in the context and
    // answers null. One reference for the caller.
    virtual Object* Calculate(ICalcContext* context);
    // Runs after a successful parse: tells the owners of the formula's names
    // that it refers to them.
    virtual bool PostProcess();
    // Whether every node is constant, references counted as constant.
    virtual bool IsConstValue() const { return isConst; }
    // Whether a reference answered that its value varies.
    bool HasVariableReferences() const { return constViaReference; }
    void SetHasVariableReferences() { constViaReference = true; }
    // Constant through and through: the formula may be calculated once.
    bool IsConst() const override { return isConst && !constViaReference; }

    Object* Evaluate(Environment& environment) const override;
    // Evaluates the expressions in order and answers the last value.
    Object* EvaluateAll();
    void Dump(WString& out, int options) const override;
    void Accept(SymNodeVisitor& visitor) override;
    void AcceptConst(SymNodeVisitor& visitor) override;

    void AddExpression(ExprPtr expression);
    size_t ExpressionCount() const { return expressions.size(); }
    void Clear();
    // The factory ANDs each new node's IsConst into this flag.
    void MarkNotConst() { isConst = false; }

private:
    std::vector<ExprPtr> expressions;
    bool isConst = true;
    // Set when some reference's value varies: the formula is then constant
    // only by way of its references, and not calculated once.
    bool constViaReference = false;
};

}  // namespace CalcEngine
