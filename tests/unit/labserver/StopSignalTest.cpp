// Signals to stop, where the system refuses what it seldom refuses.

#include "labserver/StopSignal.h"

#include "ProcessUse.h"
#include "SystemCalls.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <system_error>

using namespace std::chrono_literals;
using testing::HasSubstr;

TEST(SignalToStop, ThatCanNotBeHadSaysWhy)
{
    const FailingCall making("eventfd", EMFILE);
    try {
        const StopSignal stop;
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), EMFILE);
        EXPECT_THAT(error.what(), HasSubstr("eventfd"));
    }
}

TEST(SignalToStop, IsWaitedForUntilItIsRaised)
{
    const std::size_t nBefore = OpenDescriptors();
    {
        StopSignal stop;
        EXPECT_FALSE(stop.WaitFor(0ms));
        stop.Raise();
        EXPECT_TRUE(stop.WaitFor(60s));
        EXPECT_TRUE(stop.WaitFor(0ms)) << "it stays raised";
    }
    EXPECT_EQ(OpenDescriptors(), nBefore);
}
