#pragma once

#include <chrono>
#include <thread>

class CUIAgentRsp;

// Records which instances of CUIAgentRsp exist, and which deliveries of answers are in progress. This is
// needed because the client's callback outlives the instance that set it, and the transport still delivers
// while the process ends.
//
// Nothing is locked during a delivery: a receiver may block, run an event loop, send, throw, or end the
// process. All operations may be called from any thread.

/// Allows deliveries to the instance from now on.
void OpenDeliveries(const CUIAgentRsp& instance);

/// Allows no further deliveries to the instance. Waits, but no longer than `longest`, until other threads
/// have finished those in progress. It does not wait for those of the calling thread, because a receiver may
/// be what destroys the instance.
void CloseDeliveries(const CUIAgentRsp& instance, std::chrono::milliseconds longest);

/// One delivery; exists from before until after the receivers run. It allocates nothing, so that an answer is
/// delivered even if memory has run out.
class Delivering
{
public:
    /// @param pInstance  may be destroyed already; then nothing may be delivered
    explicit Delivering(const CUIAgentRsp* pInstance) noexcept;
    ~Delivering();
    Delivering(const Delivering&) = delete;
    Delivering& operator=(const Delivering&) = delete;

    bool IsAllowed() const { return m_bAllowed; }

private:
    friend struct Deliveries;

    const CUIAgentRsp* const m_pInstance;
    const std::thread::id m_idThread = std::this_thread::get_id();
    Delivering* m_pNext = nullptr; ///< in the list of deliveries in progress
    const bool m_bAllowed;
};
