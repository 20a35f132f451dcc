#pragma once

#include "DoubledExchanges.h"
#include "HttpExchange.h"
#include "Workers.h"

#include <mutex>
#include <utility>

namespace chttpclient
{

/// The transport: its workers, and when they run. It can be started and stopped repeatedly; a request sent
/// while it is stopped is answered too, with a refusal.
///
/// All operations may be called from any thread, also from within a receiver.
class Transport
{
public:
    /// @param pBeforeFork  in the child of a fork: the parent's transport
    explicit Transport(Transport* pBeforeFork = nullptr);

    /// Starts; does nothing when it runs already.
    /// @return whether it runs
    bool Start();

    /// Drains and stops.
    void Stop();

    /// Drains and stops for good, when the process ends.
    void End();

    /// @throws std::bad_alloc when there is no memory for the request, which is then not accepted
    void Send(HttpExchange request);
    /// @throws std::bad_alloc when there is no memory for the reply, which is then not accepted
    void HandBack(HttpExchange reply);
    void SetReceiver(CHttpClientResponse fnReceiver) { m_workers.SetReceiver(std::move(fnReceiver)); }

    /// Sets what takes requests instead of the network; an empty function for nothing.
    void SetDouble(CHttpClientDouble fnDouble) { m_doubled.Set(std::move(fnDouble)); }

    /// How many requests wait for a connection.
    std::size_t Queued() const { return m_workers.Queued(); }

    /// For a fork. The child has none of the threads, and its locks may be in any state, so it needs a new
    /// transport: a stopped one with the same receiver.
    void LockForFork() { m_workers.LockForFork(); }
    void UnlockAfterFork() { m_workers.UnlockAfterFork(); }

private:
    std::unique_lock<std::mutex> LockLife();

    std::mutex m_mutexLife; ///< one start or stop at a time
    Workers m_workers;
    DoubledExchanges m_doubled;
    /// Not used after construction and never freed: what it holds belongs to the parent.
    [[maybe_unused]] Transport* const m_pBeforeFork;
};

} // namespace chttpclient
