// The engine's view of the state of one exported call. Engine code reaches
// the context of its thread through CurrentContext(), never as an argument.
#pragma once

#include <cstdint>
#include <memory>

#include "values/Exception.h"
#include "values/Text.h"

class CalcClient;

namespace CalcEngine {

class Environment;
class ExpressionList;
class ICalcFunctionReference;
class ICalcObjectReference;
class Object;
class ObjectFactory;

// How nulls are treated in the current call; the null-handling builtins set
// and restore it.
struct NullMode {
    // nullListMode, the ignore-null level: above 0, lists are built without
    // null numbers and the host is told to ignore nulls.
    int32_t listMode = 0;
    // nullModeSet: a null-handling statement is in force, and calls marked
    // to ignore nulls leave the level alone.
    bool modeSet = false;
    // nullSubstitute: what a null from the host becomes where accepted.
    double substitute = 0.0;
    // nullAccepted: a null may become `substitute` instead of raising
    // NullValueException.
    bool accepted = false;
};

// The operations are virtual; the state that every node and value reaches
// during a calculation (the factory, the quota, the null handling) is held
// here as plain data, so that it costs a load and no call.
class ICalcContext {
public:
    // The separators a context holds, by index; a value of UnsetSeparator
    // stands for the default.
    enum SeparatorIndex {
        DecimalIndex,
        ExpressionListIndex,
        Separator3Index,
        Separator4Index,
        Separator5Index,
        SeparatorCount
    };
    static constexpr uint32_t UnsetSeparator = 0xFFFFFFFF;

    virtual ~ICalcContext() = default;

    // The object that the name `symbol` stands for in `environment`, bound
    // while the tree is built: a reference to the host's symbol. One
    // reference for the caller.
    virtual ICalcObjectReference* CreateObjectReference(Environment& environment,
                                                        const WString& symbol) = 0;
    // The function `name` bound to a call with `arguments`, whose count it has
    // checked. An unknown name or a wrong count raises SemanticError.
    virtual std::unique_ptr<ICalcFunctionReference> CreateFunctionReference(
        const ExpressionList& arguments, const WString& name) = 0;
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
    // Sets the separator `index` to `value` and answers the value it had.
    virtual uint32_t ExchangeSeparator(int index, uint32_t value) = 0;
    // Whether `name` is a known function (case-insensitive, a trailing '_'
    // ignored).
    virtual bool FindFunction(const WString& name) = 0;
    virtual void AddWarning(const WString& text, int32_t level) = 0;
    virtual void AddError(const WString& text, const Error::Category& category, int32_t level) = 0;
    // The error's category and its composed message, ended by the line feed.
    virtual void AddError(const Error& error, int32_t level) = 0;
    // Appends the outcome line and every message, each ended by the line feed.
    virtual void GetSummary(WString& out, const char16_t* title) = 0;
    // The client's line-feed text: the separator and the ending of composed
    // messages.
    virtual const WString& GetLineFeed() = 0;
    // The host's log, where formulas write their own entries.
    virtual void WriteLogEntry(const WString& text, int32_t priority) = 0;
    // Tells the host, when it listens, that a formula calls its function
    // `name`.
    virtual void OnExternalFunctionCallCreated(const WString& name) = 0;

    // Local variables: a stack of scopes, innermost last.
    virtual void PushScope() = 0;
    // Drops the innermost scope and its variables.
    virtual void PopScope() = 0;
    // The variable `name` of the innermost scope that has one, or null; no
    // reference is added.
    virtual Object* FindVariable(const WString& name) = 0;
    // Assigns `value` (null leaves it undefined) to the variable `name` of
    // the innermost scope, creating the variable in `environment` first where
    // needed.
    virtual void AssignVariable(Environment& environment, const WString& name, Object* value) = 0;

    // Charges one unit of the quota; raises CalculationQuotaExceededException
    // past the limit. Only the call's own thread ticks its context.
    void TickQuota() {
        if (++quotaCount > quotaCeiling) QuotaExceeded();
    }
    ObjectFactory* GetObjectFactory() const { return objectFactory; }
    CalcClient* GetClient() const { return client; }
    // The host's pointer for this call, handed to every callback.
    void* GetClientData() const { return clientData; }
    NullMode& GetNullMode() { return nullMode; }
    double GetNullValue() const { return nullMode.substitute; }
    bool NullAccepted() const { return nullMode.accepted; }
    // How deep Evaluate builtins are nested in this call.
    int32_t& EvaluateNesting() { return evaluateNesting; }

protected:
    // A quota of `limit` ticks (0: none; a negative one allows none).
    void SetQuota(int32_t limit) {
        quotaCeiling = limit == 0 ? UINT64_MAX : limit < 0 ? 0 : static_cast<uint64_t>(limit);
    }

    ObjectFactory* objectFactory = nullptr;
    CalcClient* client = nullptr;
    void* clientData = nullptr;
    NullMode nullMode;
    int32_t evaluateNesting = 0;

private:
    // Out of line, so that every node's tick stays a few instructions.
    [[noreturn]] static void QuotaExceeded();

    uint64_t quotaCount = 0;
    uint64_t quotaCeiling = UINT64_MAX;
};

extern thread_local constinit ICalcContext* currentContext;

// The thread's current context, null outside any exported call.
inline ICalcContext* CurrentContext() { return currentContext; }

// The separator of the items of a text read as a list: the context's third
// separator, ',' outside a call.
inline char16_t ItemSeparator() {
    ICalcContext* context = CurrentContext();
    return context ? context->GetSeparator3() : u',';
}

// Sets the thread's current context without restoring it later: for the
// fault guard, whose skipped frames could not restore it themselves.
void SetCurrentContext(ICalcContext* context);

// Makes a context current for a scope and restores the previous one.
class CurrentContextScope {
public:
    explicit CurrentContextScope(ICalcContext* context) : saved(currentContext) {
        currentContext = context;
    }
    ~CurrentContextScope() { currentContext = saved; }
    CurrentContextScope(const CurrentContextScope&) = delete;
    CurrentContextScope& operator=(const CurrentContextScope&) = delete;

private:
    ICalcContext* saved;
};

// Sets a separator for its lifetime and puts the saved value back after:
// `index` names one separator, or FirstThree the first three at once.
class SeparatorOverride {
public:
    static constexpr int FirstThree = 6;

    SeparatorOverride(ICalcContext& context, int index, char16_t character);
    ~SeparatorOverride();
    SeparatorOverride(const SeparatorOverride&) = delete;
    SeparatorOverride& operator=(const SeparatorOverride&) = delete;

private:
    ICalcContext& context;
    int first;
    int count;
    uint32_t saved[3];
};

// Adds one to the context's Evaluate nesting for its lifetime.
class EvaluateNestingScope {
public:
    explicit EvaluateNestingScope(ICalcContext& context) : depth(context.EvaluateNesting()) {
        ++depth;
    }
    ~EvaluateNestingScope() { --depth; }
    EvaluateNestingScope(const EvaluateNestingScope&) = delete;
    EvaluateNestingScope& operator=(const EvaluateNestingScope&) = delete;

private:
    int32_t& depth;
};

}  // namespace CalcEngine
