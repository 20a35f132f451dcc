#pragma once

#include <chrono>

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

    /// From now on the end of the standard input counts as such a signal too. Call it once at most.
    void CountInputEnd() const;

    /// Waits for one of them.
    void Wait() const;

    /// Waits for one of them for some time; Windows rounds it up to a millisecond, and another signal with a
    /// handler may end it early.
    /// @return whether one came
    bool WaitFor(std::chrono::nanoseconds time) const;

#if !defined(_WIN32)
private:
    sigset_t m_ends{};
#endif
};
