#include "sdk/ReplyReader.h"

#include <gtest/gtest.h>

// The same as with the parser's own allocators.
TEST(JsonMemory, GivesAndTakesMemory)
{
    VelCSDK::JsonMemory memory;
    void* pMemory = memory.Realloc(nullptr, 0, 10);
    ASSERT_NE(pMemory, nullptr);
    static_cast<char*>(pMemory)[9] = 'x';
    pMemory = memory.Realloc(pMemory, 10, 1'000'000);
    ASSERT_NE(pMemory, nullptr);
    EXPECT_EQ(static_cast<char*>(pMemory)[9], 'x');
    EXPECT_EQ(memory.Realloc(pMemory, 1'000'000, 0), nullptr); // and the leak checker reports nothing
}
