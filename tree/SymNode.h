// Base classes of the formula tree. A prepared tree is immutable during
// evaluation, so one tree may be evaluated by many threads at once.
#pragma once

#include <memory>

#include "values/Object.h"
#include "values/Text.h"

namespace CalcEngine {

class Environment;
class Expr;
class SymNode;
class NumberVectorObject;

class SymNodeVisitor {
public:
    virtual ~SymNodeVisitor() = default;
    virtual void Visit(SymNode& node) = 0;
    virtual void VisitUp(SymNode& node) = 0;
    virtual void VisitConst(SymNode& node) = 0;
};

class SymNode : public LazyOperand {
public:
    // Evaluates and inserts the value at the end of the list `target`.
    virtual void AppendTo(Environment& environment, NumberVectorObject& target) const;
    virtual bool IsAssignTarget(const SymNode* node) const {
        (void)node;
        return false;
    }
    virtual bool IsConst() const { return true; }
    virtual void Accept(SymNodeVisitor& visitor) { visitor.Visit(*this); }
    virtual void AcceptConst(SymNodeVisitor& visitor) { visitor.VisitConst(*this); }
    void AcceptUp(SymNodeVisitor& visitor);

    SymNode* parent = nullptr;
};

class Expr : public SymNode {
public:
    virtual WString GetLabel() const { return WString(); }
};

// A child is owned by exactly one parent.
using ExprPtr = std::unique_ptr<Expr>;

// Charges one quota unit to the current context; every evaluating node calls
// it first, before any child runs.
void TickQuota();

}  // namespace CalcEngine
