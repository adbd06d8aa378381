// The simple nodes: expression lists, labels, blocks and constants.
#pragma once

#include <cstdint>
#include <vector>

#include "tree/SymNode.h"

namespace CalcEngine {

// An ordered list of owned expressions: call arguments, list items.
class ExpressionList : public SymNode {
public:
    void Add(ExprPtr expression);
    size_t Size() const { return items.size(); }
    const Expr& operator[](size_t i) const { return *items[i]; }
    Expr& operator[](size_t i) { return *items[i]; }

    // Evaluates all items in order and answers the last value.
    Object* Evaluate(Environment& environment) const override;
    void AppendTo(Environment& environment, NumberVectorObject& target) const override;
    void Dump(WString& out, int options) const override;
    void Accept(SymNodeVisitor& visitor) override;
    void AcceptConst(SymNodeVisitor& visitor) override;

private:
    std::vector<ExprPtr> items;
};

// `label = expression` inside a host symbol's arguments.
class ExprLabel : public Expr {
public:
    ExprLabel(ExprPtr expression, const WString& label);
    Object* Evaluate(Environment& environment) const override;
    WString GetLabel() const override { return label; }
    void Dump(WString& out, int options) const override;
    void Accept(SymNodeVisitor& visitor) override;
    void AcceptConst(SymNodeVisitor& visitor) override;

private:
    ExprPtr expression;
    WString label;
};

// `( expression )`: keeps a parenthesised operator chain from rotating.
class ParenthesisBlock : public Expr {
public:
    explicit ParenthesisBlock(ExprPtr expression);
    Object* Evaluate(Environment& environment) const override;
    void Dump(WString& out, int options) const override;
    void Accept(SymNodeVisitor& visitor) override;
    void AcceptConst(SymNodeVisitor& visitor) override;

private:
    ExprPtr expression;
};

// `[ item item ... ]`: always evaluates to a number list.
class ListBlock : public Expr {
public:
    ListBlock();
    ExpressionList& Items() { return items; }
    Object* Evaluate(Environment& environment) const override;
    void Dump(WString& out, int options) const override;
    void Accept(SymNodeVisitor& visitor) override { items.Accept(visitor); }
    void AcceptConst(SymNodeVisitor& visitor) override { items.AcceptConst(visitor); }

private:
    ExpressionList items;
};

class ConstValue : public Expr {};

class IntConst : public ConstValue {
public:
    explicit IntConst(int32_t value) : value(value) {}
    Object* Evaluate(Environment& environment) const override;
    void Dump(WString& out, int options) const override;

private:
    int32_t value;
};

class FloatConst : public ConstValue {
public:
    explicit FloatConst(double value) : value(value) {}
    Object* Evaluate(Environment& environment) const override;
    void Dump(WString& out, int options) const override;

private:
    double value;
};

class StringConst : public ConstValue {
public:
    explicit StringConst(const WString& value) : value(value) {}
    Object* Evaluate(Environment& environment) const override;
    void Dump(WString& out, int options) const override;

private:
    WString value;
};

class EmptyConst : public ConstValue {
public:
    Object* Evaluate(Environment& environment) const override;
    void Dump(WString& out, int options) const override {
        (void)options;
        out += u"NULL";
    }
};

}  // namespace CalcEngine
