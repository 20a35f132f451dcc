#pragma once

#include "Delivery.h"
#include "HttpExchange.h"
#include "TransferLoop.h"

#include <memory>
#include <mutex>
#include <thread>

namespace chttpclient
{

/// The transport between its start and its stop: a transfer loop on the I/O thread and the delivery of what
/// it brings. A request that comes while it is stopped gets its reply too, a refusal.
///
/// All operations may be called from any thread, the delivering one included.
class CTransport
{
public:
    /// @param pBeforeFork  in the child of a fork: the transport of before
    explicit CTransport(CTransport* pBeforeFork = nullptr);

    /// Starts; does nothing when it runs already.
    /// @return whether it runs
    bool Start();

    /// Drains and stops.
    void Stop();

    /// Stops for good, as the process ends.
    void End();

    /// @throws std::bad_alloc where there is no memory for the request, which then is not taken
    void Send(SHttpExchange request);
    void SetReceiver(CHttpClientResponse fnReceiver) { m_delivery.SetReceiver(std::move(fnReceiver)); }

    /// For a fork. The child has none of the threads, and locks in whatever state they were, so it needs a
    /// new transport, a stopped one with the same receiver.
    void LockForFork() { m_delivery.LockForFork(); }
    void UnlockAfterFork() { m_delivery.UnlockAfterFork(); }

private:
    std::unique_lock<std::mutex> LockLife();
    void StopLoop();

    std::mutex m_mutexLife; ///< one start or stop at a time; taken before m_mutexLoop
    std::thread m_thread;

    std::mutex m_mutexLoop; ///< guards the pointer
    std::shared_ptr<CTransferLoop> m_pLoop;

    CDelivery m_delivery;
    /// Nothing reads it. It is kept to be no leak, and never freed: what it holds is the parent's.
    [[maybe_unused]] CTransport* const m_pBeforeFork;
};

} // namespace chttpclient
