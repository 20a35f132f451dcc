// What the sender of a report hears, and when.

#include "VirtualHost.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <new>
#include <stdexcept>
#include <thread>
#include <utility>

namespace
{

using namespace outbox;
using namespace std::chrono_literals;
using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST(Desk, PassesAnAcknowledgementOnAsItCame)
{
    VirtualHost host;
    void* const pUserData = host.Send("a");
    EXPECT_THAT(host.vecCalled, IsEmpty());
    host.Run(10s);
    ASSERT_THAT(host.vecCalled, SizeIs(1));
    EXPECT_EQ(host.vecCalled[0].strBody, R"({"success":true,"by":"server"})");
    EXPECT_EQ(host.vecCalled[0].pUserData, pUserData);
    EXPECT_EQ(host.vecCalled[0].nType, 3102);
    EXPECT_EQ(host.vecCalled[0].nError, 0);
    EXPECT_THAT(host.vecTold, IsEmpty()) << "its sender has heard it";
}

TEST(Desk, PassesANoOnAsItCame)
{
    const ServerReply REPLIES[] = {
        {0, R"({"success":false,"x":1})", {}, true}, {422, "what?", {}, true}, {-3, "", {}, false}};
    for (const ServerReply& reply : REPLIES) {
        VirtualHost host;
        host.server = [&](const Report&) { return reply; };
        const void* const pUserData = host.Send("a");
        host.Run(1h);
        ASSERT_EQ(host.CallsOf(pUserData), 1U) << reply.nError;
        EXPECT_EQ(host.vecCalled[0].nError, reply.nError);
        EXPECT_EQ(host.vecCalled[0].strBody, reply.strBody);
    }
}

TEST(Desk, SaysStoredWhereTheFirstAttemptBringsNoAnswer)
{
    const int OUTCOMES[] = {-7, -28, -52, -35, -42, 404, 429, 500, 503};
    for (const int nOutcome : OUTCOMES) {
        VirtualHost host;
        host.server = [&](const Report&) { return ServerReply{nOutcome, "", {}, true}; };
        const void* const pUserData = host.Send("a");
        host.Run(10min);
        ASSERT_EQ(host.CallsOf(pUserData), 1U) << nOutcome;
        EXPECT_EQ(host.vecCalled[0].strBody, R"({"success":true})");
        EXPECT_EQ(host.vecCalled[0].nError, 0);
        EXPECT_EQ(host.disk.mapWaiting.size(), 1U);
    }
}

TEST(Desk, SaysStoredOnlyWhenTheReportIsSafeFromAPowerCut)
{
    VirtualHost host;
    host.Run(1s);
    host.latency = 5ms;
    host.server = [](const Report&) { return Down(); };
    host.Send("first attempt");
    host.Run(49ms);
    host.Send("left for later");
    EXPECT_EQ(host.disk.nSyncs, 0U);
    EXPECT_THAT(host.vecCalled, IsEmpty());
    host.Run(2ms);
    EXPECT_EQ(host.disk.nSyncs, 1U);
    EXPECT_THAT(host.vecCalled, SizeIs(2));
}

TEST(Desk, SyncsOnceForAllReportsOf50Milliseconds)
{
    VirtualHost host;
    host.Run(1s);
    for (int nReport = 0; nReport < 20; ++nReport) {
        host.Send("a");
        host.Run(2ms);
    }
    host.Run(1min);
    EXPECT_EQ(host.disk.nSyncs, 1U);
    EXPECT_EQ(host.disk.nUnsynced, 0U);
}

TEST(Desk, SyncsAtOnceIfItIsToldSo)
{
    OutboxSettings settings;
    settings.eSync = SyncMode::Each;
    VirtualHost host(settings);
    host.Send("a");
    host.Run(0ms);
    EXPECT_EQ(host.disk.nSyncs, 1U);
    host.Send("b");
    host.Run(0ms);
    EXPECT_EQ(host.disk.nSyncs, 2U);
}

TEST(Desk, NeverSyncsIfItIsToldSo)
{
    OutboxSettings settings;
    settings.eSync = SyncMode::None;
    VirtualHost host(settings);
    host.server = [](const Report&) { return Down(); };
    host.Send("a");
    host.Run(100ms);
    host.Send("left for later");
    host.Run(1min);
    EXPECT_EQ(host.disk.nSyncs, 0U);
    EXPECT_THAT(host.vecCalled, SizeIs(2));
}

TEST(Desk, DoesNotTakeWhatCantBeStored)
{
    VirtualHost host;
    host.disk.bFull = true;
    EXPECT_EQ(host.Send("a"), nullptr);
    EXPECT_EQ(host.Send("b"), nullptr);
    host.disk.bThrows = true;
    EXPECT_EQ(host.Send("c"), nullptr);
    EXPECT_EQ(host.Send("d", "", "no url"), nullptr);
    host.Run(1min);
    EXPECT_THAT(host.vecSent, IsEmpty());
    EXPECT_THAT(host.vecCalled, IsEmpty());
    EXPECT_EQ(host.TheDesk().Status().nUnprotected, 4U);
    EXPECT_NE(host.TheDesk().Status().strLastError, "");
    host.disk.bFull = host.disk.bThrows = false;
    EXPECT_NE(host.Send("e"), nullptr);
    EXPECT_EQ(host.TheDesk().Status().strLastError, "");
}

TEST(Desk, KeepsWhatTheTransportDoesNotAccept)
{
    VirtualHost host;
    host.bAccepts = false;
    const void* const pUserData = host.Send("a");
    host.Run(1s);
    EXPECT_EQ(host.CallsOf(pUserData), 1U);
    EXPECT_EQ(host.vecCalled.at(0).strBody, R"({"success":true})");
    host.bAccepts = true;
    EXPECT_TRUE(host.RunUntilDrained(10min));
    EXPECT_EQ(host.CallsOf(pUserData), 1U);
}

TEST(Desk, WaitsForADiskThatCantSync)
{
    VirtualHost host;
    host.server = [](const Report&) { return Down(); };
    host.disk.bSyncs = false;
    const void* const pUserData = host.Send("a");
    host.Run(1s);
    EXPECT_EQ(host.CallsOf(pUserData), 0U);
    host.disk.bSyncs = true;
    host.Run(2s);
    ASSERT_EQ(host.CallsOf(pUserData), 1U);
    EXPECT_EQ(host.vecCalled[0].nError, 0);
}

TEST(Desk, SaysThatAReportIsNotStoredIfTheDiskNeverSyncs)
{
    VirtualHost host;
    host.server = [](const Report&) { return Down(); };
    host.disk.bSyncs = false;
    const void* const pUserData = host.Send("a");
    host.Run(5s);
    ASSERT_EQ(host.CallsOf(pUserData), 1U);
    EXPECT_EQ(host.vecCalled[0].nError, -2);
    host.Run(1min);
    EXPECT_EQ(host.CallsOf(pUserData), 1U);
}

TEST(Desk, TakesEachReplyOnce)
{
    VirtualHost host;
    host.Send("a");
    void* const pToken = host.vecSent.at(0).pToken;
    int nOther = 0;
    EXPECT_FALSE(host.Reply(&nOther, {}));
    EXPECT_FALSE(host.Reply(nullptr, {}));
    EXPECT_TRUE(host.Reply(pToken, {}));
    EXPECT_FALSE(host.Reply(pToken, {}));
    EXPECT_THAT(host.vecCalled, SizeIs(1));
}

TEST(Desk, TellsTheObserverOfLaterEndings)
{
    VirtualHost host;
    int nTries = 0;
    host.server = [&](const Report& report) {
        return ++nTries <= 2             ? Down()
               : report.strBody == "bad" ? ServerReply{415, "", {}, true}
                                         : ServerReply();
    };
    host.Send("good");
    host.Send("bad", "", "http://lab:8080/report", 3101);
    ASSERT_TRUE(host.RunUntilDrained(10min));
    ASSERT_THAT(host.vecTold, SizeIs(2));
    const SKtsReportEnding& good = host.vecTold[host.vecTold[0].strKey == "key-1" ? 0 : 1];
    const SKtsReportEnding& bad = host.vecTold[host.vecTold[0].strKey == "key-1" ? 1 : 0];
    EXPECT_EQ(good.eEnding, EKtsReportEnding::Acknowledged);
    EXPECT_EQ(good.nType, 3102);
    EXPECT_EQ(bad.strKey, "key-2");
    EXPECT_EQ(bad.nType, 3101);
    EXPECT_EQ(bad.eEnding, EKtsReportEnding::Dead);
    EXPECT_EQ(bad.strReason, "the server can't read the report: status 415");
    EXPECT_THAT(host.vecCalled, SizeIs(2));
}

TEST(Desk, OutlivesAnObserverThatThrowsOrSends)
{
    VirtualHost host;
    bool bDown = true;
    host.server = [&](const Report&) { return bDown ? Down() : ServerReply(); };
    host.fnObserver = [&](const SKtsReportEnding&) {
        if (host.vecTold.size() == 1) {
            host.Send("from the observer");
        }
        throw std::runtime_error("the observer's own");
    };
    host.Send("a");
    host.Send("b");
    host.Run(1s);
    bDown = false;
    EXPECT_TRUE(host.RunUntilDrained(10min));
    EXPECT_THAT(host.vecTold, SizeIs(2));
    EXPECT_EQ(host.disk.mapEnding.size(), 3U);
}

TEST(Desk, TakesTheReplyToAReportThatTheTransportRefuses)
{
    VirtualHost host;
    host.fnPost = [&host](void* pToken) {
        EXPECT_TRUE(host.Reply(pToken, {}));
        return false;
    };
    const void* const pUserData = host.Send("a");
    host.Run(1min);
    EXPECT_EQ(host.CallsOf(pUserData), 1U);
    EXPECT_EQ(host.disk.mapEnding.size(), 1U);
}

TEST(Desk, WaitsASecondAtMostForASyncOfAnotherThread)
{
    VirtualHost host;
    std::promise<void> begun;
    std::promise<void> allowed;
    const void* const pUserData = host.Send("a");
    EXPECT_TRUE(host.Reply(host.vecSent.at(0).pToken, Down()));
    host.disk.fnOnSync = [&] {
        begun.set_value();
        allowed.get_future().wait();
    };
    std::thread syncing([&host] { host.TheDesk().CallBackStored(); });
    begun.get_future().wait();
    host.TheDesk().CallBackStored();
    EXPECT_THAT(host.vecCalled, IsEmpty()) << "the report is not on the disk yet";
    allowed.set_value();
    syncing.join();
    ASSERT_EQ(host.CallsOf(pUserData), 1U);
    EXPECT_EQ(host.vecCalled[0].nError, 0);
    EXPECT_EQ(host.disk.nSyncs, 1U);
}

TEST(Desk, OutlivesADiskThatCantNoteAnEnding)
{
    for (const int nStatus : {0, 422}) {
        VirtualHost host;
        host.server = [nStatus](const Report&) { return nStatus == 0 ? ServerReply() : Status(nStatus); };
        bool bFailed = false;
        host.disk.fnOnEnd = [&bFailed] {
            if (!std::exchange(bFailed, true)) {
                throw std::bad_alloc();
            }
        };
        const void* const pUserData = host.Send("a");
        EXPECT_TRUE(host.RunUntilDrained(1h)) << nStatus;
        EXPECT_TRUE(bFailed) << nStatus;
        EXPECT_EQ(host.CallsOf(pUserData), 1U) << nStatus;
        EXPECT_EQ(host.disk.mapEnding.size(), 1U) << nStatus;
    }
}

} // namespace
