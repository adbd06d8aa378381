// Names in a formula: the identifier a reference starts from, and VarRef,
// a reference to a named thing that the context resolves.
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

// A host symbol, plain (`x`, no argument list) or with arguments (`x(...)`);
// its value is asked of the host at each evaluation.
class VarRef : public Expr {
public:
    VarRef(std::unique_ptr<ObjectIdentifier> identifier, std::unique_ptr<ExpressionList> arguments);

    Object* Evaluate(Environment& environment) const override;
    void Dump(WString& out, int options) const override;
    bool IsConst() const override { return false; }
    void Accept(SymNodeVisitor& visitor) override;
    void AcceptConst(SymNodeVisitor& visitor) override;

    const ObjectIdentifier& Identifier() const { return *identifier; }
    const ExpressionList* Arguments() const { return arguments.get(); }

private:
    std::unique_ptr<ObjectIdentifier> identifier;
    std::unique_ptr<ExpressionList> arguments;
};

}  // namespace CalcEngine
