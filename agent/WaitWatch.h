#pragma once

#include "WaitTimer.h"

#include <ktshttpagent/BlockingOutcome.h>

class NAManager;
class QObject;
struct SyncWait;

/// Watches the wait of one blocking call, from before its request is made, to say which replies count
/// meanwhile, and afterwards how it ended.
class WaitWatch
{
public:
    /// Begins the time-out.
    /// @param bStrict  only the reply to this very call counts, and only until its wait ends; the record is
    ///                 cleared, unless another call is waiting
    WaitWatch(SyncWait& wait, int nTimeoutMs, bool bStrict);
    ~WaitWatch();
    WaitWatch(const WaitWatch&) = delete;
    WaitWatch& operator=(const WaitWatch&) = delete;

    /// Whether the call is a strict one and another call is waiting, so that nothing may come of it.
    bool IsStrictAndBusy() const { return m_bStrict && m_bBusy; }

    /// Notes the reply to the manager's request as the one to this call, however late it comes. A reply that
    /// doesn't count any more is kept from the receiver.
    /// @param receiver  of the manager's answer; outlives the record
    void Follow(NAManager& manager, const QObject& receiver) const;

    /// How the wait ended; type and URL are left to the caller.
    SBlockingOutcome Outcome() const;

private:
    void TellEnd(SBlockingOutcome& outcome) const;
    void TellReply(SBlockingOutcome& outcome) const;
    void TellTimeout(SBlockingOutcome& outcome) const;

    SyncWait& m_wait;
    const bool m_bStrict;
    const bool m_bBusy; ///< another call was waiting
    const quint64 m_nCall;
    const quint64 m_nRepliesBefore;
    const int m_nTimeoutMs;
    const WaitTimer m_timer;
};
