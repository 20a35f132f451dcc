// The clock behind the scripted transport's delays.

#include "testing/ReplyClock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <vector>

using namespace std::chrono_literals;

namespace
{

constexpr auto CLOCK_PATIENCE = 60s;

TEST(TheReplyClock, CallsInTheOrderOfTheTimes)
{
    ReplyClock clock;
    std::vector<int> vecCalled;
    std::promise<void> done;
    clock.After(40ms, [&] {
        vecCalled.push_back(2);
        done.set_value();
    });
    clock.After(0ms, [&] { vecCalled.push_back(1); });
    ASSERT_EQ(done.get_future().wait_for(CLOCK_PATIENCE), std::future_status::ready);
    EXPECT_THAT(vecCalled, ::testing::ElementsAre(1, 2));
}

TEST(TheReplyClock, NeverCallsWhatItKeepsAndDestroysItAtTheStop)
{
    const auto pKept = std::make_shared<int>(0);
    std::promise<void> done;
    ReplyClock clock;
    clock.Keep([pKept] { ++*pKept; });
    clock.After(0ms, [&done] { done.set_value(); });
    ASSERT_EQ(done.get_future().wait_for(CLOCK_PATIENCE), std::future_status::ready);
    EXPECT_EQ(pKept.use_count(), 2);
    clock.Stop(); // while its thread has nothing but what is kept
    EXPECT_EQ(pKept.use_count(), 1);
    EXPECT_EQ(*pKept, 0);
}

TEST(TheReplyClock, DestroysWhatComesAfterTheStop)
{
    const auto pLate = std::make_shared<int>(0);
    ReplyClock clock;
    clock.Stop();
    clock.After(0ms, [pLate] { ++*pLate; });
    clock.Keep([pLate] { ++*pLate; });
    EXPECT_EQ(pLate.use_count(), 1);
    EXPECT_EQ(*pLate, 0);
}

} // namespace
