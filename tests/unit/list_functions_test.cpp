// The list functions on values that no formula builds: item lists, and
// number lists that something besides the call holds.
#include <gtest/gtest.h>

#include <memory>

#include "functions/FunctionRegistry.h"
#include "tests/unit/ContextFixture.h"
#include "tree/Nodes.h"

using namespace CalcEngine;

namespace {

// A parameter whose value is a given object, which the node keeps holding.
class ValueNode : public Expr {
public:
    explicit ValueNode(Object* value) : value(value) {}
    Object* Evaluate(Environment&) const override {
        AddRef(value.Get());
        return value.Get();
    }

private:
    PtrWrapper value;
};

class ListFunctionsTest : public ContextFixture {
protected:
    // The text of the builtin's value for the parameters, whose references
    // it takes; for a failure, the first line of its message.
    WString Call(const char16_t* name, std::initializer_list<Object*> parameters) {
        ExpressionList list;
        for (Object* parameter : parameters) list.Add(std::make_unique<ValueNode>(parameter));
        bool mark;
        try {
            PtrWrapper value(registry.Find(name, mark)->Calculate(context, environment, list));
            return TextOf(*value);
        } catch (const Error& e) {
            const WString& message = e.GetMessage();
            return message.substr(0, message.find_first_of(u"\r\n"));
        }
    }

    FunctionRegistry registry;
};

// Item lists fold through their reports, and reshape item by item.
TEST_F(ListFunctionsTest, ItemLists) {
    EXPECT_EQ(Call(u"Min2", {List({Number(3), Number(1), Number(2)})}), u"1");
    EXPECT_EQ(Call(u"Max2", {List({Numbers({1, 5}), Numbers({3, 2})})}), u"3 5");
    EXPECT_EQ(Call(u"Sum2", {List({Number(3), nullptr, Number(2)})}), u"5");
    EXPECT_EQ(Call(u"MeanValue", {List({Numbers({1, 3}), Numbers({3})})}), u"2 1.5");
    EXPECT_EQ(Call(u"Min2", {List({})}), u"");
    // With a second parameter, that joins the fold as one more item.
    EXPECT_EQ(Call(u"Min2", {List({Number(3), Number(4)}), Number(2)}), u"2");
    EXPECT_EQ(Call(u"Max2", {List({Numbers({1, 5})}), Numbers({3})}), u"3 5");
    EXPECT_EQ(Call(u"Max2", {List({}), Number(2)}), u"2");

    EXPECT_EQ(Call(u"First", {List({Number(1), Number(2), Number(3)}), Number(2)}), u"1,2");
    EXPECT_EQ(Call(u"Last", {List({Number(1), Number(2), Number(3)})}), u"3");
    EXPECT_EQ(Call(u"Count", {List({Number(1), nullptr, Number(3)})}), u"3");
    EXPECT_EQ(Call(u"ChooseAbsolute", {Number(2), List({Number(1), Numbers({4, 5})})}), u"4 5");
    EXPECT_EQ(Call(u"SumTogether", {Number(2), List({Numbers({1, 2, 3}), nullptr, Numbers({4})})}),
              u"3 3,4");
    EXPECT_EQ(Call(u"SumTogether", {Number(0), List({Numbers({1, 2}), Numbers({4})})}), u"3,4");
    EXPECT_EQ(Call(u"SumTogether", {Number(2), List({Numbers({1}), Number(2)})}),
              u"unsupported item in itemlist in 2nd parameter");
    EXPECT_EQ(Call(u"Sort", {List({Number(2), Number(1)})}),
              u"incompatible type for sort-function");
}

// The functions that answer a changed copy of their list parameter leave
// the list itself as it is when another owner holds it too. Formulas check
// the others, with a list that a variable holds.
TEST_F(ListFunctionsTest, SharedListStaysIntact) {
    PtrWrapper shared(Numbers({3, 0, 2}));
    AddRef(shared.Get());
    EXPECT_EQ(Call(u"Prev", {shared.Get()}), u"0 3 0");
    AddRef(shared.Get());
    EXPECT_EQ(Call(u"Max2", {shared.Get(), Numbers({4})}), u"4 0 2");
    // If writes its choices in the condition's place.
    AddRef(shared.Get());
    EXPECT_EQ(Call(u"If", {shared.Get(), Number(5)}), u"5 0 5");
    EXPECT_EQ(TextOf(*shared), u"3 0 2");
}

}  // namespace
