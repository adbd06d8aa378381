// The computing nodes: binary and unary operators, ranges and assignment.
#pragma once

#include <cstdint>

#include "tree/SymNode.h"
#include "values/OperatorTable.h"

namespace CalcEngine {

class BinOp : public Expr {
public:
    // Builds `left op right`. A right operand that is a BinOp of the same
    // precedence is rotated into a left-leaning chain, so that every level is
    // left-associative; answers the top of the resulting chain.
    static ExprPtr Create(int32_t op, ExprPtr left, ExprPtr right);
    // `left op right` over two finished values, as an operator node computes
    // it once both operands are there; charges one quota unit. A logical
    // operator, which needs its right side unevaluated, is refused. One
    // reference for the caller.
    static Object* Apply(int32_t op, Environment& environment, Object& left, Object& right);

    ~BinOp() override;

    Object* Evaluate(Environment& environment) const override;
    void Dump(WString& out, int options) const override;
    void Accept(SymNodeVisitor& visitor) override;
    void AcceptConst(SymNodeVisitor& visitor) override;

    int32_t Op() const { return op; }

private:
    BinOp(int32_t op, ExprPtr left);
    void SetLeft(ExprPtr node);
    void SetRight(ExprPtr node);
    // Takes the chain under `chainTop` apart and rebuilds it on top of this
    // node; answers the new top.
    BinOp* RotateInto(ExprPtr chainTop);
    template <class VisitNode, class AcceptOperand>
    void WalkChain(VisitNode visitNode, AcceptOperand acceptOperand);
    BinOp* LeftBinOp() const { return leftIsBinOp ? static_cast<BinOp*>(left.get()) : nullptr; }
    // Steps after the left operand: evaluate the right one, choose the
    // accumulator, apply the operator. Takes the reference of `leftValue`.
    Object* Combine(Environment& environment, Object* leftValue) const;

    int32_t op;
    ExprPtr left;
    ExprPtr right;
    // Chains lean left, so their left spine can be long: evaluation,
    // visits, dumps and destruction walk it with loops, not recursion.
    bool leftIsBinOp = false;
};

class UnOp : public Expr {
public:
    UnOp(int32_t op, ExprPtr operand);
    Object* Evaluate(Environment& environment) const override;
    void Dump(WString& out, int options) const override;
    void Accept(SymNodeVisitor& visitor) override;
    void AcceptConst(SymNodeVisitor& visitor) override;

private:
    int32_t op;
    ExprPtr operand;
};

// `from .. to` inside a list: counts up or down, at most 1000000 numbers.
class Range : public Expr {
public:
    static constexpr int32_t MaxLength = 1000000;

    Range(ExprPtr from, ExprPtr to);
    Object* Evaluate(Environment& environment) const override;
    // Evaluates the range straight into `target`, without a list of its own.
    void AppendTo(Environment& environment, NumberVectorObject& target) const override;
    void Dump(WString& out, int options) const override;
    void Accept(SymNodeVisitor& visitor) override;
    void AcceptConst(SymNodeVisitor& visitor) override;

private:
    ExprPtr from;
    ExprPtr to;
};

// `target := value`: changes the target's object in place.
class Assign : public Expr {
public:
    Assign(ExprPtr target, ExprPtr value);
    Object* Evaluate(Environment& environment) const override;
    void Dump(WString& out, int options) const override;
    bool IsConst() const override { return false; }
    bool IsAssignTarget(const SymNode* node) const override { return node == target.get(); }
    void Accept(SymNodeVisitor& visitor) override;
    void AcceptConst(SymNodeVisitor& visitor) override;

private:
    ExprPtr target;
    ExprPtr value;
};

}  // namespace CalcEngine
