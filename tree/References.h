// Names in a formula: the identifier a name starts from, the object it is
// bound to while the tree is built, and VarRef, the node that holds that
// object.
#pragma once

#include <cstdint>
#include <memory>

#include "tree/Nodes.h"

namespace CalcEngine {

// A (possibly dotted) name and its character offset in the rule text.
class ObjectIdentifier : public StreamDumpable {
public:
    ObjectIdentifier(int32_t position, const WString& name) : position(position), name(name) {}
    void Dump(WString& out, int options) const override {
        (void)options;
        out += name;
    }
    const WString& GetName() const { return name; }
    int32_t Position() const { return position; }

private:
    int32_t position;
    WString name;
};

// What a name stands for: an object that holds no value of its own and
// fetches one, at every evaluation, from where the name leads.
class ICalcObjectReference : public Object {
public:
    using Object::Object;

    // The value for this evaluation, with the reference's `arguments` (null
    // for a plain name). One reference for the caller.
    virtual Object* GetValue(Environment& environment, const ExpressionList* arguments) const = 0;
    // Whether the value stays the same from one calculation to the next.
    virtual bool IsConstValue() const = 0;
    // Tells the owner of the name that a formula refers to it, at `position`
    // in the text, with its arguments when all of them are constant
    // (`constArguments`, else null). A variable answer marks `environment`.
    virtual void ReportCreated(Environment& environment, const ExpressionList* constArguments,
                               int32_t position, bool emptyParamList) = 0;
};

// A name in a formula, plain (`x`, no argument list) or with arguments
// (`x(...)`), bound at construction to the object the context resolves it
// to.
class VarRef : public Expr {
public:
    VarRef(Environment& environment, std::unique_ptr<ObjectIdentifier> identifier,
           std::unique_ptr<ExpressionList> arguments);
    ~VarRef() override;

    Object* Evaluate(Environment& environment) const override;
    // The name as written, with its arguments.
    void Dump(WString& out, int options) const override;
    bool IsConst() const override { return reference->IsConstValue(); }
    // The arguments are visited before the reference itself.
    void Accept(SymNodeVisitor& visitor) override;
    void AcceptConst(SymNodeVisitor& visitor) override;

    // Reports the reference to the owner of its name: after every
    // preparation of the formula.
    void ReportCreated(Environment& environment) const;

    ICalcObjectReference* Reference() const { return reference; }
    const ObjectIdentifier& Identifier() const { return *identifier; }
    const ExpressionList* Arguments() const { return arguments.get(); }

private:
    std::unique_ptr<ExpressionList> arguments;
    // One reference, held for the node's life.
    ICalcObjectReference* reference;
    std::unique_ptr<ObjectIdentifier> identifier;
};

// Tells the owners of the names and functions in a tree that the formula
// refers to them.
class ExternalCallbackVisitor : public SymNodeVisitor {
public:
    explicit ExternalCallbackVisitor(Environment& environment) : environment(environment) {}
    void Visit(SymNode& node) override;
    void VisitUp(SymNode&) override {}
    void VisitConst(SymNode&) override {}

private:
    Environment& environment;
};

}  // namespace CalcEngine
