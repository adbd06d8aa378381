#include "tree/Call.h"

#include "values/ICalcContext.h"

namespace CalcEngine {

// The name is bound now, and the number of arguments checked: an unknown
// function or a wrong count fails the preparation.
Call::Call(std::unique_ptr<ObjectIdentifier> identifier, std::unique_ptr<ExpressionList> arguments)
    : arguments(std::move(arguments)),
      function(CurrentContext()->CreateFunctionReference(*this->arguments, identifier->GetName())) {
    this->arguments->parent = this;
}

Object* Call::Evaluate(Environment& environment) const {
    TickQuota();
    return function->Evaluate(environment, *arguments);
}

void Call::Dump(WString& out, int options) const {
    function->Dump(out);
    out += u"(";
    arguments->Dump(out, options);
    out += u")";
}

void Call::Accept(SymNodeVisitor& visitor) {
    visitor.Visit(*this);
    arguments->Accept(visitor);
}

void Call::AcceptConst(SymNodeVisitor& visitor) {
    visitor.VisitConst(*this);
    arguments->AcceptConst(visitor);
}

}  // namespace CalcEngine
