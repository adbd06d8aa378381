// A fixture for unit tests that build values themselves: a calculation
// context, current for the test's lifetime, on a client without symbols, an
// environment that owns the values, and builders of the common values.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>

#include "context/CalcContext.h"
#include "interface/Handles.h"
#include "tests/TestClient.h"
#include "tree/Environment.h"
#include "values/NumberVectorObject.h"
#include "values/ObjectFactory.h"
#include "values/ObjectVector.h"

namespace CalcEngine {

class ContextFixture : public testing::Test {
protected:
    ContextFixture()
        : client(NewTestClient(nullptr)),
          context(ClientOfHandle(client), nullptr),
          scope(&context) {}
    ~ContextFixture() override { iCalcFinalize(client); }

    Object* Int(int32_t value) { return CurrentFactory()->CreateInt(&environment, value); }
    Object* Number(double value) { return CurrentFactory()->CreateFloat(&environment, value); }
    Object* Text(const WString& text) { return CurrentFactory()->CreateString(&environment, text); }
    Object* Numbers(std::initializer_list<double> values) {
        auto* list =
            static_cast<NumberVectorObject*>(CurrentFactory()->CreateNumberVector(&environment));
        list->values = values;
        return list;
    }
    // An item list taking over the references of `items`; an item may be
    // null.
    Object* List(std::initializer_list<Object*> items) {
        auto* list = static_cast<ObjectVector*>(CurrentFactory()->CreateObjectVector(&environment));
        for (Object* item : items) list->items.emplace_back(item);
        return list;
    }

    static WString TextOf(const Object& value) {
        WString text;
        value.GetText(text);
        return text;
    }

    void* client;
    CalcContext context;
    CurrentContextScope scope;
    Environment environment;
};

}  // namespace CalcEngine
