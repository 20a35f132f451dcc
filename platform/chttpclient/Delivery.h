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
class Delivery
{
public:
    using Clock = std::chrono::steady_clock;

    void SetReceiver(CHttpClientResponse fnReceiver);
    std::shared_ptr<const CHttpClientResponse> Receiver() const;

    /// Starts the thread unless it is running.
    /// @throws std::system_error when no thread can be started
    void Start();

    /// Counts an exchange that will be posted.
    /// @return how many were counted and not yet delivered before
    std::size_t AddOutstanding() { return m_nOutstanding.fetch_add(1); }

    /// Appends exchanges, each already counted by `AddOutstanding`, to the waiting ones, and leaves the list
    /// empty. If no thread can be started, and after `End`, the receiver is called at once, on this thread.
    void Post(ExchangeList& exchanges);

    /// Makes the thread end once everything is delivered, and waits for that. When called on the delivering
    /// thread itself, or when a receiver blocks past the deadline, the thread is left to end by itself.
    void Stop(Clock::time_point deadline);

    /// Stops for good, when the process ends. When called on the delivering thread itself, it delivers the
    /// waiting exchanges, since that thread will not return to its loop.
    void End(Clock::time_point deadline);

    bool OnDeliveringThread() const;

    /// For a fork: locks out all other threads until it is over.
    void LockForFork() { m_mutex.lock(); }
    void UnlockAfterFork() { m_mutex.unlock(); }

private:
    void StartThread();
    void Run();
    void DeliverWaiting(std::unique_lock<std::mutex>& lock);
    void Deliver(ExchangeList& exchanges);
    void Deliver(const HttpExchange& exchange);

    mutable std::mutex m_mutex;
    std::condition_variable m_wake;  ///< for the thread: an exchange waits, or it must stop
    std::condition_variable m_ended; ///< for `Stop`: the thread is about to return
    std::shared_ptr<const CHttpClientResponse> m_pReceiver;
    ExchangeList m_lstWaiting;
    std::thread m_thread;
    std::thread::id m_idThread; ///< of the running thread; the default id while none runs
    bool m_bIdle = false;       ///< the thread sleeps
    bool m_bStop = false;
    bool m_bEnded = false;
    std::atomic<std::size_t> m_nOutstanding = 0;
};

} // namespace chttpclient
