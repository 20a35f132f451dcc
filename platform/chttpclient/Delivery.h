#pragma once

#include "HttpExchange.h"

#include <ktshttpagent/chttpclient.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace chttpclient
{

/// Hands finished exchanges to the receiver, one after the other, on a thread of its own. That thread is
/// started by `Start`, and again by the first exchange after a stop.
///
/// All operations may be called from any thread.
class CDelivery
{
public:
    using Clock = std::chrono::steady_clock;

    void SetReceiver(CHttpClientResponse fnReceiver);
    std::shared_ptr<const CHttpClientResponse> Receiver() const;

    /// Starts the thread where none runs.
    /// @throws std::system_error when no thread can be had
    void Start();

    /// Counts an exchange that is going to be posted.
    /// @return how many were owed before
    std::size_t Owe() { return m_nOwed.fetch_add(1); }

    /// Puts exchanges, each owed before, behind those that wait; the list is empty then. Where no thread can
    /// be had, and after `End`, the receiver is called at once, on this thread.
    void Post(ExchangeList& exchanges);

    /// Lets the thread end once everything is delivered, and waits for that. On the delivering thread itself,
    /// or where a receiver blocks past the deadline, the thread is left to end by itself.
    void Stop(Clock::time_point deadline);

    /// Stops for good, as the process ends. What a call on the delivering thread itself finds waiting is
    /// delivered by that very call, since it is not going to return to the thread's loop.
    void End(Clock::time_point deadline);

    bool OnDeliveringThread() const;

    /// For a fork: keeps everybody else out until it is over.
    void LockForFork() { m_mutex.lock(); }
    void UnlockAfterFork() { m_mutex.unlock(); }

private:
    void StartThread();
    void Run();
    void DeliverWaiting(std::unique_lock<std::mutex>& lock);
    void Deliver(ExchangeList& exchanges);
    void Deliver(const SHttpExchange& exchange);

    mutable std::mutex m_mutex;
    std::condition_variable m_wake;  ///< the thread: something waits, or it is to stop
    std::condition_variable m_ended; ///< a stopper: the thread is about to return
    std::shared_ptr<const CHttpClientResponse> m_pReceiver;
    ExchangeList m_lstWaiting;
    std::thread m_thread;
    std::thread::id m_idThread; ///< of the running thread; none while none runs
    bool m_bIdle = false;       ///< the thread sleeps
    bool m_bStop = false;
    bool m_bEnded = false;
    std::atomic<std::size_t> m_nOwed = 0;
};

} // namespace chttpclient
