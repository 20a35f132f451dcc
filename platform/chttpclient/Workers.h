#pragma once

#include "Duties.h"
#include "HttpExchange.h"
#include "Transfers.h"

#include <ktshttpagent/chttpclient.h>

#include <chrono>
#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

namespace chttpclient
{

/// The transport's two threads. They are equal: each takes the duty, leading or delivering, that is free and
/// has something to do, see `Duties`; without one it sleeps. So an exchange that is alone is begun, received
/// and delivered by one thread.
///
/// All operations may be called from any thread, but `Start`, `Drain`, `Stop` and `End` only from one at a
/// time.
class Workers
{
public:
    using Clock = Duties::Clock;

    void SetReceiver(CHttpClientResponse fnReceiver);
    std::shared_ptr<const CHttpClientResponse> Receiver() const;

    /// Starts the threads that are missing, and accepts requests from now on.
    /// @throws std::system_error when a thread can't be started; those that run stay
    void Start(const TransportSettings& settings);

    /// Whether `Start` has been called, and no `Drain` since.
    bool IsStarted() const;

    /// Sends a request, or refuses it if too many are outstanding or requests are not accepted. A refused one
    /// is delivered too: by a new thread if none runs, which after a `Stop` ends again at once; on the
    /// calling thread if that can't be started, and after `End`.
    void Send(ExchangeList exchange);

    /// Has an exchange delivered that has its reply already, like one that is refused.
    void HandBack(ExchangeList exchange);

    /// Accepts no more requests, and returns once those that were accepted have their outcomes. Requests
    /// without one when the drain time is over are cancelled.
    /// @return false if there was nothing to do, because it is not started
    bool Drain();

    /// Makes the threads end once everything is delivered, and waits for that; call `Drain` first. A thread
    /// whose receiver blocks past the deadline, or calls this, is left to end by itself.
    void Stop(Clock::time_point deadline);

    /// Stops when the process ends. If a receiver calls this, it delivers the waiting exchanges, since its
    /// thread will not return from that receiver.
    void End(Clock::time_point deadline);

    /// How many requests wait for a connection.
    std::size_t Queued() const;

    /// Whether the calling thread is within a call of the receiver.
    bool OnDeliveringThread() const;

    /// For a fork: locks out all other threads until it is over.
    void LockForFork() { m_mutex.lock(); }
    void UnlockAfterFork() { m_mutex.unlock(); }

private:
    using Lock = std::unique_lock<std::mutex>;
    struct Worker {
        std::thread thread;
        bool bRuns = true;
    };

    void Stop(Clock::time_point deadline, Lock& lock);
    void StartThreads(std::size_t nWanted);
    std::size_t Running() const;
    void RemoveEnded();
    void Run(Worker& self);
    void Lead(Lock& lock);
    void Deliver(ExchangeList exchange, Lock& lock);
    void Sleep(Lock& lock);
    void WakeUp(Duties::Wake eWake, Lock& lock);
    void Refuse(ExchangeList& exchange, Lock& lock);

    mutable std::mutex m_mutex;       ///< guards everything below
    std::condition_variable m_wake;   ///< for a thread without a duty
    std::condition_variable m_change; ///< for `Drain` and `Stop`
    Duties m_duties;
    /// Null while stopped. Only the leading thread uses it, but for `Transfers::Wake`.
    std::shared_ptr<Transfers> m_pTransfers;
    /// When a thread must lead to close idle connections.
    Clock::time_point m_tpCloseIdle = Clock::time_point::max();
    std::shared_ptr<const CHttpClientResponse> m_pReceiver;
    std::list<Worker> m_lstWorkers;
    std::size_t m_nUntimed = 0; ///< threads that sleep without knowing when to close idle connections
    std::thread::id m_idDelivering;
    std::size_t m_nOutstanding = 0; ///< exchanges that are not yet delivered
    int m_nLogLevel = DEFAULT_LOG_LEVEL;
    bool m_bEnded = false;
};

} // namespace chttpclient
