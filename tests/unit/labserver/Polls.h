#pragma once

#include <chrono>
#include <functional>
#include <poll.h>
#include <set>
#include <vector>

// All waits of this program pass here on their way to the system, whichever thread waits.

/// A wait for sockets.
struct PollCall {
    nfds_t nSockets;
    short nEvents; ///< that the first socket is waited for
    int nMilliseconds;
    std::chrono::steady_clock::time_point begin;
};

/// Lets a function be called before the first wait for one socket alone: that of a connection which waits for
/// the last time.
void WatchLastWait(std::function<void()> fnBefore);
/// Whether that wait has yet to come.
bool IsLastWaitToCome();

/// The waits since the program began, but for those that end at once.
std::vector<PollCall> PollCalls();

/// How long those for so many sockets were to last at most.
std::set<int> Patiences(nfds_t nSockets);

/// Whether such a wait comes before half a minute is over.
bool ComesToWait(const std::function<bool(const PollCall&)>& fnIsIt);
