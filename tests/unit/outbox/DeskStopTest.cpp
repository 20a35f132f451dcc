// What a stop does with the reports that are not finished.

#include "VirtualHost.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace
{

using namespace outbox;
using namespace std::chrono_literals;
using ::testing::SizeIs;

TEST(DeskStop, CallsEachSenderOnceAndLosesNothing)
{
    for (int nState = 0; nState < 8; ++nState) {
        VirtualHost host;
        bool bDown = (nState & 1) != 0;
        host.server = [&](const Report&) { return bDown ? Down() : ServerReply(); };
        std::vector<const void*> vecSenders{host.Send("a"), host.Send("b", "s"), host.Send("c", "s")};
        if ((nState & 2) != 0) {
            host.Run(200ms); // everything is synced, and answered where there are answers
        }
        host.latency = 10s;
        bDown = false;
        vecSenders.push_back(host.Send("d"));
        if ((nState & 4) != 0) {
            host.Run(1s); // a probe is on its way
        }
        const std::size_t nEnded = host.disk.mapEnding.size();
        const std::size_t nSent = host.vecSent.size();
        host.Stop();
        for (const void* const pSender : vecSenders) {
            EXPECT_EQ(host.CallsOf(pSender), 1U) << nState;
        }
        EXPECT_EQ(host.disk.mapEnding.size(), nEnded) << nState;
        EXPECT_EQ(host.disk.mapWaiting.size() + nEnded, 4U) << nState;
        EXPECT_EQ(host.disk.nUnsynced, 0U) << nState;
        EXPECT_EQ(host.Send("late"), nullptr);
        host.Run(1h);
        EXPECT_EQ(host.vecSent.size(), nSent) << nState;
    }
}

TEST(DeskStop, DoesNotLookAtWhatWaits)
{
    VirtualHost host;
    host.server = [](const Report&) { return Down(); };
    for (int nReport = 0; nReport < 2'000; ++nReport) {
        host.Send("a");
    }
    host.Run(1min);
    const std::uint64_t nReads = host.disk.nReads;
    host.Stop();
    host.Run(1min);
    EXPECT_EQ(host.disk.nReads, nReads);
    EXPECT_EQ(host.disk.mapWaiting.size(), 2'000U);
}

TEST(DeskStop, AnswersAFirstAttemptThatItGivesUp)
{
    VirtualHost host;
    host.latency = 1h;
    const void* const pUserData = host.Send("a");
    void* const pToken = host.vecSent.at(0).pToken;
    host.TheDesk().Stop();
    EXPECT_FALSE(host.TheDesk().AwaitFlights(1ms));
    host.TheDesk().GiveUpFlights();
    EXPECT_EQ(host.CallsOf(pUserData), 1U);
    EXPECT_TRUE(host.Reply(pToken, {})) << "the late reply is still taken";
    EXPECT_EQ(host.CallsOf(pUserData), 1U);
    EXPECT_TRUE(host.disk.mapWaiting.empty());
    EXPECT_FALSE(host.TheDesk().HasFlights());
}

TEST(DeskStop, SaysThatAReportIsNotStoredIfTheDiskCantSync)
{
    VirtualHost host;
    host.disk.bSyncs = false;
    host.server = [](const Report&) { return Down(); };
    host.Send("a");
    host.Run(100ms);
    host.Send("b");
    host.latency = 1h;
    host.Stop();
    ASSERT_THAT(host.vecCalled, SizeIs(2));
    EXPECT_EQ(host.vecCalled[0].nError, -2);
    EXPECT_EQ(host.vecCalled[1].nError, -2);
}

TEST(DeskStop, AnswersAReportThatIsBeingStoredMeanwhile)
{
    VirtualHost host;
    host.disk.fnOnAdd = [&host] { host.TheDesk().Stop(); };
    const void* const pUserData = host.Send("a");
    ASSERT_NE(pUserData, nullptr) << "it is stored";
    ASSERT_EQ(host.CallsOf(pUserData), 1U);
    EXPECT_EQ(host.vecCalled[0].nError, 0);
    EXPECT_EQ(host.disk.nUnsynced, 0U);
    EXPECT_EQ(host.disk.mapWaiting.size(), 1U);
    EXPECT_TRUE(host.vecSent.empty());
}

} // namespace
