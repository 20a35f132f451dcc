#pragma once

#include "WaitTimer.h"

#include <ktshttpagent/BlockingOutcome.h>

class NAManager;
class QObject;
struct SyncWait;

/// Watches the wait of one blocking call, from before its request is made: decides which replies count during
/// the wait, and tells afterwards how the wait ended.
class WaitWatch
{
public:
    /// Starts the time-out.
    /// @param bStrict  only the reply to this very call counts, and only until its wait ends; the wait record
    ///                 is cleared, unless another call is waiting
    WaitWatch(SyncWait& wait, int nTimeoutMs, bool bStrict);
    ~WaitWatch();
    WaitWatch(const WaitWatch&) = delete;
    WaitWatch& operator=(const WaitWatch&) = delete;

    /// Whether the call is strict and another call is waiting, so that this call has no result.
    bool IsStrictAndBusy() const { return m_bStrict && m_bBusy; }

    /// Records the reply to the manager's request as the reply to this call, however late it comes. A reply
    /// that does not count any more does not reach the receiver.
    /// @param receiver  receives the manager's signal; outlives the wait record
    void Follow(NAManager& manager, const QObject& receiver) const;

    /// How the wait ended; the caller adds type and URL.
    SBlockingOutcome Outcome() const;

private:
    void TellEnd(SBlockingOutcome& outcome) const;
    void TellReply(SBlockingOutcome& outcome) const;
    void TellTimeout(SBlockingOutcome& outcome) const;

    SyncWait& m_wait;
    const bool m_bStrict;
    const bool m_bBusy; ///< another call of the kind was waiting
    const quint64 m_nCall;
    const quint64 m_nRepliesBefore;
    const int m_nTimeoutMs;
    const WaitTimer m_timer;
};
