// When a report is not tried again.

#include "RecordingLog.h"
#include "VirtualHost.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace
{

using namespace outbox;
using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::SizeIs;

TEST(Courier, BuriesPoisonAfterThreeTries)
{
    VirtualHost host;
    host.server = [](const Report&) { return Status(422); };
    host.Send("a");
    ASSERT_TRUE(host.RunUntilDrained(10s));
    EXPECT_EQ(host.vecSent.size(), 3U);
    EXPECT_THAT(host.disk.vecWhy, ElementsAre("the server can't read the report: status 422 (422)"));
    EXPECT_EQ(host.disk.mapEnding.begin()->second, Ending::Dead);
}

TEST(Courier, BuriesWhatTheServerSaysNoToAfterFiveTries)
{
    VirtualHost host;
    host.server = [](const Report&) { return ServerReply{0, R"({"success":false})", {}, true}; };
    host.Send("a");
    ASSERT_TRUE(host.RunUntilDrained(10min));
    EXPECT_EQ(host.vecSent.size(), 5U);
    EXPECT_GT(host.Now() - host.vecSent[0].tpAt, 1min);
    EXPECT_EQ(host.disk.mapEnding.begin()->second, Ending::Dead);
}

TEST(Courier, BuriesAnInvalidRequestAtOnce)
{
    VirtualHost host;
    host.server = [](const Report&) { return ServerReply{-3, "", {}, false}; };
    host.Send("a");
    ASSERT_TRUE(host.RunUntilDrained(1s));
    EXPECT_EQ(host.vecSent.size(), 1U);
    EXPECT_EQ(host.disk.mapEnding.begin()->second, Ending::Dead);
}

TEST(Courier, LogsADeadLetterAndAnAlarmWithTheirReasons)
{
    ClearRecordedLog();
    VirtualHost host;
    host.server = [](const Report&) { return Status(422); };
    host.Send("a");
    ASSERT_TRUE(host.RunUntilDrained(1min));
    ASSERT_THAT(RecordedLog(2), SizeIs(1));
    EXPECT_EQ(RecordedLog(2)[0].strText,
              "a report lies among the dead letters now: type 3102, the server can't "
              "read the report: status 422");
    ClearRecordedLog();
    host.server = [](const Report&) { return Status(401); };
    host.Send("b");
    host.Run(1s);
    ASSERT_THAT(RecordedLog(), SizeIs(1));
    EXPECT_EQ(RecordedLog()[0].strText,
              "reports are not accepted, they wait until they are: type 3102, the "
              "address does not take reports, or does not let this host in: status 401");
}

TEST(Courier, TriesAgainWhatCouldNotBeBuried)
{
    VirtualHost host;
    host.disk.bBuries = false;
    host.server = [](const Report&) { return Status(400); };
    host.Send("a");
    host.Run(2s);
    EXPECT_EQ(host.disk.mapWaiting.size(), 1U);
    EXPECT_LT(host.vecSent.size(), 10U);
    host.disk.bBuries = true;
    EXPECT_TRUE(host.RunUntilDrained(10min));
    EXPECT_EQ(host.disk.vecWhy.size(), 1U);
}

TEST(Courier, DelaysOthersByLessThanASecondWithOnePoisonInAThousand)
{
    VirtualHost host;
    host.server = [](const Report& report) {
        return report.strBody.rfind("poison", 0) == 0 ? Status(422) : ServerReply();
    };
    std::map<std::string, TimePoint> mapSent;
    std::map<std::string, TimePoint> mapArrived;
    const auto fnServer = host.server;
    host.server = [&](const Report& report) {
        mapArrived[report.strBody] = host.Now();
        return fnServer(report);
    };
    for (int nReport = 0; nReport < 4'000; ++nReport) {
        const std::string strBody = (nReport % 1'000 == 500 ? "poison" : "good") + std::to_string(nReport);
        mapSent[strBody] = host.Now();
        host.Send(strBody, "stream " + std::to_string(nReport % 4));
        host.Run(100ms);
    }
    ASSERT_TRUE(host.RunUntilDrained(1min));
    for (const auto& [strBody, tpSent] : mapSent) {
        if (strBody.rfind("good", 0) == 0) {
            EXPECT_LT(mapArrived.at(strBody) - tpSent, 1s) << strBody;
        }
    }
    EXPECT_EQ(host.disk.vecWhy.size(), 4U);
}

TEST(Courier, ForgetsAReportThatAnOperatorDropped)
{
    VirtualHost host;
    host.server = [](const Report&) { return Status(503); };
    host.Send("a");
    host.Run(1min);
    host.disk.mapWaiting.clear();
    host.Run(10min);
    host.vecSent.clear();
    host.Run(10h);
    EXPECT_TRUE(host.vecSent.empty());
}

TEST(Courier, ParksWhatTheServerMayHaveSeenIfItIsToldSo)
{
    OutboxSettings settings;
    settings.bRepeatSeen = false;
    VirtualHost host(settings);
    host.server = [](const Report& report) {
        if (report.strBody == "lost") {
            return ServerReply{-52, "", {}, true};
        }
        return report.strBody == "unsent" ? ServerReply{-7, "", {}, false} : Status(503);
    };
    host.Send("lost");
    host.Run(10s);
    EXPECT_EQ(host.vecSent.size(), 1U);
    ASSERT_EQ(host.disk.mapEnding.size(), 1U);
    EXPECT_EQ(host.disk.mapEnding.begin()->second, Ending::Parked);
    ASSERT_EQ(host.vecTold.size(), 1U);
    EXPECT_EQ(host.vecTold[0].eEnding, EKtsReportEnding::Parked);
    host.Send("unsent");
    host.Send("refused");
    host.Run(10min);
    EXPECT_EQ(host.disk.mapWaiting.size(), 2U);
    EXPECT_GT(host.vecSent.size(), 4U);
}

} // namespace
