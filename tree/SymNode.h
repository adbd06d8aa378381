// Base classes of the formula tree. A prepared tree is immutable during
// evaluation, so one tree may be evaluated by many threads at once.
#pragma once

#include <memory>

#include "values/ICalcContext.h"
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

class SymNode : public StreamDumpable {
public:
    // One reference for the caller; may be null.
    virtual Object* Evaluate(Environment& environment) const = 0;
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

// Whether every node it visits is constant.
class ConstCheckVisitor : public SymNodeVisitor {
public:
    void Visit(SymNode& node) override { Check(node); }
    void VisitUp(SymNode& node) override { Check(node); }
    void VisitConst(SymNode& node) override { Check(node); }

    bool isConst = true;

private:
    void Check(const SymNode& node) { isConst = isConst && node.IsConst(); }
};

// Charges one quota unit to the current context; every evaluating node calls
// it first, before any child runs.
inline void TickQuota() { CurrentContext()->TickQuota(); }

}  // namespace CalcEngine
