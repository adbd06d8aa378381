#include "tree/References.h"

#include "context/HostBridge.h"

namespace CalcEngine {

VarRef::VarRef(std::unique_ptr<ObjectIdentifier> identifier,
               std::unique_ptr<ExpressionList> arguments)
    : identifier(std::move(identifier)), arguments(std::move(arguments)) {
    if (this->arguments) this->arguments->parent = this;
}

Object* VarRef::Evaluate(Environment& environment) const {
    TickQuota();
    return GetSymbolValue(environment, identifier->GetName(), arguments.get());
}

void VarRef::Dump(WString& out, int options) const {
    identifier->Dump(out, options);
    if (!arguments) return;
    out += u"(";
    arguments->Dump(out, options);
    out += u")";
}

// Parameters are visited before the reference itself.
void VarRef::Accept(SymNodeVisitor& visitor) {
    if (arguments) arguments->Accept(visitor);
    visitor.Visit(*this);
}

void VarRef::AcceptConst(SymNodeVisitor& visitor) {
    if (arguments) arguments->AcceptConst(visitor);
    visitor.VisitConst(*this);
}

}  // namespace CalcEngine
