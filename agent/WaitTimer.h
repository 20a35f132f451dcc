#pragma once

#include <QElapsedTimer>
#include <QTimer>

class QEventLoop;

/// Quits an event loop once a time has passed by the monotonic clock, and never before. A negative time is
/// refused by Qt's timer and so never passes; a time of 0 passes as soon as the loop handles events.
class WaitTimer
{
public:
    WaitTimer(QEventLoop& loop, int nTimeoutMs);

    /// Whether it has quit the loop.
    bool HasExpired() const { return m_bExpired; }
    /// The time since it was made.
    qint64 Milliseconds() const { return m_clock.elapsed(); }

protected:
    void Expire(QEventLoop& loop);

    QTimer m_timer;

private:
    const int m_nTimeoutMs;
    QElapsedTimer m_clock;
    bool m_bExpired = false;
};
