// The state of one exported call: messages, quota, null handling and
// separators, the client and the host's per-call data. It lives in the
// call's frame and borrows one object factory for the call's duration.
#pragma once

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "values/ICalcContext.h"
#include "values/Object.h"

namespace CalcEngine {

class CalcContext final : public ICalcContext {
public:
    CalcContext(CalcClient* client, void* clientData);
    ~CalcContext() override;
    CalcContext(const CalcContext&) = delete;
    CalcContext& operator=(const CalcContext&) = delete;

    ICalcObjectReference* CreateObjectReference(Environment& environment,
                                                const WString& symbol) override;
    std::unique_ptr<ICalcFunctionReference> CreateFunctionReference(const ExpressionList& arguments,
                                                                    const WString& name) override;
    void FormatNumber(double value, WString& out, int precision) override;
    double ParseNumber(const WString& text) override;
    char16_t GetDecimalSeparator() override { return Separator(DecimalIndex, u'.'); }
    char16_t GetExpressionListSeparator() override { return Separator(ExpressionListIndex, u','); }
    char16_t GetSeparator3() override { return Separator(Separator3Index, u','); }
    char16_t GetSeparator4() override { return Separator(Separator4Index, u' '); }
    char16_t GetSeparator5() override { return Separator(Separator5Index, u','); }
    uint32_t ExchangeSeparator(int index, uint32_t value) override {
        return std::exchange(separators[index], value);
    }
    bool FindFunction(const WString& name) override;
    void AddWarning(const WString& text, int32_t level) override;
    void AddError(const WString& text, const Error::Category& category, int32_t level) override;
    void AddError(const Error& error, int32_t level) override;
    void GetSummary(WString& out, const char16_t* title) override;
    const WString& GetLineFeed() override;
    void WriteLogEntry(const WString& text, int32_t priority) override;
    void OnExternalFunctionCallCreated(const WString& name) override;
    void PushScope() override { scopes.emplace_back(); }
    void PopScope() override { scopes.pop_back(); }
    Object* FindVariable(const WString& name) override;
    void AssignVariable(Environment& environment, const WString& name, Object* value) override;

    int32_t GetHighestLevel() const { return highestLevel; }

private:
    struct Message {
        const Error::Category* category;
        WString text;
    };

    char16_t Separator(int index, char16_t fallback) const {
        return separators[index] == UnsetSeparator ? fallback
                                                   : static_cast<char16_t>(separators[index]);
    }
    void AddMessage(const Error::Category& category, const WString& text, int32_t level);

    uint32_t separators[SeparatorCount];
    bool hasErrors = false;
    bool hasWarnings = false;
    int32_t highestLevel = 0;
    std::vector<Message> messages;
    // Local variables by name, innermost scope last.
    std::vector<std::map<WString, PtrWrapper>> scopes;
};

}  // namespace CalcEngine
