#include "tree/Environment.h"

#include <antlr/ANTLRException.hpp>
#include <antlr/TokenBuffer.hpp>
#include <sstream>

#include "language/CalcLexer.h"
#include "language/CalcParser.h"
#include "language/UnicodeCharBuffer.h"
#include "tree/References.h"
#include "values/ICalcContext.h"

namespace CalcEngine {

namespace {

// Rewrites the host's separators to the language's own ',' and '.'.
// Characters inside string literals stay; a quote always toggles the
// string state, also one escaped with a backslash.
WString TranslateSeparators(const WString& text, char16_t listSeparator,
                            char16_t decimalSeparator) {
    WString out;
    out.reserve(text.size());
    bool inString = false;
    for (char16_t c : text) {
        if (c == u'"') {
            inString = !inString;
        } else if (!inString && c != u'\\') {
            if (c == listSeparator)
                c = u',';
            else if (c == decimalSeparator)
                c = u'.';
        }
        out += c;
    }
    return out;
}

void RunParser(const WString& text, Environment& environment) {
    std::istringstream bytes(ToUtf8(text));
    UnicodeCharBuffer input(bytes);
    CalcLexer lexer(input);
    antlr::TokenBuffer tokens(lexer);
    CalcParser parser(tokens, environment);
    parser.calculation();
}

}  // namespace

Environment::~Environment() = default;

bool Environment::Parse(const WString& text, ICalcContext* context) {
    CurrentContextScope scope(context ? context : CurrentContext());
    ICalcContext& current = *CurrentContext();
    char16_t listSeparator = current.GetExpressionListSeparator();
    char16_t decimalSeparator = current.GetDecimalSeparator();
    bool plain = listSeparator == u',' && decimalSeparator == u'.';
    Clear();
    WString failure;
    try {
        try {
            RunParser(plain ? text : TranslateSeparators(text, listSeparator, decimalSeparator),
                      *this);
        } catch (const antlr::ANTLRException& e) {
            throw Exception(FromUtf8(e.toString()));
        }
        return PostProcess();
    } catch (const Error& e) {
        current.AddError(e, 1);
    } catch (const Exception& e) {
        failure = u"parser exception: " + FromUtf8(e.what()) + current.GetLineFeed();
    } catch (const std::exception& e) {
        failure = u"parser exception: " + FromUtf8(e.what()) + current.GetLineFeed();
    }
    if (!failure.empty()) current.AddError(failure, Error::GetBaseCategory(), 1);
    Clear();
    return false;
}

bool Environment::PostProcess() {
    ExternalCallbackVisitor visitor(*this);
    Accept(visitor);
    return true;
}

Object* Environment::Calculate(ICalcContext* context) {
    if (context && context != CurrentContext()) {
        CurrentContextScope scope(context);
        return Calculate(nullptr);
    }
    try {
        return EvaluateAll();
    } catch (const MathError&) {
        throw;
    } catch (const Error& e) {
        CurrentContext()->AddError(e, 1);
        return nullptr;
    }
}

Object* Environment::EvaluateAll() {
    PtrWrapper last;
    for (const ExprPtr& expression : expressions) last.Reset(expression->Evaluate(*this));
    return last.Detach();
}

Object* Environment::Evaluate(Environment& environment) const {
    (void)environment;
    return nullptr;
}

void Environment::Dump(WString& out, int options) const {
    WString separator =
        WString(1, CurrentContext() ? CurrentContext()->GetExpressionListSeparator() : u',') + u" ";
    for (size_t i = 0; i < expressions.size(); ++i) {
        if (i) out += separator;
        expressions[i]->Dump(out, options);
    }
}

void Environment::Accept(SymNodeVisitor& visitor) {
    for (ExprPtr& expression : expressions) expression->Accept(visitor);
}

void Environment::AcceptConst(SymNodeVisitor& visitor) {
    visitor.VisitConst(*this);
    for (ExprPtr& expression : expressions) expression->AcceptConst(visitor);
}

void Environment::AddExpression(ExprPtr expression) {
    expression->parent = this;
    expressions.push_back(std::move(expression));
}

void Environment::Clear() {
    expressions.clear();
    isConst = true;
    constViaReference = false;
}

}  // namespace CalcEngine
