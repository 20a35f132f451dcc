// Long outages, in virtual time.

#include "LongRun.h"
#include "VirtualHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <queue>

namespace
{

using namespace outbox;
using namespace std::chrono_literals;

TEST(Outage, OfEightHoursLosesNothingAndCostsLittleMemory)
{
    constexpr int SECONDS = 8 * 3'600;
    constexpr int PER_SECOND = 10;
    VirtualHost host;
    host.bKeepsSent = false;
    bool bDown = true;
    host.server = [&](const Report&) { return bDown ? ServerReply{-7, "", {}, false} : ServerReply(); };
    for (int nSecond = 0; nSecond < SECONDS; ++nSecond) {
        for (int nReport = 0; nReport < PER_SECOND; ++nReport) {
            ASSERT_NE(host.Send("report"), nullptr);
        }
        host.Run(1s);
    }
    EXPECT_EQ(host.disk.mapWaiting.size(), std::size_t{SECONDS} * PER_SECOND);
    bDown = false;
    const TimePoint tpBack = host.Now();
    ASSERT_TRUE(host.RunUntilDrained(4h));
    EXPECT_EQ(host.mapArrived.size(), std::size_t{SECONDS} * PER_SECOND);
    for (const auto& [strKey, nTimes] : host.mapArrived) {
        ASSERT_EQ(nTimes, 1U) << strKey;
    }
    EXPECT_LT(host.Now() - tpBack, 3h + 10min) << "30 a second, after a probe";
    EXPECT_LE(host.nMostLoaded, Courier::MOST_LOADED);
    EXPECT_LE(host.nMostLoadedBytes, Courier::MOST_LOADED_BYTES);
    EXPECT_LT(host.disk.nReads, 3U * SECONDS * PER_SECOND);
}

/// One of many hosts of a server: a courier with a backlog that is only counted.
class SimulatedHost
{
public:
    SimulatedHost(unsigned nSeed, unsigned nPerSecond, std::uint64_t nBacklog)
        : m_random(nSeed), m_courier({nPerSecond, true}, m_random), m_nBacklog(nBacklog)
    {
    }

    /// Does what can be done now.
    /// @return how many requests it has begun
    std::size_t Turn(TimePoint tpNow)
    {
        std::size_t nBegun = 0;
        for (;;) {
            if (auto departure = m_courier.TakeDue(tpNow)) {
                m_vecFlights.push_back(departure->pFlight);
                ++nBegun;
            } else if (const auto after = m_courier.Wants(tpNow)) {
                m_courier.Accept(Next(*after), tpNow);
            } else {
                return nBegun;
            }
        }
    }
    /// Ends all requests.
    void Answer(TimePoint tpNow, bool bDown)
    {
        for (Flight* const pFlight : std::exchange(m_vecFlights, {})) {
            const ReportId id = pFlight->id;
            const Judgement judgement{bDown ? Verdict::TryLater : Verdict::Acknowledged, false};
            const Fate eFate = m_courier.Decide(*pFlight, judgement);
            m_courier.End(*pFlight, judgement, eFate, !bDown, 0ms, tpNow);
            m_setEnded.insert(eFate == Fate::Acknowledged ? id.nSequence : 0);
            while (m_setEnded.count(m_nEndedTo + 1) > 0) {
                m_setEnded.erase(++m_nEndedTo);
            }
        }
    }
    bool IsDrained() const { return m_nEndedTo == m_nBacklog; }
    TimePoint NextTurn(TimePoint tpNow) const { return m_courier.Next(tpNow).value_or(TimePoint::max()); }

private:
    std::optional<Waiting> Next(ReportId after) const
    {
        std::uint64_t nSequence = std::max(after.nSequence, m_nEndedTo) + 1;
        while (m_setEnded.count(nSequence) > 0) {
            ++nSequence;
        }
        return nSequence > m_nBacklog
                   ? std::nullopt
                   : std::make_optional(Waiting{{1, nSequence}, {3102, "http://lab/", "", "", "", "", 0}});
    }

    SeededRandom m_random;
    Courier m_courier;
    const std::uint64_t m_nBacklog;
    std::vector<Flight*> m_vecFlights;
    std::set<std::uint64_t> m_setEnded;
    std::uint64_t m_nEndedTo = 0; ///< all up to here
};

// To keep the test short, each host sends its backlog five times more slowly, and has less of it: what
// matters is how long a host needs for its backlog, compared to the longest wait. KTS_OUTBOX_HOSTS sets how
// many there are.
TEST(Outage, OfAServerOfManyHostsEndsWithoutAStorm)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr std::uint64_t HOSTS = 60; // they do nothing that fewer don't do
#else
    constexpr std::uint64_t HOSTS = 200;
#endif
    const std::uint64_t nHosts = NumberFromEnvironment("KTS_OUTBOX_HOSTS", HOSTS);
    constexpr unsigned PER_SECOND = 6;
    constexpr std::uint64_t BACKLOG = 2'400;
    std::vector<std::unique_ptr<SimulatedHost>> vecHosts;
    std::set<std::pair<TimePoint, std::size_t>> setTurns;
    const TimePoint START{1h};
    const TimePoint tpBack = START + 8h;
    for (std::size_t nHost = 0; nHost < nHosts; ++nHost) {
        vecHosts.push_back(
            std::make_unique<SimulatedHost>(static_cast<unsigned>(nHost + 1), PER_SECOND, BACKLOG));
        setTurns.emplace(START, nHost);
    }
    std::map<std::int64_t, std::size_t> mapPerSecond; ///< what the server gets
    TimePoint tpNow = START;
    while (!setTurns.empty()) {
        const auto [tpTurn, nHost] = *setTurns.begin();
        setTurns.erase(setTurns.begin());
        tpNow = tpTurn;
        SimulatedHost& host = *vecHosts[nHost];
        // A request takes no time here, so the host does everything that can be done at this moment.
        for (std::size_t nBegun = host.Turn(tpNow); nBegun > 0; nBegun = host.Turn(tpNow)) {
            if (tpNow >= tpBack) {
                mapPerSecond[std::chrono::duration_cast<std::chrono::seconds>(tpNow - tpBack).count()] +=
                    nBegun;
            }
            host.Answer(tpNow, tpNow < tpBack);
        }
        if (!host.IsDrained()) {
            ASSERT_NE(host.NextTurn(tpNow), TimePoint::max());
            setTurns.emplace(host.NextTurn(tpNow), nHost);
        }
    }
    EXPECT_TRUE(
        std::all_of(vecHosts.begin(), vecHosts.end(), [](const auto& pHost) { return pHost->IsDrained(); }));
    std::size_t nAll = 0;
    std::size_t nPeak = 0;
    for (const auto& [nSecond, nCount] : mapPerSecond) {
        nAll += nCount;
        nPeak = std::max(nPeak, nCount);
    }
    EXPECT_EQ(nAll, nHosts * BACKLOG);
    const auto nSeconds = static_cast<double>(mapPerSecond.rbegin()->first + 1);
    const double dMean = static_cast<double>(nAll) / nSeconds;
    NoteFigure("common outage", std::to_string(nHosts) + " hosts, peak " +
                                    std::to_string(static_cast<double>(nPeak) / dMean) + " times the mean");
    EXPECT_LE(static_cast<double>(nPeak), 1.5 * dMean) << nPeak << " at most, " << dMean << " on average";
}

} // namespace
