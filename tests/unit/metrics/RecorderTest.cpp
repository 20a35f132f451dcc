#include "platform/metrics/Recorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <numeric>
#include <thread>
#include <vector>

namespace
{

using namespace std::chrono_literals;
using metrics::Kind;
using std::chrono::system_clock;
using testing::IsEmpty;

constexpr Kind QUERY{3103, false};
constexpr Kind BLOCKING_QUERY{3109, true};

const SKtsRequestMetrics& Only(const SKtsMetrics& all)
{
    EXPECT_EQ(all.vecRequests.size(), 1U);
    return all.vecRequests.front();
}

TEST(Metrics, AreEmptyBeforeTheFirstRequest)
{
    const SKtsMetrics all = KtsMetrics();
    EXPECT_THAT(all.vecRequests, IsEmpty());
    EXPECT_EQ(all.nOutstanding, 0U);
    EXPECT_EQ(all.nQueued, 0U);
    EXPECT_EQ(all.tpLastSuccess, system_clock::time_point());
    EXPECT_EQ(all.tpLastFailure, system_clock::time_point());
    EXPECT_EQ(all.nLastFailureType, 0);
    EXPECT_EQ(all.strLastFailure, "");
}

TEST(Metrics, CountARequestAsOutstandingUntilItEnds)
{
    metrics::NoteSent(QUERY);
    metrics::NoteSent(QUERY);
    EXPECT_EQ(KtsMetrics().nOutstanding, 2U);
    metrics::NoteSuccess(QUERY, 1ms);
    EXPECT_EQ(KtsMetrics().nOutstanding, 1U);
    metrics::NoteFailure(QUERY, EKtsFailure::TimedOut, 1ms, "late");
    EXPECT_EQ(KtsMetrics().nOutstanding, 0U);
    metrics::NoteSent(QUERY);
    EXPECT_EQ(KtsMetrics().nOutstanding, 1U);
    metrics::NoteRefusal(QUERY, 1ms, "no");
    EXPECT_EQ(KtsMetrics().nOutstanding, 0U);
}

TEST(Metrics, CountEachEndByItself)
{
    for (int nRequest = 0; nRequest < 6; ++nRequest) {
        metrics::NoteSent(QUERY);
    }
    metrics::NoteSuccess(QUERY, 1ms);
    metrics::NoteRefusal(QUERY, 1ms, "no");
    metrics::NoteRefusal(QUERY, 1ms, "no");
    metrics::NoteFailure(QUERY, EKtsFailure::Other, 1ms, "why");
    metrics::NoteFailure(QUERY, EKtsFailure::NotSent, 1ms, "why");
    metrics::NoteFailure(QUERY, EKtsFailure::Other, 1ms, "why");
    const SKtsMetrics all = KtsMetrics();
    const SKtsRequestMetrics& request = Only(all);
    EXPECT_EQ(request.nType, 3103);
    EXPECT_FALSE(request.bBlocking);
    EXPECT_EQ(request.nSent, 6U);
    EXPECT_EQ(request.nSucceeded, 1U);
    EXPECT_EQ(request.nRefused, 2U);
    EXPECT_THAT(request.arFailed, testing::ElementsAre(1, 0, 0, 0, 0, 0, 0, 0, 0, 2));
}

TEST(Metrics, CountAStoredReportAsEndedAndNotAsAFailure)
{
    metrics::NoteSent(QUERY);
    metrics::NoteStored(QUERY, 1ms);
    const SKtsMetrics all = KtsMetrics();
    EXPECT_EQ(Only(all).nStored, 1U);
    EXPECT_EQ(Only(all).arDurations.at(0), 1U);
    EXPECT_EQ(all.nOutstanding, 0U);
    EXPECT_EQ(all.tpLastFailure, system_clock::time_point());
}

TEST(Metrics, KeepTypesAndInterfacesApart)
{
    metrics::NoteSent(BLOCKING_QUERY);
    metrics::NoteSent({3109, false});
    metrics::NoteSent({3109, false});
    metrics::NoteSent({3115, true});
    metrics::NoteSent({3100, false});
    std::vector<std::uint64_t> vecSent;
    std::vector<int> vecTypes;
    std::vector<bool> vecBlocking;
    for (const SKtsRequestMetrics& request : KtsMetrics().vecRequests) {
        vecSent.push_back(request.nSent);
        vecTypes.push_back(request.nType);
        vecBlocking.push_back(request.bBlocking);
    }
    EXPECT_THAT(vecTypes, testing::ElementsAre(3100, 3109, 3109, 3115));
    EXPECT_THAT(vecBlocking, testing::ElementsAre(false, false, true, true));
    EXPECT_THAT(vecSent, testing::ElementsAre(1, 2, 1, 1));
}

TEST(Metrics, LeaveOutTypesThatAreNotOurs)
{
    for (const int nType : {3099, 3116, 0, -1}) {
        metrics::NoteSent({nType, false});
        metrics::NoteSuccess({nType, false}, 1ms);
        metrics::NoteStored({nType, false}, 1ms);
        metrics::NoteRefusal({nType, false}, 1ms, "no");
        metrics::NoteFailure({nType, false}, EKtsFailure::Other, 1ms, "why");
    }
    const SKtsMetrics all = KtsMetrics();
    EXPECT_THAT(all.vecRequests, IsEmpty());
    EXPECT_EQ(all.strLastFailure, "");
}

struct Length {
    std::chrono::microseconds length;
    std::size_t nClass;
};

class MetricsDuration : public testing::TestWithParam<Length>
{
};

TEST_P(MetricsDuration, IsCountedInTheClassWhoseBoundItDoesNotExceed)
{
    metrics::NoteSent(QUERY);
    metrics::NoteSuccess(QUERY, GetParam().length);
    const SKtsMetrics all = KtsMetrics();
    const SKtsRequestMetrics& request = Only(all);
    EXPECT_EQ(request.arDurations.at(GetParam().nClass), 1U);
    EXPECT_EQ(std::accumulate(request.arDurations.begin(), request.arDurations.end(), std::uint64_t{0}), 1U);
    EXPECT_EQ(request.durations, GetParam().length);
}

INSTANTIATE_TEST_SUITE_P(Each, MetricsDuration,
                         testing::Values(Length{0us, 0}, Length{1'000us, 0}, Length{1'001us, 1},
                                         Length{2'000us, 1}, Length{60s, 14}, Length{60'000'001us, 15},
                                         Length{24h, 15}));

TEST(Metrics, LeaveOutADurationThatIsNotKnown)
{
    metrics::NoteSent(QUERY);
    metrics::NoteSuccess(QUERY, -1us);
    const SKtsMetrics all = KtsMetrics();
    EXPECT_EQ(Only(all).nSucceeded, 1U);
    EXPECT_THAT(Only(all).arDurations, testing::Each(0U));
    EXPECT_EQ(Only(all).durations, 0us);
}

TEST(Metrics, AskHowManyAreQueued)
{
    metrics::SetQueueSource([] { return 7ULL; });
    EXPECT_EQ(KtsMetrics().nQueued, 7U);
    metrics::SetQueueSource(nullptr);
    EXPECT_EQ(KtsMetrics().nQueued, 0U);
}

TEST(Metrics, TellTheLastFailureAndTheLastSuccess)
{
    const auto tpBefore = system_clock::now();
    metrics::NoteSent(QUERY);
    metrics::NoteSuccess(QUERY, 1ms);
    metrics::NoteSent(QUERY);
    metrics::NoteFailure(QUERY, EKtsFailure::TimedOut, 1ms, "late");
    metrics::NoteSent(BLOCKING_QUERY);
    metrics::NoteRefusal(BLOCKING_QUERY, 1ms, "the server said no");
    const SKtsMetrics all = KtsMetrics();
    EXPECT_EQ(all.strLastFailure, "the server said no");
    EXPECT_EQ(all.nLastFailureType, 3109);
    EXPECT_GE(all.tpLastSuccess, tpBefore);
    EXPECT_GE(all.tpLastFailure, all.tpLastSuccess);
    EXPECT_LE(all.tpLastFailure, system_clock::now());
}

TEST(Metrics, LoseNothingThatThreadsCountAtTheSameTime)
{
    constexpr int THREADS = 4;
    constexpr std::uint64_t REQUESTS = 2'000;
    std::vector<std::thread> vecThreads;
    for (int nThread = 0; nThread < THREADS; ++nThread) {
        vecThreads.emplace_back([nThread] {
            for (std::uint64_t nRequest = 0; nRequest < REQUESTS; ++nRequest) {
                metrics::NoteSent(QUERY);
                if (nThread == 0) {
                    metrics::NoteFailure(QUERY, EKtsFailure::TimedOut, 1ms, "late");
                } else {
                    metrics::NoteSuccess(QUERY, 1ms);
                }
                if (nThread == 1) {
                    EXPECT_LE(KtsMetrics().nOutstanding, std::uint64_t{THREADS});
                }
            }
        });
    }
    for (std::thread& thread : vecThreads) {
        thread.join();
    }
    const SKtsMetrics all = KtsMetrics();
    EXPECT_EQ(Only(all).nSent, THREADS * REQUESTS);
    EXPECT_EQ(Only(all).nSucceeded, (THREADS - 1) * REQUESTS);
    EXPECT_EQ(Only(all).arFailed.at(static_cast<std::size_t>(EKtsFailure::TimedOut)), REQUESTS);
    EXPECT_EQ(all.nOutstanding, 0U);
}

} // namespace
