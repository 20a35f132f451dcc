#pragma once

#include "BlockingOutcome.h"
#include "WaitTimer.h"

class NAManager;
struct SyncWait;

/// Watches the wait of one blocking call, from before its request is made, to say afterwards how it ended.
class CWaitWatch
{
public:
    /// Begins the time-out.
    CWaitWatch(SyncWait& wait, int nTimeoutMs);
    ~CWaitWatch();
    CWaitWatch(const CWaitWatch&) = delete;
    CWaitWatch& operator=(const CWaitWatch&) = delete;

    /// Notes the reply to the manager's request, however late it comes, as the one to this call.
    void Follow(NAManager& manager) const;

    /// How the wait ended; type and URL are left to the caller.
    SBlockingOutcome Outcome() const;

private:
    void TellEnd(SBlockingOutcome& outcome) const;
    void TellReply(SBlockingOutcome& outcome) const;
    void TellTimeout(SBlockingOutcome& outcome) const;

    SyncWait& m_wait;
    const bool m_bBusy; ///< another call was waiting
    const quint64 m_nCall;
    const quint64 m_nRepliesBefore;
    const int m_nTimeoutMs;
    const CWaitTimer m_timer;
};
