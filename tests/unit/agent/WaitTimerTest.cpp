#include "WaitTimer.h"

#include <QEventLoop>
#include <QTimer>

#include <gtest/gtest.h>

namespace
{

/// Lets a test act like a system whose timers fire early.
class WaitTimerProbe : public WaitTimer
{
public:
    using WaitTimer::WaitTimer;

    void FireNow(QEventLoop& loop)
    {
        m_timer.stop(); // like a single-shot timer that has fired
        Expire(loop);
    }

    int Interval() const { return m_timer.interval(); }
    bool IsRunning() const { return m_timer.isActive(); }
};

TEST(WaitTimer, ThatFiresEarlyFiresAgainOnceTheTimeHasPassed)
{
    constexpr int TIMEOUT_MS = 200;
    QEventLoop loop;
    WaitTimerProbe timer(loop, TIMEOUT_MS);
    timer.FireNow(loop);
    EXPECT_FALSE(timer.HasExpired());
    QTimer::singleShot(60'000, &loop, &QEventLoop::quit); // in case the timer never fires again
    loop.exec();
    EXPECT_TRUE(timer.HasExpired());
    EXPECT_GE(timer.Milliseconds(), TIMEOUT_MS);
}

TEST(WaitTimer, ThatFiresEarlyIsSetToTheTimeThatIsLeft)
{
    constexpr int TIMEOUT_MS = 3'600'000;
    QEventLoop loop;
    WaitTimerProbe timer(loop, TIMEOUT_MS);
    while (timer.Milliseconds() < 5) { // until there is a measurable difference
    }
    const qint64 nBefore = timer.Milliseconds();
    timer.FireNow(loop);
    EXPECT_TRUE(timer.IsRunning());
    EXPECT_LE(timer.Interval(), TIMEOUT_MS - nBefore);
    EXPECT_GE(timer.Interval(), TIMEOUT_MS - timer.Milliseconds());
}

} // namespace
