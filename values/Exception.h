// The engine's exception family. Every failure inside the engine is one of
// these; the exported frames turn them into result codes.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "values/Text.h"

namespace CalcEngine {

class Environment;

class Exception : public std::exception {
public:
    Exception() = default;
    // An exception raised with a text answers that text (UTF-8) from what().
    explicit Exception(const WString& text);
    const char* what() const noexcept override;
    virtual void GetDescription(WString& out) const;

private:
    std::string narrowText = "Exception";
};

class Error : public Exception {
public:
    class Category {
    public:
        virtual ~Category() = default;
        virtual const char16_t* GetName() const { return u"Unknown"; }
    };

    Error(const WString& message, int32_t code) : message(message), code(code) {}

    const char* what() const noexcept override { return "Exception"; }
    void GetDescription(WString& out) const override { out = GetCategory().GetName(); }
    // Category name, ":", separator, message.
    virtual void FormatMessage(WString& out, const char16_t* separator) const;
    virtual const WString& GetMessage() const { return message; }
    virtual int32_t GetCode() const { return code; }
    [[noreturn]] virtual void Rethrow() const { throw *this; }
    virtual const Category& GetCategory() const;
    // The category of errors that belong to no more specific class.
    static const Category& GetBaseCategory();

private:
    WString message;
    int32_t code;
};

// Declares an Error subclass with its own nested Category of the given name.
#define ORDO_DECLARE_ERROR(Name, Base)                              \
    class Name : public Base {                                      \
    public:                                                         \
        class Category : public Error::Category {                   \
        public:                                                     \
            const char16_t* GetName() const override;               \
        };                                                          \
        using Base::Base;                                           \
        [[noreturn]] void Rethrow() const override { throw *this; } \
        const Error::Category& GetCategory() const override;        \
    };

ORDO_DECLARE_ERROR(ParseError, Error)
ORDO_DECLARE_ERROR(SyntaxError, ParseError)
ORDO_DECLARE_ERROR(SemanticError, ParseError)
ORDO_DECLARE_ERROR(RuntimeError, Error)
ORDO_DECLARE_ERROR(MathError, RuntimeError)
ORDO_DECLARE_ERROR(IntegrityError, Error)
#undef ORDO_DECLARE_ERROR

// The category of the context's warning messages; no exception class uses it.
class Warning {
public:
    class Category : public Error::Category {
    public:
        const char16_t* GetName() const override { return u"Warning"; }
    };
    static const Category& GetCategory();
};

// A calculation stopped on purpose.
class CalcInterrupt : public Exception {
public:
    explicit CalcInterrupt(const WString& message, int32_t code = -1)
        : message(message), code(code) {}
    const char* what() const noexcept override { return "Exception"; }
    void GetDescription(WString& out) const override { out = GetLabel(); }
    virtual void FormatMessage(WString& out, const char16_t* separator) const;
    virtual const WString& GetMessage() const { return message; }
    virtual int32_t GetCode() const { return code; }
    virtual const char16_t* GetLabel() const { return u"Calculation interrupt:"; }
    [[noreturn]] virtual void Rethrow() const { throw *this; }

private:
    WString message;
    int32_t code;
};

class NullValueException : public Exception {
public:
    const char* what() const noexcept override { return "Null value exception"; }
};

class CalculationQuotaExceededException : public Exception {
public:
    const char* what() const noexcept override { return "Calculation quota exception"; }
};

[[noreturn]] void RaiseError(const WString& text, int32_t code);
[[noreturn]] void RaiseParseError(const WString& text, int32_t code);
[[noreturn]] void RaiseSyntaxError(const WString& text, int32_t code);
[[noreturn]] void RaiseSemanticError(const WString& text);
[[noreturn]] void RaiseRuntimeError(const WString& text);
[[noreturn]] void RaiseIntegrityError(const WString& text, int32_t code);
[[noreturn]] void RaiseMathError();  // "division by zero"
[[noreturn]] void RaiseCalcInterrupt(const WString& text);

// "Warning: " + text to the current context, when there is an environment and
// a current context; otherwise dropped. Never throws an engine exception.
void ReportWarning(Environment* environment, const WString& text);

}  // namespace CalcEngine
