// A host makes records of its own, to compare with or to fill.

#include <ktshttpagent/KtsMetrics.h>

#include <gmock/gmock.h>

using std::chrono::system_clock;
using testing::Each;
using testing::IsEmpty;

TEST(FigureDefaults, OfARequest)
{
    const SKtsRequestMetrics request;
    EXPECT_EQ(request.nType, 0);
    EXPECT_FALSE(request.bBlocking);
    EXPECT_EQ(request.nSent, 0U);
    EXPECT_EQ(request.nSucceeded, 0U);
    EXPECT_EQ(request.nRefused, 0U);
    EXPECT_THAT(request.arFailed, Each(0U));
    EXPECT_THAT(request.arDurations, Each(0U));
    EXPECT_EQ(request.durations.count(), 0);
    EXPECT_EQ(request.nStored, 0U);
}

TEST(FigureDefaults, OfASnapshot)
{
    const SKtsMetrics all;
    EXPECT_THAT(all.vecRequests, IsEmpty());
    EXPECT_EQ(all.nOutstanding, 0U);
    EXPECT_EQ(all.nQueued, 0U);
    EXPECT_EQ(all.tpLastSuccess, system_clock::time_point());
    EXPECT_EQ(all.tpLastFailure, system_clock::time_point());
    EXPECT_EQ(all.nLastFailureType, 0);
    EXPECT_EQ(all.strLastFailure, "");
}
