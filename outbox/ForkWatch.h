#pragma once

#include <mutex>

namespace outbox
{

/// Holds a lock during every fork, so that the child finds what the lock guards in order, and tells the child
/// that it is one. Does nothing on Windows, which knows no fork.
class ForkWatch
{
public:
    /// Both must outlive this object. @param bIsChild  becomes true in a child; guarded by the lock
    ForkWatch(std::mutex& mutex, bool& bIsChild);
    /// Must not be called with the lock held.
    ~ForkWatch();
    ForkWatch(const ForkWatch&) = delete;
    ForkWatch& operator=(const ForkWatch&) = delete;

    /// Has the locks taken before every fork, from the first call on. Whoever makes such objects under a lock
    /// of its own, which it takes before a fork too, must call this before it registers that: what was
    /// registered last is called first, so the locks are taken in the usual order.
    static bool Register();

private:
    friend struct ForkHandlers;

    std::mutex& m_mutex;
    bool& m_bIsChild;
    ForkWatch* m_pNext = nullptr;
    ForkWatch* m_pPrevious = nullptr;
};

} // namespace outbox
