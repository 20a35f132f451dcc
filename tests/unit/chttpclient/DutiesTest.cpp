// Who leads, who delivers and who is woken, in every order in which two workers, two senders and a stop can
// take their steps.

#include "DutiesModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <ostream>
#include <string>

using testing::HasSubstr;
using Lost = Scenario::Lost;

namespace
{

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int SENT = 1; // by each sender; the sanitizers make the search ten times slower
#else
constexpr int SENT = 2;
#endif

struct NamedScenario {
    const char* szName;
    Scenario scenario;
    const char* szFault = ""; ///< what a lost wake-up leads to
};

void PrintTo(const NamedScenario& named, std::ostream* pStream)
{
    *pStream << named.szName;
}

class DutiesInEveryOrder : public testing::TestWithParam<NamedScenario>
{
};

TEST_P(DutiesInEveryOrder, LoseNothingAndDeliverOneAtATimeInTheOrderOfTheEnds)
{
    const ModelResult result = CheckEveryOrder(GetParam().scenario);
    EXPECT_EQ(result.strFault, "");
    RecordProperty("states", std::to_string(result.nStates));
    std::cout << result.nStates << " states\n";
}

INSTANTIATE_TEST_SUITE_P(
    Scenarios, DutiesInEveryOrder,
    testing::Values(NamedScenario{"EachIsAnswered", {}}, NamedScenario{"OneIsNeverAnswered", {2, {0}}},
                    NamedScenario{"AReceiverBlocks", {2, {}, {0}}},
                    NamedScenario{"AReceiverBlocksAndOneIsNeverAnswered", {2, {3}, {0}}},
                    NamedScenario{"ReceiversSend", {1, {}, {}, {0, 1}}},
                    NamedScenario{"AReceiverSendsAndBlocks", {1, {}, {0}, {0}}},
                    NamedScenario{"IdleConnectionsAreClosed", {2, {0}, {}, {}, false, true}},
                    NamedScenario{"AStop", {SENT, {}, {}, {}, true}},
                    NamedScenario{"AStopWhileOneIsNeverAnswered", {SENT, {0}, {}, {}, true}},
                    NamedScenario{"AStopWhileAReceiverBlocks", {SENT, {}, {0}, {}, true}},
                    NamedScenario{"AStopWhileReceiversSend", {1, {}, {}, {0, 1}, true, true}}),
    testing::PrintToStringParamName());

class DutiesWithALostWakeUp : public testing::TestWithParam<NamedScenario>
{
};

TEST_P(DutiesWithALostWakeUp, AreSeenToFail)
{
    EXPECT_THAT(CheckEveryOrder(GetParam().scenario).strFault, HasSubstr(GetParam().szFault));
}

INSTANTIATE_TEST_SUITE_P(
    Faults, DutiesWithALostWakeUp,
    testing::Values(
        NamedScenario{
            "OfSleeperBySender", {2, {}, {}, {}, false, false, Lost::OfSleeperBySender}, "not begun"},
        NamedScenario{
            "OfLeaderBySender", {2, {0}, {}, {}, false, false, Lost::OfLeaderBySender}, "not begun"},
        NamedScenario{
            "OfSleeperByLeader", {2, {0}, {}, {}, false, false, Lost::OfSleeperByLeader}, "not delivered"},
        NamedScenario{"OfLeaderByStop", {2, {0}, {}, {}, true, false, Lost::OfLeaderByStop}, "does not end"}),
    testing::PrintToStringParamName());

} // namespace
