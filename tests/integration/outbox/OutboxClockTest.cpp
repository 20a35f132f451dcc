// Somebody sets the wall clock ten years on, and then ten years back, while reports wait.
// KTS_OUTBOX_CLOCK_SECONDS sets for how long each of the times lasts.

#include "CountingServer.h"
#include "LongRun.h"
#include "TortureTest.h"

#include <gmock/gmock.h>

using namespace std::chrono_literals;

namespace
{

constexpr std::int64_t TEN_YEARS_S = 10LL * 365 * 24 * 3'600;
constexpr std::uint64_t REPORTS = 20;

class OutboxClock : public TortureTest
{
protected:
    /// Moves the host's clock and lets it run.
    HostStatus Shift(std::int64_t nSeconds)
    {
        m_host.Ask("shift " + std::to_string(nSeconds));
        std::this_thread::sleep_for(
            std::chrono::seconds(NumberFromEnvironment("KTS_OUTBOX_CLOCK_SECONDS", 1)));
        return HostStatus(m_host);
    }

    CountingServer m_server;
    RunningProcess m_host{{KTS_SHIFTED_HOST, Folder().string(), m_server.Url(), "m"}};
};

} // namespace

TEST_F(OutboxClock, ThatIsSetTenYearsOnAndBackExpiresNothingAndBeginsNoStorm)
{
    m_server.SetAway(true);
    ASSERT_TRUE(Send(m_host, REPORTS));
    EXPECT_TRUE(WaitUntil([&] { return HostStatus(m_host).nAnswered == REPORTS; }));
    const std::uint64_t nFirst = m_server.Requests();
    const auto tpBegin = std::chrono::steady_clock::now();
    EXPECT_LT(HostStatus(m_host).nOldestMs, 600'000);

    const HostStatus on = Shift(TEN_YEARS_S);
    EXPECT_GE(on.nOldestMs, TEN_YEARS_S * 1'000) << "the clock is not shifted at all";
    ASSERT_TRUE(Send(m_host, REPORTS));
    const HostStatus back = Shift(-2 * TEN_YEARS_S);
    EXPECT_EQ(back.nOldestMs, 0) << "no age is below 0";
    ASSERT_TRUE(Send(m_host, REPORTS));
    const HostStatus right = Shift(TEN_YEARS_S);
    EXPECT_LT(right.nOldestMs, TEN_YEARS_S * 1'000 / 2);
    EXPECT_GE(right.nOldestMs, 0);
    for (const HostStatus& status : {on, back, right}) {
        EXPECT_EQ(status.nDead, 0U);
    }
    EXPECT_EQ(right.nWaiting, 3 * REPORTS);
    const std::uint64_t nTries = m_server.Requests() - nFirst;
    const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - tpBegin;
    // The first waits are short and random; more than a few in a second would be a storm.
    EXPECT_LE(static_cast<double>(nTries), 20 + 10 * duration.count());

    m_server.SetAway(false);
    EXPECT_TRUE(WaitUntil([&] { return m_server.Ledger().Reports() == 3 * REPORTS; }, 6min));
    EXPECT_EQ(m_server.Ledger().Missing("m", 3 * REPORTS), 0U);
    EXPECT_EQ(m_server.Ledger().Twice() + m_server.Ledger().Mixed(), 0U);
    NoteFigure("clock ten years on and back",
               std::to_string(3 * REPORTS) + " reports, " + std::to_string(m_server.Ledger().Reports()) +
                   " arrived, " + std::to_string(nTries) + " tries in " +
                   std::to_string(static_cast<int>(duration.count())) + " s without a server");
}
