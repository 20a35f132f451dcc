// What runs when the process ends, and what still may then.

#include "platform/system/ProcessEnd.h"

#include <gtest/gtest.h>

namespace
{

void Nothing() {}

} // namespace

TEST(CallAtTheEndOfTheProcess, IsPromised)
{
    EXPECT_TRUE(AtProcessEnd(Nothing));
}

TEST(CallThatNeedsThreads, IsMadeWhileTheyRunAndItsResultHandedOn)
{
    int nCalls = 0;
    UnlessThreadsAreGone([&nCalls] { ++nCalls; });
    EXPECT_EQ(nCalls, 1);
    EXPECT_EQ(UnlessThreadsAreGone([&nCalls] { return ++nCalls; }), 2);
}
