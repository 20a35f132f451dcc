#include "FleetSchedule.h"
#include "FleetStatus.h"

#include <gtest/gtest.h>

#include <map>
#include <utility>
#include <vector>

namespace
{

std::vector<DueReport> AllOf(const FleetPlan& plan)
{
    FleetSchedule schedule(plan);
    std::vector<DueReport> vecReports;
    while (const auto optReport = schedule.Next()) {
        vecReports.push_back(*optReport);
    }
    EXPECT_EQ(static_cast<std::int64_t>(vecReports.size()), CountReports(plan));
    return vecReports;
}

constexpr FleetPlan PLAN{10, 4, 2.5, 2, 7};

} // namespace

TEST(FleetSchedule, LetsEachChannelReportAtItsRate)
{
    std::map<std::pair<int, int>, std::vector<DueReport>> mapChannels;
    for (const DueReport& report : AllOf(PLAN)) {
        mapChannels[{report.nHost, report.nChannel}].push_back(report);
    }
    EXPECT_EQ(mapChannels.size(), 40U);
    for (const auto& [channel, vecReports] : mapChannels) {
        ASSERT_EQ(vecReports.size(), 5U); // 2 s, 2.5 a second
        for (std::size_t nTurn = 0; nTurn < vecReports.size(); ++nTurn) {
            EXPECT_EQ(vecReports[nTurn].nTurn, static_cast<std::int64_t>(nTurn));
            const auto sinceFirst = (vecReports[nTurn].due - vecReports[0].due).count();
            EXPECT_NEAR(static_cast<double>(sinceFirst), static_cast<double>(nTurn) * 400'000, 1);
        }
        EXPECT_LT(channel.first, 10);
        EXPECT_LT(channel.second, 4);
    }
}

TEST(FleetSchedule, IsInTheOrderOfTimeAndWithinTheSeconds)
{
    std::chrono::microseconds before{0};
    for (const DueReport& report : AllOf(PLAN)) {
        EXPECT_GE(report.due, before);
        EXPECT_LT(report.due, std::chrono::seconds(2));
        before = report.due;
    }
}

TEST(FleetSchedule, SpreadsTheChannelsOverTheInterval)
{
    int nEarly = 0;
    const std::vector<DueReport> vecReports = AllOf({1000, 1, 1, 1, 1});
    for (const DueReport& report : vecReports) {
        nEarly += report.due < std::chrono::milliseconds(500) ? 1 : 0;
    }
    EXPECT_EQ(vecReports.size(), 1000U);
    EXPECT_NEAR(nEarly, 500, 100);
}

TEST(FleetSchedule, IsRepeatedByItsSeedAndOnlyByIt)
{
    const auto fnTicks = [](int nSeed) {
        std::vector<std::string> vecTicks;
        for (const DueReport& report : AllOf({10, 4, 2.5, 2, nSeed})) {
            vecTicks.push_back(TickCount(report) + ' ' + StatusOf(report).dxtm);
        }
        return vecTicks;
    };
    EXPECT_EQ(fnTicks(7), fnTicks(7));
    EXPECT_NE(fnTicks(7), fnTicks(8));
}

TEST(FleetSchedule, MayHaveNoReportAtAll)
{
    EXPECT_EQ(CountReports({1, 1, 1e-6, 1, 1}), 0);
}

TEST(FleetStatus, BringsBackWhenItWasDue)
{
    for (const DueReport& report : AllOf(PLAN)) {
        EXPECT_EQ(DueAt(TickCount(report)), report.due);
    }
}
