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
    struct SignalMask {
        SignalMask()
        {
            sigset_t all;
            sigfillset(&all);
            pthread_sigmask(SIG_SETMASK, &all, &before);
        }
        ~SignalMask() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }
        SignalMask(const SignalMask&) = delete;
        SignalMask& operator=(const SignalMask&) = delete;
        sigset_t before{};
    };
    const SignalMask inherited; // a new thread inherits the mask of the one that starts it
    return std::thread(std::forward<Function>(fn));
#endif
}
