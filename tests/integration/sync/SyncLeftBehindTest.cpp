// What happens to the requests that blocking calls leave in progress when they time out.

#include "ProcessUse.h"
#include "SyncOutcome.h"

#include <QTest>

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <string>

namespace
{

constexpr std::size_t MOST_LEFT_BEHIND = 100;

/// Sets the time-out of a request, which the objects read when they are created.
class RequestTime
{
protected:
    explicit RequestTime(int nMilliseconds)
    {
        qputenv("CHTTPCLIENT_TIMEOUT_MS", QByteArray::number(nMilliseconds));
    }
};

class ShortTime : protected RequestTime
{
protected:
    ShortTime() : RequestTime(1'000) {} // long enough for a busy machine to connect
};

class SyncLeftBehind : public SyncOutcome
{
protected:
    void TimeOut(const ScriptedServer& server, std::size_t nTimes, int nTimeout = 1)
    {
        for (std::size_t nCall = 0; nCall < nTimes; ++nCall) {
            EXPECT_FALSE(InCommon(server, nTimeout));
            m_nPeakThreads = std::max(m_nPeakThreads, Threads());
            m_nPeakDescriptors = std::max(m_nPeakDescriptors, OpenDescriptors());
        }
    }

    const ScriptedServer m_silent{Silent()};
    std::size_t m_nPeakThreads = 0;
    std::size_t m_nPeakDescriptors = 0;
};

class SyncGivenUp : public ShortTime, public SyncLeftBehind
{
};

TEST_F(SyncGivenUp, RequestsLeaveNeitherThreadsNorDescriptors)
{
    const ScriptedServer good(ServerStep{COMMON, ServerStep::Ending::Close});
    EXPECT_TRUE(InCommon(good)); // creates what stays; the time-outs return this reply
    const ScriptedServer no(ServerStep{HttpReply(200, "{}"), ServerStep::Ending::Close});
    EXPECT_FALSE(InCommon(no));
    QTest::qWait(1);
    const std::size_t nThreads = Threads();
    const std::size_t nDescriptors = OpenDescriptors();
    TimeOut(m_silent, 60);
    const auto fnGone = [&] { return Threads() <= nThreads && OpenDescriptors() <= nDescriptors; };
    EXPECT_TRUE(QTest::qWaitFor(fnGone, ENOUGH_MS));
    std::cout << "threads " << nThreads << ", at most " << m_nPeakThreads << ", then " << Threads()
              << "; descriptors " << nDescriptors << ", at most " << m_nPeakDescriptors << ", then "
              << OpenDescriptors() << '\n';
}

TEST_F(SyncGivenUp, RequestsAreGivenUpInSilence)
{
    const ScriptedServer good([this](const WireRequest&) {
        EXPECT_TRUE(m_silent.WaitForClosed(1)) << "the request was not given up";
        return ServerStep{COMMON, ServerStep::Ending::KeepAlive, std::chrono::milliseconds(50)};
    });
    TimeOut(m_silent, 1);
    EXPECT_TRUE(InCommon(good));
    ExpectEnd(EBlockingEnd::Answered, IN_COMMON, "");
    TimeOut(m_silent, 0);
    EXPECT_TRUE(InCommon(m_silent, 1)) << "should return the last reply's result";
}

TEST_F(SyncGivenUp, OneThatWasWaitedForLongerIsGivenUpWithItsWait)
{
    TimeOut(m_silent, 1, 1'200);
    EXPECT_TRUE(m_silent.WaitForClosed(1)) << "without any event in between";
}

TEST_F(SyncGivenUp, ACallThatWaitsForEverIsAnsweredLongAfterTheTimeOfARequest)
{
    const ScriptedServer slow(
        ServerStep{COMMON, ServerStep::Ending::KeepAlive, std::chrono::milliseconds(1'500)});
    TimeOut(m_silent, 1);
    EXPECT_TRUE(InCommon(slow, -1));
    ExpectEnd(EBlockingEnd::Answered, IN_COMMON, "");
}

TEST_F(SyncLeftBehind, OfMoreThanAHundredTheOldestIsGivenUp)
{
    Gate gate;
    const ScriptedServer first(Silent());
    const ScriptedServer second([&](const WireRequest&) { return gate.Then({COMMON}); });
    const std::size_t nThreads = Threads();
    TimeOut(first, 1, SHORT_MS);
    TimeOut(second, 1, SHORT_MS);
    EXPECT_TRUE(first.WaitForRequests(1));
    EXPECT_TRUE(second.WaitForRequests(1));
    TimeOut(m_silent, MOST_LEFT_BEHIND - 1);
    EXPECT_TRUE(first.WaitForClosed(1));
    EXPECT_LE(m_nPeakThreads, nThreads + 2 * (MOST_LEFT_BEHIND + 1) + 10); // including those of the servers
    std::cout << "threads " << nThreads << ", at most " << m_nPeakThreads << '\n';
    gate.Open();
    const ScriptedServer after([&](const WireRequest&) {
        EXPECT_TRUE(second.WaitForClosed(1)) << "it is closed once its reply was handled";
        return ServerStep{YES};
    });
    EXPECT_TRUE(Check(after));
    EXPECT_TRUE(InCommon(m_silent, 1)) << "the late reply to the second counts";
}

} // namespace
