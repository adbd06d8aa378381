// Item lists: their reading and writing, operators applied to each item,
// the report functors that fold them, and masks that select positions of a
// list.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "tests/unit/ContextFixture.h"
#include "tree/Operators.h"
#include "values/Exception.h"
#include "values/ScalarObjects.h"
#include "values/VectorObjectMask.h"

using namespace CalcEngine;

namespace {

const double null = NullNumber();

// The right side of a logical operator, counting its evaluations.
class CountingOperand : public LazyOperand {
public:
    explicit CountingOperand(Object* value) : value(value) {}
    Object* Evaluate() const override {
        ++evaluations;
        if (value) AddRef(value);
        return value;
    }
    mutable int evaluations = 0;

private:
    Object* value;
};

class ItemListTest : public ContextFixture {
protected:
    static ObjectVector& AsList(const PtrWrapper& list) {
        return static_cast<ObjectVector&>(*list);
    }

    static WString DumpOf(const Object& value) {
        WString out;
        value.Dump(out, 0);
        return out;
    }

    // The Dump of an item list holding `items` (as their Dumps, joined by ", ").
    static WString Items(const WString& items) {
        return u"ObjectVector: Itemlist" + (items.empty() ? WString() : u", " + items);
    }
};

// A list of items of several kinds and a null item, as every reading sees it.
TEST_F(ItemListTest, ReadsItsItems) {
    PtrWrapper list(List({Number(1.5), nullptr, Number(null), Int(2)}));
    EXPECT_EQ(TextOf(*list), u"1.5,NULL,2");
    EXPECT_EQ(list->Size(), 4u);
    EXPECT_FALSE(list->IsScalar());
    EXPECT_FALSE(list->IsNumeric());

    DoubleVector numbers;
    numbers.defaultValue = 7;
    list->AppendToNumbers(numbers, false);
    ASSERT_EQ(numbers.values.size(), 3u);
    EXPECT_TRUE(IsNull(numbers.values[1]));
    EXPECT_EQ(numbers.values[2], 2);
    DoubleVector withoutNulls;
    list->AppendToNumbers(withoutNulls, true);
    EXPECT_EQ(withoutNulls.values, (std::vector<double>{1.5, 2}));
    EXPECT_EQ(numbers.defaultValue, 7);

    StringVector texts;
    list->AppendToStrings(texts);
    EXPECT_EQ(texts, (StringVector{u"1.5", u"NULL", u"2"}));
}

TEST_F(ItemListTest, NumberIsZeroWhateverTheItems) {
    PtrWrapper list(List({Int(-3), Numbers({5, 6}), Text(u"9")}));
    double number = -1;
    int32_t integer = -1;
    list->GetNumber(number);
    list->GetInt(integer);
    EXPECT_EQ(number, 0.0);
    EXPECT_EQ(integer, 0);
}

// Assigning a whole value takes it apart into items; a scalar has none.
TEST_F(ItemListTest, AssignTakesTheValueApart) {
    const std::pair<Object*, const char16_t*> cases[] = {
        {Number(5), u""},
        {Numbers({1, 2}), u"(Number) 1, (Number) 2"},
        {Text(u"a,b"), u"(String) a, (String) b"},
        {List({Int(3), nullptr}), u"(Integer) 3, NULL"},
        {CurrentFactory()->CreateVariable(&environment, PtrWrapper(Numbers({4})).Get()),
         u"(Number) 4"},
    };
    for (const auto& [value, expected] : cases) {
        PtrWrapper list(List({Int(9)}));
        PtrWrapper source(value);
        list->Assign(*source, true);
        EXPECT_EQ(DumpOf(*list), Items(expected));
    }
    PtrWrapper source(List({Int(1)}));
    PtrWrapper list(List({}));
    list->Assign(*source, true);
    EXPECT_EQ(AsList(list).items[0].Get(), AsList(source).items[0].Get());  // shared, not copied
}

// Assigning to the items: a value to each, or the items of a list or text
// to the items at the same positions.
TEST_F(ItemListTest, AssignToTheItems) {
    const std::pair<Object*, const char16_t*> cases[] = {
        {Number(4), u"(Integer) 4, NULL, (Number) 4"},
        {List({Int(7), Int(8), Int(9), Int(10)}), u"(Integer) 7, NULL, (Number) 9"},
        {List({Int(7)}), u"(Integer) 7, NULL, (Number) 2"},
        {Text(u"5,6"), u"(Integer) 5, NULL, (Number) 2"},
    };
    for (const auto& [value, expected] : cases) {
        PtrWrapper list(List({Int(1), nullptr, Number(2)}));
        PtrWrapper source(value);
        list->Assign(*source, false);
        EXPECT_EQ(DumpOf(*list), Items(expected));
    }
}

// Binary operators through the operator core, as a formula reaches them.
TEST_F(ItemListTest, BinaryOperatorsApplyToEachItem) {
    struct Case {
        const char* name;
        Object* left;
        int32_t op;
        Object* right;
        const char16_t* expected;
    };
    const Case cases[] = {
        {"the shorter list starts again", List({Int(1), Int(2), Int(3)}), OpPlus,
         List({Int(10), Int(20)}), u"(Integer) 11, (Integer) 22, (Integer) 13"},
        {"a null item keeps its position", List({Int(1), nullptr, Int(3)}), OpPlus,
         List({Int(10), Int(20)}), u"(Integer) 11, NULL, (Integer) 13"},
        {"a null right item skips", List({Int(1), Int(2)}), OpPlus, List({nullptr, Int(20)}),
         u"(Integer) 1, (Integer) 22"},
        {"an empty right list changes nothing", List({Int(1)}), OpPlus, List({}), u"(Integer) 1"},
        {"items are promoted", List({Int(1), Number(2.5)}), OpMul, Number(2),
         u"(Number) 2, (Number) 5"},
        {"a number list meets each item whole", List({Int(1), Int(2)}), OpPlus, Numbers({10, 20}),
         u"11 21, 12 22"},
        {"a text meets the items by its items", List({Int(1), Int(2)}), OpPlus, Text(u"10,20"),
         u"(String) 110, (String) 220"},
        {"a number on the left spreads over the items", Int(3), OpPlus, List({Int(1), Number(2)}),
         u"(Integer) 4, (Number) 5"},
        {"comparisons", List({Int(1), Int(5)}), OpLt, Int(3), u"(Integer) 1, (Integer) 0"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        PtrWrapper left(c.left);
        PtrWrapper right(c.right);
        PtrWrapper result(BinOp::Apply(c.op, environment, *left, *right));
        EXPECT_EQ(DumpOf(*result), Items(c.expected));
    }
    PtrWrapper list(List({Int(1)}));
    PtrWrapper zero(Int(0));
    EXPECT_THROW(list->OperatorDiv(*zero), MathError);  // item errors pass through
}

// Lists share items (a copy of a list holds the same items): changing one
// list must leave the other as it was.
TEST_F(ItemListTest, ChangesStayInTheirList) {
    PtrWrapper zero(Int(0));
    PtrWrapper eight(Int(8));
    const std::function<void(Object&)> changes[] = {
        [&](Object& copy) { copy.OperatorPlus(*eight); },
        [&](Object& copy) { copy.OperatorLand(CountingOperand(zero.Get())); },
        [](Object& copy) { copy.UnaryMinus(); },
        [](Object& copy) { copy.SetNumber(8); },
        [&](Object& copy) { copy.Assign(*eight, false); },
    };
    for (const auto& change : changes) {
        SCOPED_TRACE(&change - changes);
        PtrWrapper original(List({Int(3)}));
        PtrWrapper copy(original->Clone());
        change(*copy);
        EXPECT_EQ(DumpOf(*original), Items(u"(Integer) 3"));
        EXPECT_NE(DumpOf(*copy), Items(u"(Integer) 3"));
    }
}

// The right side is evaluated once, whatever the items, and each item
// combines with it as a logical operator does.
TEST_F(ItemListTest, LogicalOperatorsEvaluateTheRightSideOnce) {
    struct Case {
        Object* (Object::*apply)(const LazyOperand&);
        int32_t right;
        const char16_t* expected;
    };
    const Case cases[] = {
        {&Object::OperatorLand, 1, u"(Integer) 0, (Integer) 1"},
        {&Object::OperatorLor, 0, u"(Integer) 0, (Integer) 2"},
        {&Object::OperatorLxor, 1, u"(Integer) 1, (Integer) 0"},
    };
    for (const Case& c : cases) {
        PtrWrapper list(List({Int(0), Int(2)}));
        PtrWrapper right(Int(c.right));
        CountingOperand operand(right.Get());
        EXPECT_EQ(((*list).*c.apply)(operand), nullptr);
        EXPECT_EQ(operand.evaluations, 1);
        EXPECT_EQ(DumpOf(*list), Items(c.expected));
    }
    // No value on the right reads as null, which a logical operator takes as true.
    PtrWrapper list(List({Int(0), nullptr}));
    EXPECT_EQ(list->OperatorLor(CountingOperand(nullptr)), nullptr);
    EXPECT_EQ(DumpOf(*list), Items(u"(Integer) 1, NULL"));
}

TEST_F(ItemListTest, UnaryOperatorsApplyToEachItem) {
    const std::pair<void (Object::*)(), const char16_t*> cases[] = {
        {&Object::UnaryMinus, u"(Integer) 0, NULL, (Number) -2.5"},
        {&Object::OperatorLnot, u"(Integer) 1, NULL, (Number) 0"},
    };
    for (const auto& [apply, expected] : cases) {
        PtrWrapper list(List({Int(0), nullptr, Number(2.5)}));
        ((*list).*apply)();
        EXPECT_EQ(DumpOf(*list), Items(expected));
    }
}

TEST_F(ItemListTest, GetItemAndGetItemAt) {
    PtrWrapper list(List({Int(1), nullptr, Int(3)}));
    PtrWrapper first(list->GetItem(0, false));
    EXPECT_EQ(first.Get(), AsList(list).items[0].Get());
    EXPECT_EQ(list->GetItem(1, false), nullptr);
    EXPECT_EQ(list->GetItem(3, false), nullptr);
    // A list of scalars has no items across.
    PtrWrapper scalarAcross(list->GetItem(2, true));
    EXPECT_EQ(scalarAcross.Get(), AsList(list).items[2].Get());

    const std::pair<int32_t, const char16_t*> items[] = {
        {2, u"(Integer) 3"}, {1, u"Void"}, {3, u"Void"}, {-1, u"Void"}};
    for (const auto& [at, expected] : items) {
        PtrWrapper index(Int(at));
        PtrWrapper item(AsList(list).GetItemAt(*index));
        EXPECT_EQ(DumpOf(*item), expected) << at;
    }

    PtrWrapper lists(List({Numbers({1, 2}), Numbers({3}), nullptr}));
    PtrWrapper across(lists->GetItem(1, true));
    EXPECT_EQ(DumpOf(*across), Items(u"(Number) 2, Void, Void"));
}

TEST_F(ItemListTest, ShiftAndReverse) {
    const std::pair<int, const char16_t*> cases[] = {
        {1, u"(Integer) 2, (Integer) 3, NULL"},
        {-2, u"NULL, NULL, (Integer) 1"},
        {3, u"NULL, NULL, NULL"},
    };
    for (const auto& [n, expected] : cases) {
        PtrWrapper list(List({Int(1), Int(2), Int(3)}));
        list->Shift(n);
        EXPECT_EQ(DumpOf(*list), Items(expected)) << n;
    }
    PtrWrapper list(List({Int(1), nullptr, Int(3)}));
    EXPECT_EQ(list->Reverse(), list.Get());
    EXPECT_EQ(DumpOf(*list), Items(u"(Integer) 3, NULL, (Integer) 1"));
}

TEST_F(ItemListTest, FilterAndScatter) {
    struct Case {
        BitVector mask;
        const char16_t* filtered;
        const char16_t* scattered;
    };
    const Case cases[] = {
        {{true, false, true},
         u"(Integer) 1, (Integer) 3",
         u"(Integer) 7, (Integer) 2, (Integer) 8"},
        // Past the mask's end nothing is selected.
        {{false, true}, u"(Integer) 2", u"(Integer) 1, (Integer) 7, (Integer) 3"},
        // Past the end of the values a position keeps its item.
        {{true, true, true},
         u"(Integer) 1, (Integer) 2, (Integer) 3",
         u"(Integer) 7, (Integer) 8, (Integer) 3"},
    };
    for (const Case& c : cases) {
        PtrWrapper list(List({Int(1), Int(2), Int(3)}));
        PtrWrapper filtered(list->Filter(c.mask));
        EXPECT_EQ(filtered.Get(), list.Get());
        EXPECT_EQ(DumpOf(*list), Items(c.filtered));

        PtrWrapper target(List({Int(1), Int(2), Int(3)}));
        PtrWrapper values(List({Int(7), Int(8)}));
        target->Scatter(*values, c.mask);
        EXPECT_EQ(DumpOf(*target), Items(c.scattered));
    }
}

template <class Func>
Object* RunReport(const ObjectVector& list) {
    Func func;
    return list.Report(func);
}

const auto Sum = &RunReport<ObjectVector::ReportSumFunc>;
const auto Min = &RunReport<ObjectVector::ReportMinFunc>;
const auto Max = &RunReport<ObjectVector::ReportMaxFunc>;
const auto Mean = &RunReport<ObjectVector::ReportMeanFunc>;

TEST_F(ItemListTest, Reports) {
    struct Case {
        const char* name;
        Object* (*run)(const ObjectVector&);
        Object* list;
        const char16_t* expected;
    };
    const Case cases[] = {
        {"sum promotes", Sum, List({Int(1), Number(2.5), Int(3)}), u"(Number) 6.5"},
        {"sum of lists", Sum, List({Numbers({1, 2}), Int(1)}), u"2 3"},
        {"min of numbers", Min, List({Int(3), Number(1.5), Int(2)}), u"(Number) 1.5"},
        {"max of numbers", Max, List({Int(3), Number(1.5), Int(2)}), u"(Number) 3"},
        {"mean of numbers", Mean, List({Int(1), Int(2), Int(6)}), u"(Number) 3"},
        {"min of lists pads with the default value", Min, List({Numbers({1, 5}), Numbers({3})}),
         u"1 0"},
        {"min of lists with nulls", Min, List({Numbers({null, 5}), Numbers({3, null})}), u"3 0"},
        {"mean of lists counts null as 0", Mean, List({Numbers({1, null}), Numbers({3, 4})}),
         u"2 2"},
        {"a scalar first reads lists as numbers", Min, List({Int(4), Numbers({1, 9})}),
         u"(Number) 1"},
        {"a list first spreads scalars", Min, List({Numbers({5, 9}), Int(7)}), u"5 7"},
        {"only null items", Sum, List({nullptr}), u"Void"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        PtrWrapper list(c.list);
        const WString before = DumpOf(*list);
        PtrWrapper result(c.run(AsList(list)));
        EXPECT_EQ(DumpOf(*result), c.expected);
        EXPECT_EQ(DumpOf(*list), before);
    }
}

TEST_F(ItemListTest, RecyclingReleasesTheItems) {
    PtrWrapper item(Int(1));
    AddRef(item.Get());
    Object* list = List({item.Get()});
    Release(list);
    EXPECT_EQ(item->refCount.load(), 1);
    PtrWrapper reused(CurrentFactory()->CreateObjectVector(&environment));
    EXPECT_EQ(reused.Get(), list);
    EXPECT_EQ(reused->Size(), 0u);
}

// --- Masks ------------------------------------------------------------------

TEST_F(ItemListTest, MaskSelectsPositions) {
    PtrWrapper target(List({Int(1), Int(2), Int(3), Int(4)}));
    DoubleVector numbers;
    numbers.values = {1, null, 0, 2};
    ObjectFactory& factory = *CurrentFactory();
    const std::pair<Object*, const char16_t*> cases[] = {
        // Null and 0 select nothing.
        {factory.CreateMask(&environment, target.Get(), numbers), u"1,4"},
        {factory.CreateMask(&environment, target.Get(), BitVector{false, true, true, false}),
         u"2,3"},
        // A shorter mask selects nothing past its end.
        {factory.CreateMask(&environment, target.Get(), BitVector{false, true}), u"2"},
    };
    for (const auto& [value, expected] : cases) {
        PtrWrapper mask(value);
        EXPECT_EQ(TextOf(*mask), expected);
        EXPECT_EQ(mask->Target(), target.Get());
        PtrWrapper clone(mask->Clone());
        EXPECT_EQ(TextOf(*clone), expected);
        PtrWrapper selection(Resolve(mask.Get()));
        EXPECT_EQ(TextOf(*selection), expected);
        EXPECT_EQ(TextOf(*target), u"1,2,3,4");
    }
}

// Writing through a mask changes the selected positions of the target only.
TEST_F(ItemListTest, MaskWritesSelectedPositions) {
    DoubleVector seven;
    seven.values = {7};
    PtrWrapper values(Numbers({7, 8}));
    const std::pair<std::function<void(Object&)>, const char16_t*> cases[] = {
        {[](Object& mask) { mask.SetNumber(9); }, u"9,2,3,9"},
        {[&](Object& mask) { mask.SetFromNumbers(seven); }, u"7,2,3,4"},
        {[&](Object& mask) { mask.Assign(*values, true); }, u"7,2,3,8"},
    };
    for (const auto& [write, expected] : cases) {
        PtrWrapper target(List({Int(1), Int(2), Int(3), Int(4)}));
        PtrWrapper mask(CurrentFactory()->CreateMask(&environment, target.Get(),
                                                     BitVector{true, false, false, true}));
        write(*mask);
        EXPECT_EQ(TextOf(*target), expected);
    }
}

// A mask over a number list or a text reads and writes its selected
// elements or items in the same way.
TEST_F(ItemListTest, MaskOverNumbersAndText) {
    struct Case {
        Object* target;
        const char16_t* selected;
        Object* values;
        const char16_t* written;  // after the selection is assigned `values`
    };
    const Case cases[] = {
        {Numbers({1, 2, 3, 4}), u"1 4", Numbers({7, 8}), u"7 2 3 8"},
        {Text(u"a,b,c,d"), u"a,d", Text(u"7,8"), u"7,b,c,8"},
    };
    for (const Case& c : cases) {
        PtrWrapper target(c.target);
        PtrWrapper values(c.values);
        PtrWrapper mask(CurrentFactory()->CreateMask(&environment, target.Get(),
                                                     BitVector{true, false, false, true}));
        EXPECT_EQ(TextOf(*mask), c.selected);
        mask->Assign(*values, true);
        EXPECT_EQ(TextOf(*target), c.written);
    }
}

// An operator meets the selection, and leaves the target as it was.
TEST_F(ItemListTest, MaskInAnOperator) {
    PtrWrapper target(List({Int(1), Int(2), Int(4)}));
    PtrWrapper mask(
        CurrentFactory()->CreateMask(&environment, target.Get(), BitVector{true, false, true}));
    PtrWrapper one(Int(1));
    PtrWrapper sum(BinOp::Apply(OpPlus, environment, *mask, *one));
    EXPECT_EQ(TextOf(*sum), u"2,5");
    EXPECT_EQ(TextOf(*target), u"1,2,4");

    // Called directly, the operators do nothing, but "not equal" fails.
    mask->OperatorPlus(*one);
    mask->UnaryMinus();
    EXPECT_EQ(TextOf(*target), u"1,2,4");
    try {
        mask->OperatorNotEqual(*one);
        FAIL();
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.GetMessage(), u"binary operator 'not equal' not defined for object");
    }
}

TEST_F(ItemListTest, RecyclingAMaskReleasesItsTarget) {
    PtrWrapper target(List({Int(1)}));
    Object* mask = CurrentFactory()->CreateMask(&environment, target.Get(), BitVector{true});
    EXPECT_EQ(target->refCount.load(), 2);
    Release(mask);
    EXPECT_EQ(target->refCount.load(), 1);
    PtrWrapper reused(CurrentFactory()->CreateMask(&environment, target.Get(), BitVector{}));
    EXPECT_EQ(reused.Get(), mask);
}

}  // namespace
