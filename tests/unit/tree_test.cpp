// The node factory's contract that the parser does not exercise: a right
// operand that is an operator chain of the same precedence is rotated into
// the left-leaning chain.
#include <gtest/gtest.h>

#include "tests/unit/ContextFixture.h"
#include "tree/NodeFactory.h"
#include "values/OperatorTable.h"

using namespace CalcEngine;

namespace {

class TreeTest : public ContextFixture {
protected:
    ExprPtr Const(double value) { return factory.createFloatConst(environment, value); }
    ExprPtr Op(int32_t code, ExprPtr left, ExprPtr right) {
        return factory.createBinOp(environment, code, std::move(left), std::move(right));
    }
    WString Calculate(ExprPtr expression) {
        environment.AddExpression(std::move(expression));
        PtrWrapper value(environment.Calculate(&context));
        return TextOf(*value);
    }

    NodeFactory& factory = GlobalNodeFactory();
};

TEST_F(TreeTest, SamePrecedenceRightOperandIsRotated) {
    // 1 - ((2 - 3) + 4) is built as ((1 - 2) - 3) + 4.
    ExprPtr right = Op(OpPlus, Op(OpMinus, Const(2), Const(3)), Const(4));
    EXPECT_EQ(Calculate(Op(OpMinus, Const(1), std::move(right))), u"0");
    // Another precedence, or a parenthesis, stops the rotation.
    EXPECT_EQ(Calculate(Op(OpMinus, Const(1), Op(OpMul, Const(2), Const(3)))), u"-5");
    ExprPtr block = factory.createParenthesisBlock(environment, Op(OpMinus, Const(2), Const(3)));
    EXPECT_EQ(Calculate(Op(OpMinus, Const(1), std::move(block))), u"2");
}

}  // namespace
