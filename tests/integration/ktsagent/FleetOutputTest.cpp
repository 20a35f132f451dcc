// What a fleet counts and prints.

#include "FleetOutput.h"
#include "FleetTally.h"

#include <gmock/gmock.h>

using namespace std::chrono_literals;

TEST(FleetsOutput, NamesEachCauseOfFailures)
{
    FleetResult result;
    result.mapFailed = {{"timed_out", 3}, {"tls_failed", 1}};
    EXPECT_THAT(TableOf(result), testing::HasSubstr("  3 timed_out, 1 tls_failed\n"));
}

TEST(FleetsTally, CountsAsLateWhatIsSentLaterThanTheLimit)
{
    FleetTally tally;
    tally.NoteSent(0ms);
    tally.NoteSent(FleetTally::LATE);
    tally.NoteSent(FleetTally::LATE + 1ms);
    EXPECT_EQ(tally.Figures().nSent, 3);
    EXPECT_EQ(tally.Figures().nLate, 1);
}
