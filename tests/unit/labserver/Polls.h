#pragma once

#include <chrono>
#include <functional>
#include <poll.h>
#include <set>
#include <vector>

// All poll() calls of this program are recorded here before they go to the system, whichever thread waits.

/// A wait for sockets.
struct PollCall {
    nfds_t nSockets;
    short nEvents; ///< awaited for the first socket
    int nMilliseconds;
    std::chrono::steady_clock::time_point begin;
};

/// Makes a function be called before the first wait for a single socket, which is the last wait of a
/// connection.
void WatchLastWait(std::function<void()> fnBefore);
/// Whether that wait has not begun yet.
bool IsLastWaitToCome();

/// The waits since the program began, except those that end at once.
std::vector<PollCall> PollCalls();

/// The time limits of the waits for that many sockets.
std::set<int> Patiences(nfds_t nSockets);

/// Whether such a wait begins within half a minute.
bool ComesToWait(const std::function<bool(const PollCall&)>& fnIsIt);
