// The process may end at any time while the agent is busy, blocking senders included. A few ends of each
// kind;
// ./dev ends tries thousands.

#include "HostProcess.h"
#include "LogFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>

namespace
{

constexpr int ENDS_OF_EACH = 10;

const std::string KINDS[] = {
    "exit-on-the-delivering-thread",
    "exit-in-a-queued-receiver",
    "exit-on-another-thread",
    "exit-on-another-thread-while-answers-come",
    "exit-on-another-thread-as-the-first-call-begins",
    "exit-on-another-thread-during-nested-calls",
    "exit-on-another-thread-during-a-loop-of-the-host",
    "exit-on-another-thread-during-the-pause",
    "exit-on-another-thread-after-a-time-out",
    "exit-in-a-timer-slot",
    "exit-in-a-timer-slot-during-nested-calls",
    "exit-in-main-while-a-worker-waits",
    "return-from-main-while-a-worker-waits",
    "exit-in-main-that-waits-for-an-idle-worker",
    "exit-on-another-thread-during-a-handshake",
    "exit-on-another-thread-during-a-slot-of-the-host",
    "quick-exit-on-another-thread",
    "immediate-exit-on-another-thread",
};

class Exit : public ::testing::TestWithParam<std::string>
{
protected:
    Exit()
    {
        ::setenv("KTSHTTPAGENT_SETTINGS_ROOT", "/nonexistent", 1);
        ::setenv("MALLOC_PERTURB_", "165", 1); // so that whoever reads what is freed notices
    }

    const LogFolder m_log;
};

TEST_P(Exit, IsClean)
{
    for (int nSeed = 1; nSeed <= ENDS_OF_EACH; ++nSeed) {
        const Departure departure = Watch(KTS_EXITING_HOST, {GetParam(), std::to_string(nSeed)});
        EXPECT_TRUE(departure.bInTime) << nSeed;
        EXPECT_EQ(departure.nStatus, 0) << nSeed;
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, Exit, ::testing::ValuesIn(KINDS), [](const auto& kind) {
    std::string strName = kind.param;
    std::replace(strName.begin(), strName.end(), '-', '_');
    return strName;
});

TEST_F(Exit, IsTriedInEveryWayThatTheHostKnows)
{
    EXPECT_THAT(Watch(KTS_EXITING_HOST, {"kinds"}).vecLines, ::testing::ElementsAreArray(KINDS));
}

} // namespace
