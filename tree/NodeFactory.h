// The only way by which the parser creates nodes. Every operation takes
// ownership of the nodes it is given, also when it throws. Each created
// expression that is not constant clears the environment's constant flag.
#pragma once

#include <cstdint>
#include <memory>

#include "tree/Nodes.h"
#include "tree/References.h"

namespace CalcEngine {

class Environment;

class NodeFactory {
public:
    virtual ~NodeFactory() = default;
    virtual ExprPtr createVarRef(Environment& environment,
                                 std::unique_ptr<ObjectIdentifier> identifier,
                                 std::unique_ptr<ExpressionList> arguments) = 0;
    virtual ExprPtr createExprLabel(Environment& environment, ExprPtr expression,
                                    const WString& label) = 0;
    virtual std::unique_ptr<ObjectIdentifier> createObjectIdentifier(Environment& environment,
                                                                     int32_t position,
                                                                     const WString& name) = 0;
    virtual ExprPtr createAssign(Environment& environment, ExprPtr left, ExprPtr right) = 0;
    virtual ExprPtr createIntConst(Environment& environment, int32_t value) = 0;
    virtual ExprPtr createStringConst(Environment& environment, const WString& value) = 0;
    virtual ExprPtr createFloatConst(Environment& environment, double value) = 0;
    virtual ExprPtr createEmptyConst(Environment& environment) = 0;
    virtual std::unique_ptr<ExpressionList> createExpressionList(Environment& environment) = 0;
    // Answers the top of the chain after the rotation of BinOp.
    virtual ExprPtr createBinOp(Environment& environment, int32_t code, ExprPtr left,
                                ExprPtr right) = 0;
    virtual ExprPtr createUnOp(Environment& environment, int32_t code, ExprPtr operand) = 0;
    virtual ExprPtr createCall(Environment& environment,
                               std::unique_ptr<ObjectIdentifier> identifier,
                               std::unique_ptr<ExpressionList> arguments) = 0;
    virtual std::unique_ptr<ListBlock> createListBlock(Environment& environment) = 0;
    virtual ExprPtr createParenthesisBlock(Environment& environment, ExprPtr expression) = 0;
    virtual ExprPtr createRange(Environment& environment, ExprPtr from, ExprPtr to) = 0;
};

// The process-wide node factory that the parser uses.
NodeFactory& GlobalNodeFactory();

}  // namespace CalcEngine
