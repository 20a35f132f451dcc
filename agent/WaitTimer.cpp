#include "WaitTimer.h"

#include <QEventLoop>

WaitTimer::WaitTimer(QEventLoop& loop, int nTimeoutMs) : m_nTimeoutMs(nTimeoutMs)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer); // the coarse one fires up to 5 % early
    QObject::connect(&m_timer, &QTimer::timeout, &loop, [this, &loop] { Expire(loop); });
    m_clock.start();
    m_timer.start(nTimeoutMs);
}

// On systems whose timers count in ticks, even a precise timer may fire up to a millisecond early.
void WaitTimer::Expire(QEventLoop& loop)
{
    constexpr qint64 NANOSECONDS = 1'000'000; // in a millisecond
    const qint64 nLeft = m_nTimeoutMs * NANOSECONDS - m_clock.nsecsElapsed();
    if (nLeft > 0) {
        m_timer.start(static_cast<int>((nLeft + NANOSECONDS - 1) / NANOSECONDS));
        return;
    }
    m_bExpired = true;
    loop.quit();
}
