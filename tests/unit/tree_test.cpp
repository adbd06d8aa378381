// The node factory's contract that the parser does not exercise: a right
// operand that is an operator chain of the same precedence is rotated into
// the left-leaning chain.
#include <gtest/gtest.h>

#include "context/CalcContext.h"
#include "interface/Handles.h"
#include "tests/TestClient.h"
#include "tree/Environment.h"
#include "tree/NodeFactory.h"
#include "values/OperatorTable.h"

using namespace CalcEngine;

namespace {

class TreeTest : public testing::Test {
protected:
    TreeTest() : client(NewTestClient(nullptr)), context(ClientOfHandle(client), nullptr) {}
    ~TreeTest() override { iCalcFinalize(client); }

    ExprPtr Number(double value) { return factory.createFloatConst(environment, value); }
    ExprPtr Op(int32_t code, ExprPtr left, ExprPtr right) {
        return factory.createBinOp(environment, code, std::move(left), std::move(right));
    }
    WString Calculate(ExprPtr expression) {
        environment.AddExpression(std::move(expression));
        PtrWrapper value(environment.Calculate(&context));
        WString text;
        CurrentContextScope scope(&context);
        value->GetText(text);
        return text;
    }

    void* client;
    CalcContext context;
    Environment environment;
    NodeFactory& factory = GlobalNodeFactory();
};

TEST_F(TreeTest, SamePrecedenceRightOperandIsRotated) {
    // 1 - ((2 - 3) + 4) is built as ((1 - 2) - 3) + 4.
    ExprPtr right = Op(OpPlus, Op(OpMinus, Number(2), Number(3)), Number(4));
    EXPECT_EQ(Calculate(Op(OpMinus, Number(1), std::move(right))), u"0");
}

TEST_F(TreeTest, OtherPrecedenceRightOperandStays) {
    EXPECT_EQ(Calculate(Op(OpMinus, Number(1), Op(OpMul, Number(2), Number(3)))), u"-5");
}

TEST_F(TreeTest, ParenthesisStopsTheRotation) {
    ExprPtr block = factory.createParenthesisBlock(environment, Op(OpMinus, Number(2), Number(3)));
    EXPECT_EQ(Calculate(Op(OpMinus, Number(1), std::move(block))), u"2");
}

}  // namespace
