#include "context/CalcContext.h"

#include "context/FactoryPool.h"
#include "values/NumberText.h"
#include "context/CalcClient.h"
#include "values/Object.h"

namespace CalcEngine {

CalcContext::CalcContext(CalcClient* client, void* clientData)
    : objectFactory(nullptr),
      clientData(clientData),
      nullSubstitute(NullNumber()),
      quotaLimit(client->quota),
      client(client) {
    for (uint32_t& separator : separators) separator = Unset;
    if (client->expressionListSeparator)
        separators[ExpressionListIndex] = client->expressionListSeparator;
    if (client->decimalSeparator) separators[DecimalIndex] = client->decimalSeparator;
    objectFactory = BorrowFactory();
}

CalcContext::~CalcContext() { ReturnFactory(objectFactory); }

void CalcContext::FormatNumber(double value, WString& out, int precision) {
    if (IsNull(value)) {
        out += u"NULL";
        return;
    }
    FormatFixed(out, value, precision, 1, GetDecimalSeparator());
}

double CalcContext::ParseNumber(const WString& text) {
    if (text == u"NULL") {
        if (!nullAccepted) throw NullValueException();
        return nullSubstitute;
    }
    return TextToNumber(text, GetDecimalSeparator());
}

bool CalcContext::FindFunction(const WString& name) {
    // No function is registered with a client yet.
    (void)name;
    return false;
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
    WString text;
    error.FormatMessage(text, GetLineFeed().c_str());
    AddError(text, error.GetCategory(), level);
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

void CalcContext::TickQuota() {
    int32_t count = quotaCount.fetch_add(1, std::memory_order_relaxed) + 1;
    if (quotaLimit != 0 && count > quotaLimit) throw CalculationQuotaExceededException();
}

const WString& CalcContext::GetLineFeed() { return client->lineFeed; }

}  // namespace CalcEngine
