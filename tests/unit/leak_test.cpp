// After calculations every value is back in a pool or deleted: no object is
// lost, whichever way a calculation ended.
#include <gtest/gtest.h>

#include <cstring>

#include "context/FactoryPool.h"
#include "interface/ordo.h"
#include "tests/TestClient.h"
#include "values/Object.h"
#include "values/ObjectFactory.h"

namespace {

int32_t SymbolIsList(const char16_t*, DTCalcFunctionParameterValue*, int32_t, DTCalcResult* result,
                     void*) {
    const double list[] = {2, 1, 2};  // count, then the numbers
    result->xResultBuffer = static_cast<char16_t*>(xCalcAllocateMemory(sizeof list));
    std::memcpy(result->xResultBuffer, list, sizeof list);
    reinterpret_cast<uint64_t*>(result->xResultBuffer)[0] = 2;
    result->iResultBufferLength = sizeof list;
    result->iType = ORDODLL_FUNCTION_RESULT_TYPE_NUMBERLIST;
    return ORDODLL_RESULT_OK;
}

TEST(Leaks, EveryObjectIsPooledOrDeleted) {
    void* client = NewTestClient(SymbolIsList);
    ASSERT_NE(client, nullptr);
    const char16_t* formulas[] = {
        u"1 + 2 * 3",    u"[1..300] * x + \"a\"", u"\"a\" + 1 < [1 2]",      u"TRUE / FALSE",
        u"[5] MOD 0.5",  u"0 OR [0 2] AND x",     u"-\"1 2\" + NOT [0 1]",   u"(1",
        u"[0..1000000]", u"x(1, \"b\", [1 2])",   u"NULL + 1, NULL, x := 2",
    };
    for (int round = 0; round < 3; ++round) {
        for (const char16_t* formula : formulas) {
            DTCalcResult result{};
            iCalcCalculateFormula(client, formula, &result, nullptr);
            iCalcFreeMemory(result.xResultBuffer);
        }
    }
    iCalcFinalize(client);
    EXPECT_EQ(static_cast<size_t>(CalcEngine::Object::LiveCount()),
              CalcEngine::PooledObjectCount());
}

}  // namespace
