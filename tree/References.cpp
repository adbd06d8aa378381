#include "tree/References.h"

#include "tree/Call.h"
#include "values/ICalcContext.h"

namespace CalcEngine {

// The name is bound now, once: evaluation only asks the bound object.
VarRef::VarRef(Environment& environment, std::unique_ptr<ObjectIdentifier> identifier,
               std::unique_ptr<ExpressionList> arguments)
    : arguments(std::move(arguments)),
      reference(CurrentContext()->CreateObjectReference(environment, identifier->GetName())),
      identifier(std::move(identifier)) {
    if (this->arguments) this->arguments->parent = this;
}

VarRef::~VarRef() { Release(reference); }

Object* VarRef::Evaluate(Environment& environment) const {
    TickQuota();
    return reference->GetValue(environment, arguments.get());
}

void VarRef::Dump(WString& out, int options) const {
    identifier->Dump(out, options);
    if (!arguments) return;
    out += u"(";
    arguments->Dump(out, options);
    out += u")";
}

void VarRef::Accept(SymNodeVisitor& visitor) {
    if (arguments) arguments->Accept(visitor);
    visitor.Visit(*this);
}

void VarRef::AcceptConst(SymNodeVisitor& visitor) {
    if (arguments) arguments->AcceptConst(visitor);
    visitor.VisitConst(*this);
}

void VarRef::ReportCreated(Environment& environment) const {
    const bool empty = !arguments || arguments->Size() == 0;
    const ExpressionList* constArguments = nullptr;
    if (!empty) {
        ConstCheckVisitor check;
        arguments->AcceptConst(check);
        if (check.isConst) constArguments = arguments.get();
    }
    reference->ReportCreated(environment, constArguments, identifier->Position(), empty);
}

void ExternalCallbackVisitor::Visit(SymNode& node) {
    if (const auto* reference = dynamic_cast<const VarRef*>(&node))
        reference->ReportCreated(environment);
    else if (const auto* call = dynamic_cast<const Call*>(&node))
        call->ReportCreated();
}

}  // namespace CalcEngine
