#include "values/Exception.h"

#include "values/ICalcContext.h"

namespace CalcEngine {

Exception::Exception(const WString& text) : narrowText(ToUtf8(text)) {}

const char* Exception::what() const noexcept { return narrowText.c_str(); }

void Exception::GetDescription(WString& out) const { out = FromUtf8(what()); }

namespace {
void ComposeMessage(WString& out, const char16_t* label, const char16_t* separator,
                    const WString& message) {
    out = label;
    out += u':';
    out += separator;
    out += message;
}
}  // namespace

void Error::FormatMessage(WString& out, const char16_t* separator) const {
    ComposeMessage(out, GetCategory().GetName(), separator, message);
}

const Error::Category& Error::GetBaseCategory() {
    static const Category category;
    return category;
}

const Error::Category& Error::GetCategory() const { return GetBaseCategory(); }

#define ORDO_DEFINE_CATEGORY(Name, Text)                             \
    const char16_t* Name::Category::GetName() const { return Text; } \
    const Error::Category& Name::GetCategory() const {               \
        static const Category category;                              \
        return category;                                             \
    }

ORDO_DEFINE_CATEGORY(ParseError, u"Parse error")
ORDO_DEFINE_CATEGORY(SyntaxError, u"Syntax error")
ORDO_DEFINE_CATEGORY(SemanticError, u"Semantic error")
ORDO_DEFINE_CATEGORY(RuntimeError, u"Runtime error")
ORDO_DEFINE_CATEGORY(MathError, u"Math error")
ORDO_DEFINE_CATEGORY(IntegrityError, u"Integrity error")
#undef ORDO_DEFINE_CATEGORY

const Warning::Category& Warning::GetCategory() {
    static const Category category;
    return category;
}

void CalcInterrupt::FormatMessage(WString& out, const char16_t* separator) const {
    ComposeMessage(out, GetLabel(), separator, message);
}

void RaiseError(const WString& text, int32_t code) { throw Error(text, code); }
void RaiseParseError(const WString& text, int32_t code) { throw ParseError(text, code); }
void RaiseSyntaxError(const WString& text, int32_t code) { throw SyntaxError(text, code); }
void RaiseSemanticError(const WString& text) { throw SemanticError(text, -1); }
void RaiseRuntimeError(const WString& text) { throw RuntimeError(text, -1); }
void RaiseIntegrityError(const WString& text, int32_t code) { throw IntegrityError(text, code); }
void RaiseMathError() { throw MathError(u"division by zero", -1); }
void RaiseCalcInterrupt(const WString& text) { throw CalcInterrupt(text, -1); }

void ReportWarning(Environment* environment, const WString& text) {
    ICalcContext* context = CurrentContext();
    if (environment && context) context->AddWarning(u"Warning: " + text, 1);
}

}  // namespace CalcEngine
