#include "tree/NodeFactory.h"

#include "tree/Call.h"
#include "tree/Environment.h"
#include "tree/Operators.h"

namespace CalcEngine {

namespace {

// The factory of this library's own node classes.
class CalcNodeFactory final : public NodeFactory {
public:
    ExprPtr createVarRef(Environment& environment, std::unique_ptr<ObjectIdentifier> identifier,
                         std::unique_ptr<ExpressionList> arguments) override {
        return Built(environment, std::make_unique<VarRef>(environment, std::move(identifier),
                                                           std::move(arguments)));
    }
    ExprPtr createExprLabel(Environment& environment, ExprPtr expression,
                            const WString& label) override {
        return Built(environment, std::make_unique<ExprLabel>(std::move(expression), label));
    }
    std::unique_ptr<ObjectIdentifier> createObjectIdentifier(Environment& environment,
                                                             int32_t position,
                                                             const WString& name) override {
        (void)environment;
        return std::make_unique<ObjectIdentifier>(position, name);
    }
    ExprPtr createAssign(Environment& environment, ExprPtr left, ExprPtr right) override {
        return Built(environment, std::make_unique<Assign>(std::move(left), std::move(right)));
    }
    ExprPtr createIntConst(Environment& environment, int32_t value) override {
        return Built(environment, std::make_unique<IntConst>(value));
    }
    ExprPtr createStringConst(Environment& environment, const WString& value) override {
        return Built(environment, std::make_unique<StringConst>(value));
    }
    ExprPtr createFloatConst(Environment& environment, double value) override {
        return Built(environment, std::make_unique<FloatConst>(value));
    }
    ExprPtr createEmptyConst(Environment& environment) override {
        return Built(environment, std::make_unique<EmptyConst>());
    }
    std::unique_ptr<ExpressionList> createExpressionList(Environment& environment) override {
        (void)environment;
        return std::make_unique<ExpressionList>();
    }
    ExprPtr createBinOp(Environment& environment, int32_t code, ExprPtr left,
                        ExprPtr right) override {
        return Built(environment, BinOp::Create(code, std::move(left), std::move(right)));
    }
    ExprPtr createUnOp(Environment& environment, int32_t code, ExprPtr operand) override {
        return Built(environment, std::make_unique<UnOp>(code, std::move(operand)));
    }
    ExprPtr createCall(Environment& environment, std::unique_ptr<ObjectIdentifier> identifier,
                       std::unique_ptr<ExpressionList> arguments) override {
        return Built(environment,
                     std::make_unique<Call>(std::move(identifier), std::move(arguments)));
    }
    std::unique_ptr<ListBlock> createListBlock(Environment& environment) override {
        (void)environment;
        return std::make_unique<ListBlock>();
    }
    ExprPtr createParenthesisBlock(Environment& environment, ExprPtr expression) override {
        return Built(environment, std::make_unique<ParenthesisBlock>(std::move(expression)));
    }
    ExprPtr createRange(Environment& environment, ExprPtr from, ExprPtr to) override {
        return Built(environment, std::make_unique<Range>(std::move(from), std::move(to)));
    }

private:
    // The environment stays constant only while every node built is.
    static ExprPtr Built(Environment& environment, ExprPtr node) {
        if (!node->IsConst()) environment.MarkNotConst();
        return node;
    }
};

}  // namespace

NodeFactory& GlobalNodeFactory() {
    static CalcNodeFactory factory;
    return factory;
}

}  // namespace CalcEngine
