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

struct Utf16Case {
    std::u16string utf16;
    std::string utf8;
};

class ToUtf8Test : public testing::TestWithParam<Utf16Case> {};

TEST_P(ToUtf8Test, ConvertsAndReplacesLoneSurrogates) {
    EXPECT_EQ(ToUtf8(GetParam().utf16), GetParam().utf8);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ToUtf8Test,
    testing::Values(Utf16Case{u"", ""}, Utf16Case{u"a\u00e9\u20ac", "a\xC3\xA9\xE2\x82\xAC"},
                    Utf16Case{u"\U0001F600", "\xF0\x9F\x98\x80"},
                    Utf16Case{std::u16string{u'x', char16_t(0xD83D), u'y'}, "x\xEF\xBF\xBDy"},
                    Utf16Case{std::u16string{char16_t(0xDE00), u'y'}, "\xEF\xBF\xBDy"},
                    Utf16Case{std::u16string{u'y', char16_t(0xD83D)}, "y\xEF\xBF\xBD"}));

TEST(FromUtf8, DecodesAndReplacesMalformedSequences) {
    EXPECT_EQ(FromUtf8("a\xC3\xA9\xF0\x9F\x98\x80"), u"a\u00e9\U0001F600");
    EXPECT_EQ(FromUtf8("a\xFFz"), u"a\uFFFDz");
    EXPECT_EQ(FromUtf8("\xE2\x82"), u"\uFFFD");
}

// --- Exceptions -------------------------------------------------------------

TEST(Exception, FormatMessageLeadsWithTheCategory) {
    struct Case {
        const Error& error;
        const char16_t* separator;
        const char16_t* expected;
    };
    const Error plain(u"text", 3);
    const MathError math(u"division by zero", -1);
    const SemanticError semantic(u"", -1);
    for (const Case& c :
         {Case{plain, u" ", u"Unknown: text"}, Case{math, u" ", u"Math error: division by zero"},
          Case{semantic, u"\n", u"Semantic error:\n"}}) {
        WString out;
        c.error.FormatMessage(out, c.separator);
        EXPECT_EQ(out, c.expected);
    }
}

TEST(Exception, InterruptKeepsBothColons) {
    WString out;
    CalcInterrupt(u"stop").FormatMessage(out, u" ");
    EXPECT_EQ(out, u"Calculation interrupt:: stop");
}

TEST(Exception, DescriptionsAndWhat) {
    WString out;
    SyntaxError(u"x", 1).GetDescription(out);
    EXPECT_EQ(out, u"Syntax error");
    NullValueException().GetDescription(out);
    EXPECT_EQ(out, u"Null value exception");
    EXPECT_STREQ(RuntimeError(u"message", -1).what(), "Exception");
    EXPECT_STREQ(Exception().what(), "Exception");
    EXPECT_STREQ(Exception(u"caf\u00e9").what(), "caf\xC3\xA9");
}

TEST(Exception, RethrowKeepsTheClassMessageAndCode) {
    try {
        try {
            RaiseMathError();
        } catch (const Error& error) {
            error.Rethrow();
        }
    } catch (const MathError& error) {
        EXPECT_EQ(error.GetMessage(), u"division by zero");
        EXPECT_EQ(error.GetCode(), -1);
        return;
    }
    FAIL() << "MathError expected";
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

TEST(DivisionFault, RaisedWhereTheProcessorFaults) {
    IntObject minimum(INT_MIN);
    IntObject minusOne(-1);
    EXPECT_THROW(minimum.OperatorDiv(minusOne), DivisionFault);
    EXPECT_THROW(minimum.OperatorMod(minusOne), DivisionFault);
    FloatObject huge(1e10);  // truncates to INT_MIN
    EXPECT_THROW(huge.OperatorMod(minusOne), DivisionFault);
    IntObject zero(0);
    EXPECT_THROW(minusOne.OperatorDiv(zero), MathError);
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
