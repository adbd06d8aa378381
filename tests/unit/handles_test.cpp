// Handle records: what no formula can show through the exported functions.
#include "interface/Handles.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <unordered_set>

#include "tests/TestClient.h"

namespace {

TEST(Handles, NoHandleValueEverComesBack) {
    // Issued and retired far beyond the 16 bits of a generation: a record
    // whose generation is spent must be set aside, not wrap around.
    void* client = NewTestClient(nullptr);
    CalcClient& object = *ClientOfHandle(client);
    std::unordered_set<void*> seen;
    void* first = NewClientHandle(object);
    RetireHandle(first);
    seen.insert(first);
    for (int i = 0; i < 70000; ++i) {
        void* handle = NewClientHandle(object);
        ASSERT_TRUE(seen.insert(handle).second) << "after " << i << " reuses";
        ASSERT_EQ(ClientOfHandle(handle), &object);
        RetireHandle(handle);
        ASSERT_EQ(ClientOfHandle(handle), nullptr);
    }
    EXPECT_EQ(ClientOfHandle(first), nullptr);
    EXPECT_EQ(iCalcFinalize(client), ORDODLL_RESULT_OK);
}

}  // namespace
