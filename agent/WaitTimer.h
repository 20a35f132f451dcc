#pragma once

#include <QElapsedTimer>
#include <QTimer>

class QEventLoop;

/// Quits an event loop once a time has passed on the monotonic clock, never earlier. Qt's timer refuses a
/// negative time, which therefore never passes; a time of 0 passes as soon as the loop handles events.
class WaitTimer
{
public:
    WaitTimer(QEventLoop& loop, int nTimeoutMs);

    /// Whether the time has passed, so that the loop was told to quit.
    bool HasExpired() const { return m_bExpired; }
    /// The time since the timer was made.
    qint64 Milliseconds() const { return m_clock.elapsed(); }

protected:
    void Expire(QEventLoop& loop);

    QTimer m_timer;

private:
    const int m_nTimeoutMs;
    QElapsedTimer m_clock;
    bool m_bExpired = false;
};
