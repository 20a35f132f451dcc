#pragma once

#include <chrono>
#include <thread>

class CUIAgentRsp;

// Which instances of CUIAgentRsp there are, and which of them are handing an answer over. The client's
// callback outlives the instance that set it, and the transport goes on delivering while the process ends.
//
// Nothing is locked while an answer is handed over: a receiver may block, run an event loop, send, throw, or
// end the process. All operations may be called from any thread.

/// From now on deliveries to the instance may begin.
void OpenDeliveries(const CUIAgentRsp& instance);

/// From now on none begins any more. Waits until those under way are done, but not for those of this thread,
/// since a receiver may be what ends the instance, and no longer than that time.
void CloseDeliveries(const CUIAgentRsp& instance, std::chrono::milliseconds longest);

/// One delivery, from before to after the receivers run. It needs no memory: an answer is handed over where
/// there is none left too.
class Delivering
{
public:
    /// @param pInstance  may be gone; then nothing may be delivered
    explicit Delivering(const CUIAgentRsp* pInstance) noexcept;
    ~Delivering();
    Delivering(const Delivering&) = delete;
    Delivering& operator=(const Delivering&) = delete;

    bool IsAllowed() const { return m_bAllowed; }

private:
    friend struct Deliveries;

    const CUIAgentRsp* const m_pInstance;
    const std::thread::id m_idThread = std::this_thread::get_id();
    Delivering* m_pNext = nullptr; ///< in the list of those under way
    const bool m_bAllowed;
};
