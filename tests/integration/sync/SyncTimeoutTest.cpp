// How long a blocking sender waits for a silent server.

#include "SyncInterface.h"

#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

namespace
{

class SyncTimeout : public SyncInterface
{
protected:
    /// @return how many nanoseconds a call took whose server never answers
    qint64 TimeOut(int nTimeout)
    {
        QElapsedTimer clock;
        clock.start();
        EXPECT_FALSE(Check(m_silent, nTimeout));
        return clock.nsecsElapsed();
    }

    ScriptedServer m_silent{Silent()};
};

// A wait is never shorter than its time-out, whatever the granularity of the timer. A coarse timer rounds
// these values in different ways, and the waits start at different points within a millisecond.
TEST_F(SyncTimeout, NeverEndsTheWaitEarly)
{
    constexpr qint64 NANOSECONDS = 1'000'000;
    constexpr qint64 FAR_TOO_LONG_MS = 20'000;
    ASSERT_TRUE(QElapsedTimer::isMonotonic());
    for (const int nTimeout : {1, 2, 3, 7, 19, 20, 21, 49, 50, 51, 97, 99, 149, 203, 251, 303, 401}) {
        const qint64 nTook = TimeOut(nTimeout);
        EXPECT_GE(nTook, nTimeout * NANOSECONDS) << "of " << nTimeout << " ms";
        EXPECT_LT(nTook, (nTimeout + FAR_TOO_LONG_MS) * NANOSECONDS) << "of " << nTimeout << " ms";
    }
}

TEST_F(SyncTimeout, OfZeroReturnsWithoutWaitingAndTheRequestIsSentAllTheSame)
{
    EXPECT_LT(TimeOut(0), qint64{ENOUGH_MS} * 1'000'000);
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_silent.Requests().size() == 1; }, ENOUGH_MS))
        << "the request should be sent when the host handles events";
}

TEST_F(SyncTimeout, ThatIsNegativeLeavesTheEndToTheReply)
{
    const std::string strYes = R"({"success":true,"result":{"allowBoot":"yes","reason":"at last"}})";
    const ScriptedServer server(
        ServerStep{HttpReply(200, strYes), ServerStep::Ending::KeepAlive, std::chrono::milliseconds(300)});
    EXPECT_TRUE(Check(server, -1));
    EXPECT_EQ(m_strReason, "at last");
}

} // namespace
