#pragma once

#include "HttpExchange.h"

#include <chrono>

namespace chttpclient
{

/// What there is to do, and which duty is taken. There are two duties, and at most one thread has each of
/// them:
/// - *leading*: the thread owns the `Transfers`. It takes what came in, and waits for the network.
/// - *delivering*: the thread calls the receiver, for one exchange after the other, in the order in which
/// they ended.
///
/// A leading thread that has nothing left in flight gives the duty up and delivers what ended last by itself.
/// While others are in flight it keeps leading, and another thread delivers: a receiver that blocks stalls no
/// exchange.
///
/// Plain state without threads or locks; `Workers` calls it under its lock, and wakes whom it names.
class Duties
{
public:
    using Clock = std::chrono::steady_clock;

    enum class Duty {
        None, ///< sleep until woken
        Lead,
        Deliver,
        Leave, ///< the thread ends
    };
    enum class Wake {
        Nobody,
        Leader,  ///< it waits for the network
        Sleeper, ///< one of the threads without a duty
    };

    /// From now on requests are accepted.
    void Open();

    /// From now on no request is accepted. Those without an outcome at `tpEnd` are cancelled.
    Wake Drain(Clock::time_point tpEnd);

    /// Whether every request that was accepted before `Drain` has its outcome, and no thread leads.
    bool IsDrained() const { return !m_bLeading && m_lstIncoming.empty(); }

    /// When the leading thread must cancel what is left; `time_point::max()` while requests are accepted.
    Clock::time_point DrainEnd() const { return m_tpDrainEnd; }

    /// Threads without a duty leave from now on, unless there is something to do.
    void Dismiss() { m_bDismissed = true; }
    void Employ() { m_bDismissed = false; }

    /// Takes an exchange that begins, unless requests are not accepted; the list is then unchanged.
    /// @param eWake  whom to wake
    bool Accept(ExchangeList& exchange, Wake& eWake);

    /// Takes an exchange that ended without ever being begun.
    Wake Refuse(ExchangeList& exchange);

    /// The next duty of a thread that has none; it has that duty from now on.
    /// @param bIdleTimeOver  whether idle connections must be closed, which is a leading thread's work
    Duty Next(bool bIdleTimeOver);

    /// For the leading thread: all requests that came in since the last call.
    ExchangeList TakeIncoming();

    /// Ends one round of the leading thread, and its duty if there is nothing left to lead.
    /// @param finished   the exchanges that ended; they are waiting to be delivered from now on
    /// @param bInFlight  whether others have not ended
    Wake EndRound(ExchangeList& finished, bool bInFlight);
    bool IsLed() const { return m_bLeading; }

    /// For the delivering thread: takes the exchange that ended first; there must be one.
    ExchangeList TakeFinished() { return TakeFirst(m_lstFinished); }
    bool HasFinished() const { return !m_lstFinished.empty(); }
    void EndDelivery() { m_bDelivering = false; }

private:
    ExchangeList m_lstIncoming; ///< accepted, not yet taken by the leading thread
    ExchangeList m_lstFinished; ///< to be delivered
    Clock::time_point m_tpDrainEnd = Clock::time_point::max();
    bool m_bOpen = false; ///< requests are accepted
    bool m_bLeading = false;
    bool m_bDelivering = false;
    bool m_bDismissed = false;
};

} // namespace chttpclient
