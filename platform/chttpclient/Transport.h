#pragma once

#include "Delivery.h"
#include "HttpExchange.h"
#include "TransferLoop.h"

#include <memory>
#include <mutex>
#include <thread>

namespace chttpclient
{

/// The transport: a transfer loop on the I/O thread, and the delivery of its results. It can be started and
/// stopped repeatedly; a request sent while it is stopped is answered too, with a refusal.
///
/// All operations may be called from any thread, including the delivering one.
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
    void SetReceiver(CHttpClientResponse fnReceiver) { m_delivery.SetReceiver(std::move(fnReceiver)); }

    /// For a fork. The child has none of the threads, and its locks may be in any state, so it needs a new
    /// transport: a stopped one with the same receiver.
    void LockForFork() { m_delivery.LockForFork(); }
    void UnlockAfterFork() { m_delivery.UnlockAfterFork(); }

private:
    std::unique_lock<std::mutex> LockLife();
    void StopLoop();

    std::mutex m_mutexLife; ///< one start or stop at a time; taken before m_mutexLoop
    std::thread m_thread;

    std::mutex m_mutexLoop; ///< guards the pointer
    std::shared_ptr<TransferLoop> m_pLoop;

    Delivery m_delivery;
    /// Not used after construction and never freed: what it holds belongs to the parent.
    [[maybe_unused]] Transport* const m_pBeforeFork;
};

} // namespace chttpclient
