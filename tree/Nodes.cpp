#include "tree/Nodes.h"

#include <charconv>

#include "values/ICalcContext.h"
#include "values/NumberVectorObject.h"
#include "values/ObjectFactory.h"

namespace CalcEngine {

void SymNode::AppendTo(Environment& environment, NumberVectorObject& target) const {
    PtrWrapper value(Evaluate(environment));
    if (value) target.SetItem(static_cast<unsigned>(target.Size()), *value);
}

void SymNode::AcceptUp(SymNodeVisitor& visitor) {
    for (SymNode* node = this; node; node = node->parent) visitor.VisitUp(*node);
}

void ExpressionList::Add(ExprPtr expression) {
    expression->parent = this;
    items.push_back(std::move(expression));
}

Object* ExpressionList::Evaluate(Environment& environment) const {
    TickQuota();
    PtrWrapper last;
    for (const ExprPtr& item : items) last.Reset(item->Evaluate(environment));
    return last.Detach();
}

void ExpressionList::AppendTo(Environment& environment, NumberVectorObject& target) const {
    for (const ExprPtr& item : items) item->AppendTo(environment, target);
}

void ExpressionList::Dump(WString& out, int options) const {
    for (size_t i = 0; i < items.size(); ++i) {
        if (i) out += u", ";
        items[i]->Dump(out, options);
    }
}

void ExpressionList::Accept(SymNodeVisitor& visitor) {
    visitor.Visit(*this);
    for (ExprPtr& item : items) item->Accept(visitor);
}

void ExpressionList::AcceptConst(SymNodeVisitor& visitor) {
    visitor.VisitConst(*this);
    for (ExprPtr& item : items) item->AcceptConst(visitor);
}

ExprLabel::ExprLabel(ExprPtr expression, const WString& label)
    : expression(std::move(expression)), label(label) {
    if (this->expression) this->expression->parent = this;
}

Object* ExprLabel::Evaluate(Environment& environment) const {
    if (!expression) return CurrentFactory()->CreateEmpty(&environment);
    return expression->Evaluate(environment);
}

void ExprLabel::Dump(WString& out, int options) const {
    out += label;
    out += u" = ";
    if (expression) expression->Dump(out, options);
}

void ExprLabel::Accept(SymNodeVisitor& visitor) {
    if (expression) expression->Accept(visitor);
}

void ExprLabel::AcceptConst(SymNodeVisitor& visitor) {
    if (expression) expression->AcceptConst(visitor);
}

ParenthesisBlock::ParenthesisBlock(ExprPtr expression) : expression(std::move(expression)) {
    this->expression->parent = this;
}

Object* ParenthesisBlock::Evaluate(Environment& environment) const {
    TickQuota();
    return expression->Evaluate(environment);
}

void ParenthesisBlock::Dump(WString& out, int options) const {
    out += u"(";
    expression->Dump(out, options);
    out += u")";
}

void ParenthesisBlock::Accept(SymNodeVisitor& visitor) {
    visitor.Visit(*this);
    expression->Accept(visitor);
}

void ParenthesisBlock::AcceptConst(SymNodeVisitor& visitor) {
    visitor.VisitConst(*this);
    expression->AcceptConst(visitor);
}

ListBlock::ListBlock() { items.parent = this; }

Object* ListBlock::Evaluate(Environment& environment) const {
    TickQuota();
    PtrWrapper list(CurrentFactory()->CreateNumberVector(&environment));
    items.AppendTo(environment, static_cast<NumberVectorObject&>(*list));
    return list.Detach();
}

void ListBlock::Dump(WString& out, int options) const {
    out += u"[";
    for (size_t i = 0; i < items.Size(); ++i) {
        if (i) out += u" ";
        items[i].Dump(out, options);
    }
    out += u"]";
}

Object* IntConst::Evaluate(Environment& environment) const {
    TickQuota();
    return CurrentFactory()->CreateInt(&environment, value);
}

void IntConst::Dump(WString& out, int options) const {
    (void)options;
    out += ToDecimal(value);
}

Object* FloatConst::Evaluate(Environment& environment) const {
    TickQuota();
    return CurrentFactory()->CreateFloat(&environment, value);
}

void FloatConst::Dump(WString& out, int options) const {
    (void)options;
    char buffer[32];
    auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    out += Widen(std::string_view(buffer, end - buffer));
}

Object* StringConst::Evaluate(Environment& environment) const {
    TickQuota();
    return CurrentFactory()->CreateString(&environment, value);
}

void StringConst::Dump(WString& out, int options) const {
    (void)options;
    out += u"\"";
    out += value;
    out += u"\"";
}

Object* EmptyConst::Evaluate(Environment& environment) const {
    TickQuota();
    return CurrentFactory()->CreateEmpty(&environment);
}

}  // namespace CalcEngine
