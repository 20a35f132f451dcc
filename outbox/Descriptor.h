#pragma once

#include <functional>
#include <system_error>

namespace outbox
{

// Linux only.

/// An open file or folder. The child of a fork closes it, because a lock belongs to everybody who has it
/// open; there it is -1 from then on.
class Descriptor
{
public:
    /// @param fnOpen  opens it, and returns -1 with `errno` set on failure; no fork happens meanwhile
    explicit Descriptor(const std::function<int()>& fnOpen);
    ~Descriptor();
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Get() const { return m_nDescriptor; }
    explicit operator bool() const { return m_nDescriptor >= 0; }

    /// Why it could not be opened.
    std::error_code Error() const { return m_error; }

    /// Called around a fork, with the locks of everybody who opens files already held.
    static void LockForFork();
    static void UnlockAfterFork();
    static void CloseInChild();

private:
    int m_nDescriptor = -1;
    std::error_code m_error;
    Descriptor* m_pNext = nullptr; ///< all open ones are in a list, which needs no memory of its own
    Descriptor* m_pPrevious = nullptr;
};

} // namespace outbox
