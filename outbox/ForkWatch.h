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

private:
    friend struct ForkHandlers;

    std::mutex& m_mutex;
    bool& m_bIsChild;
    ForkWatch* m_pNext = nullptr;
    ForkWatch* m_pPrevious = nullptr;
};

} // namespace outbox
