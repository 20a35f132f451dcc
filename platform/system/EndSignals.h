#pragma once

#if !defined(_WIN32)
#include <csignal>
#endif

/// The ways in which a user ends a program that runs until then: SIGTERM and SIGINT; on Windows Ctrl+C and
/// the closing of its console. To be made before the program's threads are; only one at a time. On Linux no
/// further one of them ends the process from then on, not even when the object is gone.
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
