// Misuse of the exported functions: stale, foreign and mistyped handles,
// calls after a client's end, and a client without a symbol callback. Each
// answers a code, and the clients and handles in proper use go on unharmed.
// The leak checker of the sanitizer build watches every case.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "OrdoHost.h"
#include "tests/TestClient.h"

using namespace ordotest;

namespace {

constexpr int32_t ok = ORDODLL_RESULT_OK;
constexpr int32_t illegal = ORDODLL_RESULT_ILLEGAL_PARAMETER_ERROR;

int32_t SymbolIsThree(const char16_t*, DTCalcFunctionParameterValue*, int32_t, DTCalcResult* result,
                      void*) {
    return AnswerNumber(result, 3);
}

int32_t DoNothing(int32_t, DTCalcFunctionParameterValue*, void*, DTCalcResult*) { return ok; }

void* Prepare(void* client, const char16_t* text) {
    void* handle = PrepareHandle(client, text);
    EXPECT_NE(handle, nullptr);
    return handle;
}

int32_t PrepareCode(void* client, const char16_t* text, void** handle) {
    DTCalcFormulaPreparationResult preparation{};
    int32_t code = iCalcPrepareFormula(client, text, &preparation, handle, nullptr);
    iCalcFreeMemory(preparation.xResultBuffer);
    return code;
}

Outcome Calculate(void* client, void* formula, void* data = nullptr) {
    DTCalcResult result{};
    return TakeResult(iCalcCalculate(client, formula, &result, data), result);
}

int32_t CalculateFormula(void* client, const char16_t* text) {
    DTCalcResult result{};
    return TakeResult(iCalcCalculateFormula(client, text, &result, nullptr), result).code;
}

int32_t Register(void* client) {
    DTCalcFunction function{u"DoNothing", nullptr, nullptr, nullptr, 0, 0, DoNothing};
    return iCalcRegisterFunction(client, &function);
}

// Two clients, each host answering its own x, and a formula that the first
// one prepared.
struct Scene {
    Scene() {
        owner.symbols["x"] = Outcome{0, 0, true, 21, ""};
        other.symbols["x"] = Outcome{0, 0, true, 5, ""};
        EXPECT_EQ(owner.Prepare("x * 2", &formula).code, ok);
    }
    Host owner;
    Host other;
    void* formula = nullptr;
};

struct HandleMisuse {
    const char* name;
    // Any proper steps first, then the misuse, whose code it answers.
    std::function<int32_t(Scene&)> misuse;
};

TEST(Misuse, WrongHandlesAreRefusedAndEveryoneGoesOn) {
    const HandleMisuse cases[] = {
        {"free through another client",
         [](Scene& s) { return iCalcFreeFormula(s.other.client, s.formula); }},
        {"calculate through another client",
         [](Scene& s) { return Calculate(s.other.client, s.formula, &s.other).code; }},
        {"stale handle whose record serves a newer formula",
         [](Scene& s) {
             EXPECT_EQ(iCalcFreeFormula(s.owner.client, s.formula), ok);
             void* newer = nullptr;
             EXPECT_EQ(s.owner.Prepare("x + 1", &newer).code, ok);
             int32_t code = Calculate(s.owner.client, s.formula, &s.owner).code;
             EXPECT_EQ(s.owner.Calculate(newer).text, "22");
             EXPECT_EQ(iCalcFreeFormula(s.owner.client, newer), ok);
             return code;
         }},
        {"client handle as formula to calculate",
         [](Scene& s) { return Calculate(s.owner.client, s.owner.client, &s.owner).code; }},
        {"client handle as formula to free",
         [](Scene& s) { return iCalcFreeFormula(s.owner.client, s.owner.client); }},
        {"formula handle as client to prepare",
         [](Scene& s) {
             void* handle = nullptr;
             return PrepareCode(s.formula, u"1", &handle);
         }},
        {"formula handle as client to calculate",
         [](Scene& s) { return Calculate(s.formula, s.formula, &s.owner).code; }},
        {"formula handle as client to calculate a text",
         [](Scene& s) { return CalculateFormula(s.formula, u"1"); }},
        {"formula handle as client to free",
         [](Scene& s) { return iCalcFreeFormula(s.formula, s.formula); }},
        {"formula handle as client to register", [](Scene& s) { return Register(s.formula); }},
        {"formula handle as client to finalize", [](Scene& s) { return iCalcFinalize(s.formula); }},
    };
    for (const HandleMisuse& c : cases) {
        SCOPED_TRACE(c.name);
        Scene s;
        EXPECT_EQ(c.misuse(s), illegal);
        // The owner's cache is intact: the same text is found or parsed
        // anew, and calculates.
        void* again = nullptr;
        ASSERT_EQ(s.owner.Prepare("x * 2", &again).code, ok);
        EXPECT_EQ(s.owner.Calculate(again).text, "42");
        EXPECT_EQ(iCalcFreeFormula(s.owner.client, again), ok);
        EXPECT_EQ(s.other.Calc("x * 2").text, "10");
        // The scene's formula, where the case left it prepared, goes with
        // its client.
    }
}

TEST(Misuse, EachPreparationAllowsOneFree) {
    for (int preparations = 1; preparations <= 3; ++preparations) {
        SCOPED_TRACE(preparations);
        Host host;
        void* handle = nullptr;
        for (int i = 0; i < preparations; ++i) {
            void* same = nullptr;
            ASSERT_EQ(host.Prepare("1 + 2", &same).code, ok);
            if (i == 0) handle = same;
            EXPECT_EQ(same, handle);
        }
        // Without a place for the handle neither a cached text nor a new
        // one is counted or kept.
        DTCalcFormulaPreparationResult preparation{};
        for (const char16_t* text : {u"1 + 2", u"3 + 4"})
            EXPECT_EQ(iCalcPrepareFormula(host.client, text, &preparation, nullptr, nullptr),
                      illegal);
        for (int i = 0; i < preparations; ++i) {
            EXPECT_EQ(host.Calculate(handle).text, "3");
            EXPECT_EQ(iCalcFreeFormula(host.client, handle), ok);
        }
        EXPECT_EQ(iCalcFreeFormula(host.client, handle), illegal);
        EXPECT_EQ(host.Calculate(handle).code, illegal);
    }
}

struct AfterFinalize {
    const char* name;
    std::function<int32_t(void* client, void* formula)> call;
};

TEST(Misuse, EveryCallAfterFinalizeIsRefused) {
    const AfterFinalize cases[] = {
        {"calculate", [](void* client, void* formula) { return Calculate(client, formula).code; }},
        {"prepare",
         [](void* client, void*) {
             void* handle = nullptr;
             return PrepareCode(client, u"x + 1", &handle);
         }},
        {"calculate a text", [](void* client, void*) { return CalculateFormula(client, u"1"); }},
        {"free", [](void* client, void* formula) { return iCalcFreeFormula(client, formula); }},
        {"register", [](void* client, void*) { return Register(client); }},
        {"finalize again", [](void* client, void*) { return iCalcFinalize(client); }},
    };
    for (const AfterFinalize& c : cases) {
        SCOPED_TRACE(c.name);
        void* survivor = NewTestClient(SymbolIsThree);
        void* kept = Prepare(survivor, u"x * 3");
        void* client = NewTestClient(SymbolIsThree);
        void* formula = Prepare(client, u"x * 2");
        ASSERT_EQ(iCalcFinalize(client), ok);
        EXPECT_EQ(c.call(client, formula), illegal);
        // A client made now may take the ended one's place: the old handles
        // still answer nothing of it.
        void* successor = NewTestClient(SymbolIsThree);
        EXPECT_EQ(c.call(client, formula), illegal);
        EXPECT_EQ(Calculate(successor, formula).code, illegal);
        EXPECT_EQ(CalculateFormula(successor, u"x * 2"), ok);
        EXPECT_EQ(Calculate(survivor, kept).text, "9");
        EXPECT_EQ(iCalcFreeFormula(survivor, kept), ok);
        EXPECT_EQ(iCalcFinalize(successor), ok);
        EXPECT_EQ(iCalcFinalize(survivor), ok);
    }
}

TEST(Misuse, FinalizeDeletesTheFormulasStillPrepared) {
    void* client = NewTestClient(SymbolIsThree);
    std::vector<void*> handles;
    // Cached once, cached twice, evicted from the cache by a free while
    // still in use, and its successor under the same text.
    for (const char16_t* text : {u"x + 1", u"[1..10] * x", u"[1..10] * x", u"\"text\"", u"x + 1"})
        handles.push_back(Prepare(client, text));
    EXPECT_EQ(iCalcFreeFormula(client, handles[0]), ok);
    handles.push_back(Prepare(client, u"x + 1"));
    ASSERT_NE(handles.back(), handles[0]);
    EXPECT_EQ(iCalcFinalize(client), ok);
    // Nothing is left to leak, and nothing is left to reach.
    void* successor = NewTestClient(SymbolIsThree);
    for (void* handle : handles) {
        EXPECT_EQ(Calculate(successor, handle).code, illegal);
        EXPECT_EQ(iCalcFreeFormula(successor, handle), illegal);
    }
    EXPECT_EQ(iCalcFinalize(successor), ok);
}

TEST(Misuse, MissingSymbolCallbackIsAnEvaluationError) {
    void* client = NewTestClient(nullptr);
    const struct {
        const char16_t* formula;
        int32_t code;
        std::string text;
    } cases[] = {
        {u"x + 1", ORDODLL_RESULT_EVALUATION_ERROR,
         "Calculation failed\r\nRuntime error:\r\nError: no symbol value callback to evaluate "
         "external symbol: x\r\n\r\n"},
        {u"Sum(1, y(2))", ORDODLL_RESULT_EVALUATION_ERROR, "external symbol: y"},
        {u"1 + 2", ok, "3"},
    };
    for (const auto& c : cases) {
        void* formula = Prepare(client, c.formula);
        Outcome outcome = Calculate(client, formula);
        EXPECT_EQ(outcome.code, c.code);
        EXPECT_NE(outcome.text.find(c.text), std::string::npos) << outcome.text;
        EXPECT_EQ(iCalcFreeFormula(client, formula), ok);
    }
    EXPECT_EQ(iCalcFinalize(client), ok);
}

}  // namespace
