// Parser of the rule language: a hand-written recursive descent over the
// tokens of CalcLexer that builds the formula tree into an Environment through
// the global NodeFactory. The first error ends the parse; errors are the ANTLR
// runtime's exceptions, so their texts are the runtime's.
#pragma once

#include <antlr/LLkParser.hpp>
#include <antlr/TokenBuffer.hpp>
#include <cstdint>
#include <memory>

#include "language/CalcParserTokenTypes.h"
#include "tree/SymNode.h"

namespace CalcEngine {

class ExpressionList;
class NodeFactory;
class ObjectIdentifier;

class CalcParser : public antlr::LLkParser, public CalcParserTokenTypes {
public:
    // Parentheses, argument lists, lists, unary operators and assignments
    // each open one level; a deeper formula is refused rather than risking
    // the stack of the parsing (and later the evaluating) thread.
    static constexpr int MaxNestingDepth = 512;

    CalcParser(antlr::TokenBuffer& tokens, Environment& environment);

    // Parses the whole text and adds each top-level expression to the
    // environment.
    void calculation();

    antlr::RefAST getAST() override { return antlr::RefAST(); }
    const char* getTokenName(int type) const override;
    const char* const* getTokenNames() const override { return CalcTokenNames(); }
    int getNumTokens() const override { return CalcTokenCount; }

private:
    class Nesting;

    ExprPtr expression();
    ExprPtr binaryExpression(int32_t limit);
    ExprPtr unary();
    ExprPtr primary();
    ExprPtr constant();
    ExprPtr parenthesisBlock();
    ExprPtr listBlock();
    ExprPtr rangeItem();
    ExprPtr name();
    std::unique_ptr<ExpressionList> arguments(bool named);
    ExprPtr namedArgument();
    void close(int closing, int wrongClosing, const char* message);

    bool IsFunctionName(const antlr::RefToken& token);
    std::unique_ptr<ObjectIdentifier> Identifier(const antlr::RefToken& token);
    ExprPtr Labelled(ExprPtr expression, const antlr::RefToken& label);
    [[noreturn]] void Unexpected();
    [[noreturn]] void SemanticError(const char* message);

    Environment& environment;
    NodeFactory& factory;
    int depth = 0;
};

}  // namespace CalcEngine
