#pragma once

#include <thread>
#include <utility>

#if !defined(_WIN32)
#include <csignal>
#endif

/// Starts a thread with all signals blocked: the process's signals are left to the host's threads.
/// @throws std::system_error when no thread can be started
template <class Function>
std::thread StartQuietThread(Function&& fn)
{
#if defined(_WIN32)
    return std::thread(std::forward<Function>(fn));
#else
    struct SSignalMask {
        SSignalMask()
        {
            sigset_t all;
            sigfillset(&all);
            pthread_sigmask(SIG_SETMASK, &all, &before);
        }
        ~SSignalMask() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }
        SSignalMask(const SSignalMask&) = delete;
        SSignalMask& operator=(const SSignalMask&) = delete;
        sigset_t before{};
    };
    const SSignalMask inherited; // a new thread inherits the mask of the one that starts it
    return std::thread(std::forward<Function>(fn));
#endif
}
