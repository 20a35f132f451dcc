// In which order the backlog is read and sent, and what that costs.

#include "VirtualHost.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace
{

using namespace outbox;
using namespace std::chrono_literals;
using ::testing::Each;
using ::testing::ElementsAre;

TEST(Courier, SendsTheReportsOfAStreamInOrderOneAtATime)
{
    VirtualHost host;
    std::map<std::string, std::vector<int>> mapArrived;
    std::map<std::string, int> mapAtATime;
    int nReplies = 0;
    host.server = [&](const Report& report) {
        if (++nReplies % 7 == 0) {
            return nReplies % 2 == 0 ? Down() : Status(500);
        }
        mapArrived[report.strStream].push_back(std::stoi(report.strBody));
        return ServerReply();
    };
    for (int nReport = 0; nReport < 400; ++nReport) {
        host.Send(std::to_string(nReport), "stream " + std::to_string(nReport % 20));
        host.Run(nReport < 200 ? 1ms : 50ms);
    }
    ASSERT_TRUE(host.RunUntilDrained(48h));
    for (const auto& [strStream, vecNumbers] : mapArrived) {
        EXPECT_TRUE(std::is_sorted(vecNumbers.begin(), vecNumbers.end())) << strStream;
        EXPECT_EQ(vecNumbers.size(), 20U) << strStream;
    }
}

TEST(Courier, LetsTheNextOfAStreamPassAfterADeadOne)
{
    VirtualHost host;
    host.server = [](const Report& report) { return report.strBody == "1" ? Status(400) : ServerReply(); };
    for (const char* szBody : {"1", "2", "3"}) {
        host.Send(szBody, "s");
    }
    host.Send("other", "t");
    ASSERT_TRUE(host.RunUntilDrained(10s));
    EXPECT_THAT(host.SentBodies(), ElementsAre("1", "other", "1", "1", "2", "3"));
}

TEST(Courier, SendsANewReportOfAStreamAfterThoseOfEarlierRuns)
{
    VirtualHost host;
    host.disk.mapWaiting[{3, 1}] = {3102, "http://lab:8080/report", "", "old", "s", "k", 0};
    host.Send("new", "s");
    host.Send("unordered");
    EXPECT_THAT(host.SentBodies(), ElementsAre("unordered"));
    ASSERT_TRUE(host.RunUntilDrained(10s));
    EXPECT_THAT(host.SentBodies(), ElementsAre("unordered", "old", "new"));
}

TEST(Courier, SendsWhatItAdopts)
{
    VirtualHost host;
    host.Run(10s);
    host.disk.mapAbandoned[{4, 2}] = {3102, "http://lab:8080/report", "", "adopted", "", "k", 0};
    host.Run(25s);
    EXPECT_THAT(host.SentBodies(), ElementsAre("adopted"));
}

TEST(Courier, ForgetsAFailedReportThatIsGoneFromTheDisk)
{
    VirtualHost host;
    host.server = [](const Report& report) { return report.strBody == "good" ? ServerReply() : Status(404); };
    host.Send("removed");
    host.Send("kept"); // stands behind it, and waits too
    host.Run(1s);
    ASSERT_EQ(host.disk.mapWaiting.size(), 2U);
    host.disk.mapWaiting.erase(host.disk.mapWaiting.begin());
    host.vecSent.clear();
    host.Run(2h);
    EXPECT_THAT(host.SentBodies(), Each("kept"));
    EXPECT_FALSE(host.vecSent.empty());
    host.server = [](const Report&) { return ServerReply(); };
    EXPECT_TRUE(host.RunUntilDrained(3h));
}

TEST(Courier, FindsAReportAgainThatTheDiskDidNotShow)
{
    VirtualHost host;
    host.Run(10s);
    host.disk.mapWaiting[{4, 2}] = {3102, "http://lab:8080/report", "", "found", "", "k", 0};
    host.Run(31s);
    EXPECT_THAT(host.SentBodies(), ElementsAre("found"));
}

TEST(Courier, ReadsALargeBacklogOfManyStreamsAFewTimesOnly)
{
    VirtualHost host;
    constexpr std::uint64_t REPORTS = 3'000;
    for (std::uint64_t nReport = 1; nReport <= REPORTS; ++nReport) {
        host.disk.mapWaiting[{3, nReport}] = {
            3102, "http://lab/x", "", "b", std::to_string(nReport % 100), "k", 0};
    }
    ASSERT_TRUE(host.RunUntilDrained(3min));
    EXPECT_LT(host.disk.nReads, 10 * REPORTS);
}

TEST(Courier, IsIdleWithoutReports)
{
    VirtualHost host;
    host.Run(1s);
    const std::uint64_t nReads = host.disk.nReads;
    const std::uint64_t nAdoptions = host.disk.nAdoptions;
    const TimePoint tpNext = host.TheDesk().Turn();
    EXPECT_GE(tpNext - host.Now(), 25s);
    host.Run(5min);
    EXPECT_EQ(host.disk.nReads, nReads);
    EXPECT_EQ(host.disk.nAdoptions, nAdoptions + 10);
}

TEST(Courier, KeepsABurstWithinItsLimits)
{
    VirtualHost host;
    host.latency = 10s;
    for (int nReport = 0; nReport < 1'200; ++nReport) {
        host.Send("a");
    }
    EXPECT_EQ(host.vecSent.size(), Courier::MOST_LOADED);
    EXPECT_TRUE(host.RunUntilDrained(2min));
    EXPECT_LE(host.nMostLoaded, Courier::MOST_LOADED);
}

TEST(Courier, KeepsLargeReportsWithinItsLimits)
{
    VirtualHost host;
    host.latency = 10s;
    for (int nReport = 0; nReport < 100; ++nReport) {
        host.Send(std::string(200'000, 'x'));
    }
    EXPECT_EQ(host.vecSent.size(), Courier::MOST_LOADED_BYTES / 200'100);
    EXPECT_TRUE(host.RunUntilDrained(10min));
    EXPECT_LE(host.nMostLoadedBytes, Courier::MOST_LOADED_BYTES);
    std::string strLarge;
    strLarge.assign(9'000'000, 'x');
    host.Send(strLarge);
    EXPECT_TRUE(host.RunUntilDrained(10min)) << "one that is larger than the limit goes alone";
}

} // namespace
