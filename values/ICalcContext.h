// The engine's view of the state of one exported call. Engine code reaches
// the context of its thread through CurrentContext(), never as an argument.
#pragma once

#include <cstdint>

#include "values/Exception.h"
#include "values/Text.h"

class CalcClient;

namespace CalcEngine {

class Environment;
class ExpressionList;
class Object;
class ObjectFactory;

class ICalcContext {
public:
    virtual ~ICalcContext() = default;

    // Told when an evaluation starts; nothing to do in the calculation context.
    virtual void NoOperation() = 0;
    // Appends "NULL" for null, else the number with up to `precision` decimals.
    virtual void FormatNumber(double value, WString& out, int precision) = 0;
    // "NULL" gives the null value or raises NullValueException; other text
    // always reads as a number.
    virtual double ParseNumber(const WString& text) = 0;
    virtual char16_t GetDecimalSeparator() = 0;
    virtual char16_t GetExpressionListSeparator() = 0;
    // Item separator of texts read as lists.
    virtual char16_t GetSeparator3() = 0;
    // Separator of a number list's text form.
    virtual char16_t GetSeparator4() = 0;
    virtual char16_t GetSeparator5() = 0;
    // Whether `name` is a known function (case-insensitive).
    virtual bool FindFunction(const WString& name) = 0;
    virtual void AddWarning(const WString& text, int32_t level) = 0;
    virtual void AddError(const WString& text, const Error::Category& category, int32_t level) = 0;
    virtual void AddError(const Error& error, int32_t level) = 0;
    // Appends the outcome line and every message, each ended by the line feed.
    virtual void GetSummary(WString& out, const char16_t* title) = 0;
    virtual void* GetClientData() = 0;
    virtual double GetNullValue() = 0;
    // Whether a null may be replaced by the null value instead of raising
    // NullValueException.
    virtual bool NullAccepted() = 0;
    // Charges one unit of the quota; raises CalculationQuotaExceededException
    // past the limit.
    virtual void TickQuota() = 0;
    virtual ObjectFactory* GetObjectFactory() = 0;
    virtual CalcClient* GetClient() = 0;
    // The client's line-feed text, which ends composed messages.
    virtual const WString& GetLineFeed() = 0;
};

extern thread_local ICalcContext* currentContext __attribute__((tls_model("initial-exec")));

// The thread's current context, null outside any exported call.
inline ICalcContext* CurrentContext() { return currentContext; }

// Sets the thread's current context without restoring it later: for the
// fault guard, whose skipped frames could not restore it themselves.
void SetCurrentContext(ICalcContext* context);

// Makes a context current for a scope and restores the previous one.
class CurrentContextScope {
public:
    explicit CurrentContextScope(ICalcContext* context);
    ~CurrentContextScope();
    CurrentContextScope(const CurrentContextScope&) = delete;
    CurrentContextScope& operator=(const CurrentContextScope&) = delete;

private:
    ICalcContext* saved;
};

}  // namespace CalcEngine
