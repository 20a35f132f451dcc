// A short version of what ./dev idle-race runs.

#include "IdleRace.h"
#include "Nginx.h"

#include <gtest/gtest.h>

#include <ostream>

using namespace std::chrono_literals;

void PrintTo(const RaceTrack& track, std::ostream* pOut);
void PrintTo(const RaceTrack& track, std::ostream* pOut)
{
    *pOut << (track.bTls ? "WithTls" : "Plain") << "OverARoundTripOf" << track.roundTrip.count() << "Ms";
}

class IdleRace : public testing::TestWithParam<RaceTrack>
{
};

TEST_P(IdleRace, CostsNoReport)
{
    if (!Nginx::IsInstalled()) {
        GTEST_SKIP() << "nginx is not installed; ./dev setup does it";
    }
    const RaceResult result = RunIdleRace(GetParam(), 1);
    EXPECT_EQ(result.Failures(), 0U) << "of " << result.nSends << " reports: " << result.FailuresInWords();
    EXPECT_EQ(result.nReceived, result.nSends);
    EXPECT_EQ(result.nReceivedTwice, 0U);
}

INSTANTIATE_TEST_SUITE_P(Tracks, IdleRace,
                         testing::Values(RaceTrack{1s, 0ms, false}, RaceTrack{1s, 10ms, false},
                                         RaceTrack{1s, 100ms, false}, RaceTrack{1s, 0ms, true},
                                         RaceTrack{1s, 10ms, true}, RaceTrack{1s, 100ms, true}),
                         testing::PrintToStringParamName());
