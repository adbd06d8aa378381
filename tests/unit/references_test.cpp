// What the tree holds for names and what builtins get from it: reference
// objects, arguments evaluated or taken as references, operators applied to
// finished values, and variables.
#include <gtest/gtest.h>

#include <cstring>

#include "context/ObjectReference.h"
#include "tests/TestClient.h"
#include "tests/unit/ContextFixture.h"
#include "tree/Arguments.h"
#include "tree/Operators.h"
#include "values/ObjectFactory.h"
#include "values/ScalarObjects.h"
#include "values/VariableObject.h"

using namespace CalcEngine;

namespace {

int symbolRequests = 0;

int32_t SymbolIsSeven(const char16_t*, DTCalcFunctionParameterValue*, int32_t, DTCalcResult* result,
                      void*) {
    ++symbolRequests;
    return AnswerNumber(result, 7);
}

class ReferencesTest : public ContextFixture {
protected:
    ReferencesTest() : ContextFixture(SymbolIsSeven) {}

    // The arguments of the formula's only call or symbol.
    const ExpressionList& ArgumentsOf(const WString& formula) {
        if (!environment.Parse(formula, nullptr)) {
            WString summary;
            context.GetSummary(summary, nullptr);
            ADD_FAILURE() << ToUtf8(summary);
        }
        struct : SymNodeVisitor {
            void Visit(SymNode& node) override {
                if (auto* list = dynamic_cast<ExpressionList*>(&node)) found = list;
            }
            void VisitUp(SymNode&) override {}
            void VisitConst(SymNode&) override {}
            ExpressionList* found = nullptr;
        } finder;
        environment.Accept(finder);
        return *finder.found;
    }
};

TEST_F(ReferencesTest, ArgumentsEvaluatedOrTakenAsReferences) {
    const ExpressionList& arguments = ArgumentsOf(u"f(x, 1 + 1)");
    symbolRequests = 0;
    ArgumentList taken;
    EvaluateArguments(environment, arguments, taken, u"f", false);
    ASSERT_EQ(taken.size(), 2u);
    EXPECT_EQ(symbolRequests, 0);  // the name is taken as it stands
    EXPECT_TRUE(taken[0].value->GetType().IsA(CalcRuntimeObjectReference::Type::Instance()));
    EXPECT_EQ(static_cast<CalcRuntimeObjectReference&>(*taken[0].value).Symbol(), u"x");
    EXPECT_EQ(TextOf(*taken[1].value), u"2");

    ArgumentList evaluated;
    EvaluateArguments(environment, arguments, evaluated, u"f", true);
    EXPECT_EQ(symbolRequests, 1);
    EXPECT_EQ(TextOf(*evaluated[0].value), u"7");
}

// An error in an argument ends the evaluation as a plain Exception whose text
// names the argument's place.
TEST_F(ReferencesTest, FailingArgumentNamesItsPlace) {
    const ExpressionList& arguments = ArgumentsOf(u"f(1, x + (TRUE DIV FALSE))");
    ArgumentList out;
    try {
        EvaluateArguments(environment, arguments, out, u"f", true);
        FAIL();
    } catch (const Error&) {
        FAIL() << "an Error must not pass";
    } catch (const Exception& e) {
        EXPECT_STREQ(
            e.what(),
            "division by zero\r\nError occurred while evaluating 2. parameter for function f.");
    }
}

// A bare reference can hold no value: every operation warns and changes
// nothing.
TEST_F(ReferencesTest, ReferenceAsAValueWarns) {
    CalcRuntimeObjectReference reference(&environment, u"X");
    PtrWrapper one(DefaultFactory().CreateFloat(nullptr, 1));
    reference.OperatorPlus(*one);
    reference.OperatorMinus(*one);
    reference.SetNumber(2);
    EXPECT_EQ(TextOf(reference), u"");
    WString summary;
    context.GetSummary(summary, nullptr);
    EXPECT_EQ(
        summary,
        u"Warnings occurred\r\n"
        u"Warning: Error occurred while attempting to execute operator '+' for deleted object "
        u"\"X\".\r\n"
        u"Warning: Error occurred while attempting to execute operator 'minus' for deleted "
        u"object \"X\".\r\n"
        u"Warning: Error occurred while setting double value for deleted object \"X\".\r\n");
}

TEST_F(ReferencesTest, ApplyWorksOnFinishedValues) {
    PtrWrapper list(CurrentFactory()->CreateNumberVector(&environment));
    list->SetText(u"1 2");
    PtrWrapper three(CurrentFactory()->CreateFloat(&environment, 3));
    PtrWrapper sum(BinOp::Apply(OpPlus, environment, *three, *list));
    EXPECT_EQ(TextOf(*sum), u"4 5");
    EXPECT_EQ(TextOf(*list), u"1 2");  // a wider right operand is not changed
    PtrWrapper product(BinOp::Apply(OpMul, environment, *three, *three));
    EXPECT_EQ(TextOf(*product), u"9");
    try {
        BinOp::Apply(OpAnd, environment, *three, *three);
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.GetMessage(), u"can't execute operator AND for given object");
    }
}

// An operator works on a copy of a variable's value, never on the value.
TEST_F(ReferencesTest, VariablesKeepTheirValueUnderOperators) {
    PtrWrapper variable(CurrentFactory()->CreateVariable(&environment, nullptr));
    EXPECT_EQ(variable->Target(), nullptr);
    EXPECT_THROW(TextOf(*variable), RuntimeError);
    PtrWrapper undefined(Resolve(variable.Get()));
    EXPECT_TRUE(undefined->GetType().IsA(EmptyObject::Type::Instance()));

    variable->SetNumber(5);
    PtrWrapper one(CurrentFactory()->CreateFloat(&environment, 1));
    PtrWrapper sum(BinOp::Apply(OpPlus, environment, *variable, *one));
    PtrWrapper compared(BinOp::Apply(OpLt, environment, *variable, *one));
    EXPECT_EQ(TextOf(*sum), u"6");
    EXPECT_EQ(TextOf(*compared), u"0");
    EXPECT_EQ(TextOf(*variable), u"5");
    variable->Assign(*one, true);
    EXPECT_EQ(TextOf(*variable), u"1");
    // A variable given to a variable is that same variable.
    PtrWrapper same(CurrentFactory()->CreateVariable(&environment, variable.Get()));
    EXPECT_EQ(same.Get(), variable.Get());
}

}  // namespace
