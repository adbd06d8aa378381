// The function registry and the toolkit with which builtins read their
// parameters.
#include <gtest/gtest.h>

#include "functions/ArgumentToolkit.h"
#include "functions/FunctionRegistry.h"
#include "values/ObjectFactory.h"

using namespace CalcEngine;

namespace {

Object* Nothing(ICalcContext&, Environment&, ArgumentList&) { return nullptr; }

BuiltinEntry Entry(const char16_t* name, const char16_t* alias, const char16_t* signature) {
    return BuiltinEntry{u"Test", name, alias, Nothing, signature, u"", 0};
}

struct SignatureRow {
    const char16_t* signature;
    uint32_t required;
    uint32_t maximum;
};

TEST(Functions, SignatureGivesTheParameterCounts) {
    const SignatureRow rows[] = {
        {u"", 0, 0},
        {u" ", 1, 1},  // a blank is a place too
        {u".", 0, 1},
        {u"??.", 2, 3},
        {u"SD..", 2, 4},
        {u"*", 0, BuiltinFunction::Unlimited},
        {u"S?*", 2, BuiltinFunction::Unlimited},
        {u"?*D", 1, BuiltinFunction::Unlimited},  // nothing counts after '*'
    };
    for (const SignatureRow& row : rows) {
        BuiltinFunction function(Entry(u"F", nullptr, row.signature));
        EXPECT_EQ(function.RequiredParameters(), row.required) << ToUtf8(row.signature);
        EXPECT_EQ(function.MaximumParameters(), row.maximum) << ToUtf8(row.signature);
    }
}

TEST(Functions, FindIgnoresCaseAndOneTrailingUnderscore) {
    FunctionRegistry registry;
    bool mark = true;
    const ICalcFunction* found = registry.Find(u"IF", mark);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->name, u"If");
    EXPECT_FALSE(mark);
    EXPECT_EQ(registry.Find(u"iIf_", mark), found);
    EXPECT_TRUE(mark);
    EXPECT_EQ(registry.Find(u"If__", mark), nullptr);  // only one underscore is a mark
    // The key under which functions without an alias stand is out of reach.
    EXPECT_EQ(registry.Find(u"_", mark), nullptr);
    EXPECT_EQ(registry.Find(u"", mark), nullptr);
}

// The last function added under a name takes that name, and only that one.
TEST(Functions, AddedFunctionTakesOverItsNamesOnly) {
    FunctionRegistry registry;
    const size_t builtins = registry.Functions().size();
    bool mark;
    const ICalcFunction* ignoreNull = registry.Find(u"IgnoreNull", mark);
    registry.Add(std::make_unique<BuiltinFunction>(Entry(u"in", u"Other", u"")));
    const ICalcFunction* added = registry.Find(u"IN", mark);
    EXPECT_EQ(added->name, u"in");
    EXPECT_EQ(added->index, builtins);
    EXPECT_EQ(registry.Find(u"other", mark), added);
    EXPECT_EQ(registry.Find(u"ignorenull", mark), ignoreNull);
    EXPECT_EQ(registry.Functions().size(), builtins + 1);
}

TEST(Functions, BuiltinsAreNumberedInRegistrationOrder) {
    FunctionRegistry registry;
    const auto& functions = registry.Functions();
    ASSERT_EQ(functions.size(), 143u);
    EXPECT_EQ(functions.front()->name, u"If");
    EXPECT_EQ(functions.back()->name, u"Concatenate");
    for (size_t i = 0; i < functions.size(); ++i) EXPECT_EQ(functions[i]->index, i);
}

struct CsvRow {
    const char16_t* item;
    const char16_t* list;
    size_t position;
};

TEST(Functions, CsvPosition) {
    const CsvRow rows[] = {
        {u"b", u"a,b,c", 2},
        {u"a", u"a", 1},
        {u"c", u"a,b,c", 3},
        {u"d", u"a,b,c", 0},
        {u"B", u"a,b,c", 0},            // exact comparison
        {u"", u"a,,b", 0},              // an empty item is never found
        {u"abcd", u"abc", 0},           // longer than the list
        {u"b", u"\"a,x\",\"b\",c", 2},  // quotes are not part of a field
        {u"a,x", u"\"a,x\",b", 1},      // and may hold the comma
        {u" b", u"a, b", 2},            // blanks belong to the field
        {u"b", u"a, b", 0},
    };
    for (const CsvRow& row : rows)
        EXPECT_EQ(CsvPosition(row.item, row.list), row.position)
            << ToUtf8(row.item) << " in " << ToUtf8(row.list);
}

ArgumentList ArgumentsOf(Object* value) {
    ArgumentList arguments(1);
    arguments[0].value.Reset(value);
    return arguments;
}

// A number list that only the call holds is changed in place, a shared one
// in a copy; a scalar is copied and stays a scalar.
TEST(Functions, ApplyToParameter) {
    ObjectFactory& factory = DefaultFactory();
    auto twice = [](double x) { return 2 * x; };
    auto TextOf = [](const Object& value) {
        WString text;
        value.GetText(text);
        return text;
    };

    Object* sole = factory.CreateNumberVector(nullptr);
    sole->SetText(u"1 2 3");
    ArgumentList soleArguments = ArgumentsOf(sole);
    PtrWrapper doubled(ApplyToParameter(soleArguments, twice));
    EXPECT_EQ(doubled.Get(), sole);
    EXPECT_EQ(TextOf(*doubled), u"2 4 6");

    PtrWrapper shared(factory.CreateNumberVector(nullptr));
    shared->SetText(u"1 2 3");
    AddRef(shared.Get());
    ArgumentList sharedArguments = ArgumentsOf(shared.Get());
    PtrWrapper copy(ApplyToParameter(sharedArguments, twice));
    EXPECT_NE(copy.Get(), shared.Get());
    EXPECT_EQ(TextOf(*copy), u"2 4 6");
    EXPECT_EQ(TextOf(*shared), u"1 2 3");

    ArgumentList scalarArguments = ArgumentsOf(factory.CreateFloat(nullptr, 4));
    PtrWrapper result(ApplyToParameter(scalarArguments, twice));
    EXPECT_NE(result.Get(), scalarArguments[0].value.Get());
    EXPECT_TRUE(result->IsScalar());
    double number;
    result->GetNumber(number);
    EXPECT_EQ(number, 8);
    scalarArguments[0].value->GetNumber(number);
    EXPECT_EQ(number, 4);

    ArgumentList missing(1);
    EXPECT_THROW(ApplyToParameter(missing, twice), RuntimeError);
}

TEST(Functions, OrdinalAndLowerCase) {
    const std::pair<size_t, const char16_t*> ordinals[] = {
        {1, u"1st"},   {2, u"2nd"},   {3, u"3rd"},  {4, u"4th"},
        {11, u"11th"}, {21, u"21th"}, {22, u"22th"}};
    for (const auto& [n, text] : ordinals) EXPECT_EQ(Ordinal(n), text);
    EXPECT_EQ(ToLowerCase(u"IgnoreNULL_\u00C9\u0130"), u"ignorenull_\u00E9i");
    // A surrogate pair maps as one character; a lone surrogate stays.
    EXPECT_EQ(ToLowerCase(u"\U00010400\xD800X"), u"\U00010428\xD800x");
}

}  // namespace
