#pragma once

#if !defined(_WIN32)
#include <csignal>
#endif

/// The signals with which a user ends a long-running program: SIGTERM and SIGINT; on Windows, Ctrl+C and the
/// closing of its console. Create it before the program's threads, and only one at a time. On Linux these
/// signals no longer end the process from then on, not even after the object is destroyed.
class EndSignals
{
public:
    EndSignals();
#if defined(_WIN32)
    ~EndSignals();
#endif
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

    /// Waits for one of them.
    void Wait() const;

#if !defined(_WIN32)
private:
    sigset_t m_ends{};
#endif
};
