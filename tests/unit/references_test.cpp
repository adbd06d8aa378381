// What the tree holds for names and variables: reference objects that hold
// no value, operators applied to finished values, and variables.
#include <gtest/gtest.h>

#include "context/ObjectReference.h"
#include "tests/unit/ContextFixture.h"
#include "tree/Operators.h"
#include "values/ScalarObjects.h"
#include "values/VariableObject.h"

using namespace CalcEngine;

namespace {

using ReferencesTest = ContextFixture;

// A bare reference can hold no value: every operation warns and changes
// nothing.
TEST_F(ReferencesTest, ReferenceAsAValueWarns) {
    CalcRuntimeObjectReference reference(&environment, u"X");
    PtrWrapper one(Number(1));
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
    PtrWrapper list(Numbers({1, 2}));
    PtrWrapper three(Number(3));
    PtrWrapper sum(BinOp::Apply(OpPlus, environment, *three, *list));
    EXPECT_EQ(TextOf(*sum), u"4 5");
    EXPECT_EQ(TextOf(*list), u"1 2");  // a wider right operand is not changed
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
    PtrWrapper one(Number(1));
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
