#include "context/CalcContext.h"

#include "context/CalcClient.h"
#include "context/FactoryPool.h"
#include "context/ObjectReference.h"
#include "functions/Function.h"
#include "values/NumberText.h"
#include "values/ObjectFactory.h"

namespace CalcEngine {

CalcContext::CalcContext(CalcClient* client, void* clientData) {
    this->client = client;
    this->clientData = clientData;
    SetQuota(client->quota);
    nullMode.substitute = NullNumber();
    for (uint32_t& separator : separators) separator = UnsetSeparator;
    if (client->expressionListSeparator)
        separators[ExpressionListIndex] = client->expressionListSeparator;
    if (client->decimalSeparator) separators[DecimalIndex] = client->decimalSeparator;
    objectFactory = BorrowFactory();
}

CalcContext::~CalcContext() { ReturnFactory(); }

ICalcObjectReference* CalcContext::CreateObjectReference(Environment& environment,
                                                         const WString& symbol) {
    return new CalcRuntimeObjectReference(&environment, symbol);
}

std::unique_ptr<ICalcFunctionReference> CalcContext::CreateFunctionReference(
    const ExpressionList& arguments, const WString& name) {
    bool ignoreNull;
    const ICalcFunction* function = client->registry.Find(name, ignoreNull);
    if (!function) RaiseSemanticError(u"Function named: \"" + name + u"\" not found.");
    function->CheckParameters(*this, arguments);
    return std::make_unique<CalcFunctionReference>(*function, ignoreNull);
}

void CalcContext::FormatNumber(double value, WString& out, int precision) {
    if (IsNull(value)) {
        out += u"NULL";
        return;
    }
    FormatFixed(out, value, precision, 1, GetDecimalSeparator());
}

double CalcContext::ParseNumber(const WString& text) {
    if (text == u"NULL") {
        if (!nullMode.accepted) throw NullValueException();
        return nullMode.substitute;
    }
    return TextToNumber(text, GetDecimalSeparator());
}

bool CalcContext::FindFunction(const WString& name) {
    bool ignoreNull;
    return client->registry.Find(name, ignoreNull) != nullptr;
}

void CalcContext::AddMessage(const Error::Category& category, const WString& text, int32_t level) {
    messages.push_back(Message{&category, text});
    if (level > highestLevel) highestLevel = level;
}

void CalcContext::AddWarning(const WString& text, int32_t level) {
    AddMessage(Warning::GetCategory(), text, level);
    hasWarnings = true;
}

void CalcContext::AddError(const WString& text, const Error::Category& category, int32_t level) {
    AddMessage(category, text, level);
    hasErrors = true;
}

void CalcContext::AddError(const Error& error, int32_t level) {
    const WString& lineFeed = GetLineFeed();
    WString text;
    error.FormatMessage(text, lineFeed.c_str());
    AddError(text + lineFeed, error.GetCategory(), level);
}

void CalcContext::GetSummary(WString& out, const char16_t* title) {
    const WString& lineFeed = GetLineFeed();
    if (hasErrors)
        out += title ? WString(title) + u" failed" : WString(u"Calculation failed");
    else if (hasWarnings)
        out += u"Warnings occurred";
    else
        out += u"Calculation OK";
    out += lineFeed;
    for (const Message& message : messages) {
        out += message.text;
        out += lineFeed;
    }
}

const WString& CalcContext::GetLineFeed() { return client->lineFeed; }

void CalcContext::WriteLogEntry(const WString& text, int32_t priority) {
    client->WriteLogEntry(text, priority);
}

void CalcContext::OnExternalFunctionCallCreated(const WString& name) {
    client->OnExternalFunctionCallCreated(name);
}

Object* CalcContext::FindVariable(const WString& name) {
    for (auto scope = scopes.rbegin(); scope != scopes.rend(); ++scope) {
        auto found = scope->find(name);
        if (found != scope->end()) return found->second.Get();
    }
    return nullptr;
}

void CalcContext::AssignVariable(Environment& environment, const WString& name, Object* value) {
    PtrWrapper& variable = scopes.back()[name];
    if (!variable) variable.Reset(objectFactory->CreateVariable(&environment, nullptr));
    if (value) variable->Assign(*value, true);
}

}  // namespace CalcEngine
