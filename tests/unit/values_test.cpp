// Values below the operators: text conversion, the exception family,
// truncation to integers, the object pools and operand promotion.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <string>

#include "values/DivisionFault.h"
#include "values/Exception.h"
#include "values/Object.h"
#include "values/ObjectFactory.h"
#include "values/ScalarObjects.h"

using namespace CalcEngine;

namespace {

// --- Text -------------------------------------------------------------------

// Lone surrogates and malformed sequences become the replacement character.
TEST(Utf8, ConvertsAndReplaces) {
    EXPECT_EQ(ToUtf8(u"a\u00e9\u20ac\U0001F600"), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(ToUtf8(std::u16string{u'x', char16_t(0xD83D), u'y'}), "x\xEF\xBF\xBDy");
    EXPECT_EQ(ToUtf8(std::u16string{char16_t(0xDE00), u'y'}), "\xEF\xBF\xBDy");
    EXPECT_EQ(ToUtf8(std::u16string{u'y', char16_t(0xD83D)}), "y\xEF\xBF\xBD");
    EXPECT_EQ(FromUtf8("a\xC3\xA9\xF0\x9F\x98\x80"), u"a\u00e9\U0001F600");
    EXPECT_EQ(FromUtf8("a\xFFz"), u"a\uFFFDz");
    EXPECT_EQ(FromUtf8("\xE2\x82"), u"\uFFFD");
}

// --- Exceptions -------------------------------------------------------------

TEST(Exception, FormatMessageLeadsWithTheCategory) {
    WString out;
    Error(u"text", 3).FormatMessage(out, u" ");
    EXPECT_EQ(out, u"Unknown: text");
    SemanticError(u"", -1).FormatMessage(out, u"\n");
    EXPECT_EQ(out, u"Semantic error:\n");
    CalcInterrupt(u"stop").FormatMessage(out, u" ");
    EXPECT_EQ(out, u"Calculation interrupt:: stop");  // both colons
    EXPECT_STREQ(Exception(u"caf\u00e9").what(), "caf\xC3\xA9");
}

// --- Truncation and division faults ----------------------------------------

TEST(Truncation, EmulatesTheProcessor) {
    struct Case {
        double value;
        int32_t truncated;
        int32_t orZero;
    };
    for (const Case& c : {Case{-2.5, -2, -2}, Case{2147483647.9, INT_MAX, INT_MAX},
                          Case{-2147483648.9, INT_MIN, INT_MIN}, Case{1e10, INT_MIN, INT_MIN},
                          Case{-1e10, INT_MIN, INT_MIN}, Case{INFINITY, INT_MIN, INT_MIN},
                          Case{NullNumber(), INT_MIN, 0}}) {
        EXPECT_EQ(TruncateToInt32(c.value), c.truncated) << c.value;
        EXPECT_EQ(NumberToInt32(c.value), c.orZero) << c.value;
    }
}

// Integer division faults where the processor's would; formulas reach them
// through the most negative integer, here through a float that truncates to it.
TEST(DivisionFault, RaisedWhereTheProcessorFaults) {
    FloatObject huge(1e10);
    IntObject minusOne(-1);
    EXPECT_THROW(huge.OperatorMod(minusOne), DivisionFault);
}

// --- Factory and pools ------------------------------------------------------

TEST(ObjectFactory, PoolHoldsAtMostItsLimit) {
    const long before = Object::LiveCount();
    {
        ObjectFactory factory;
        std::vector<Object*> objects;
        for (size_t i = 0; i <= ObjectFactory::PoolLimit; ++i) {
            objects.push_back(factory.CreateInt(nullptr, 1));
        }
        for (Object* object : objects) factory.RecycleInt(static_cast<IntObject*>(object));
        EXPECT_EQ(factory.PooledCount(), ObjectFactory::PoolLimit);
        EXPECT_EQ(Object::LiveCount(), before + long(ObjectFactory::PoolLimit));
    }
    EXPECT_EQ(Object::LiveCount(), before);
}

TEST(ObjectFactory, ReleaseRecyclesClearedObjectsForReuse) {
    ObjectFactory& factory = DefaultFactory();
    Object* first = factory.CreateFloat(nullptr, 2.5);
    Release(first);
    Object* second = factory.CreateInt(nullptr);
    Object* third = factory.CreateFloat(nullptr);
    EXPECT_EQ(third, first);
    EXPECT_EQ(third->refCount.load(), 1);
    EXPECT_EQ(static_cast<FloatObject*>(third)->value, 0.0);
    Release(second);
    Release(third);
}

TEST(ObjectFactory, UnpooledClassesAreDeleted) {
    const long before = Object::LiveCount();
    const size_t pooled = DefaultFactory().PooledCount();
    Release(DefaultFactory().CreateBool(nullptr, true));
    Release(DefaultFactory().CreateChar(nullptr, u'a'));
    EXPECT_EQ(Object::LiveCount(), before);
    EXPECT_EQ(DefaultFactory().PooledCount(), pooled);
}

// --- Promotion --------------------------------------------------------------

Object* Make(int kind) {
    ObjectFactory& factory = DefaultFactory();
    switch (kind) {
        case 0:
            return factory.CreateEmpty(nullptr);
        case 1:
            return factory.CreateChar(nullptr, u'7');
        case 2:
            return factory.CreateInt(nullptr, 7);
        case 3:
            return factory.CreateFloat(nullptr, 7.5);
        default:
            return factory.CreateBool(nullptr, true);
    }
}

TEST(PromoteOperands, ScalarMatrix) {
    // Rows: left operand; columns: right operand; Void, Character, Integer,
    // Number, Boolean.
    const char16_t* expected[5][5] = {
        {u"Void", u"Character", u"Integer", u"Number", u"Boolean"},
        {u"Character", u"Character", u"Integer", u"Number", u"Boolean"},
        {u"Integer", u"Integer", u"Integer", u"Number", u"Boolean"},
        {u"Number", u"Number", u"Number", u"Number", u"Boolean"},
        {u"Boolean", u"Boolean", u"Boolean", u"Boolean", u"Boolean"},
    };
    for (int left = 0; left < 5; ++left) {
        for (int right = 0; right < 5; ++right) {
            PtrWrapper l(Make(left)), r(Make(right));
            Object* leftValue = l.Get();
            const bool leftIsWider = expected[left][right] == WString(l->GetType().Name());
            PtrWrapper result(PromoteOperands(nullptr, l, *r));
            EXPECT_EQ(WString(result->GetType().Name()), expected[left][right])
                << left << " " << right;
            // The left operand serves itself, with its reference, when it
            // already has the wider type.
            EXPECT_EQ(result.Get() == leftValue, leftIsWider);
            EXPECT_EQ(l.Get() == nullptr, leftIsWider);
        }
    }
}

TEST(PromoteOperands, AssignsTheLeftValue) {
    struct Case {
        Object* left;
        Object* right;
        double expected;
    };
    ObjectFactory& factory = DefaultFactory();
    for (const Case& c :
         {Case{factory.CreateEmpty(nullptr), factory.CreateInt(nullptr), 0.0},
          Case{factory.CreateInt(nullptr, 3), factory.CreateFloat(nullptr), 3.0},
          Case{factory.CreateFloat(nullptr, 0.5), factory.CreateBool(nullptr), 0.0},
          Case{factory.CreateFloat(nullptr, 1.5), factory.CreateBool(nullptr), 1.0}}) {
        PtrWrapper l(c.left), r(c.right);
        PtrWrapper result(PromoteOperands(nullptr, l, *r));
        double value;
        result->GetNumber(value);
        EXPECT_EQ(value, c.expected);
    }
}

}  // namespace
