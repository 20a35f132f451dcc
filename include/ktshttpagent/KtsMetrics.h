#pragma once

/// @file
/// Figures about the requests of this process, for a host that wants to show or watch them: how many were
/// sent, how they ended and how long they took, since the process started. `KtsMetrics` takes a snapshot.
///
/// The same figures go to a file in the text format that Prometheus' node exporter collects, if the
/// environment variable `KTSHTTPAGENT_METRICS_FILE` names one when the library starts: every 15 seconds and
/// when the process ends, by renaming a complete file. Each host needs a file of its own. `ktsagent stats
/// FILE` prints it for people.
///
/// For a lamp that shows whether the server can be reached, see KtsConnection.h.
///
/// Threads: every function may be called from any thread. Ownership: a snapshot is a copy, which belongs to
/// the caller. Its layout stays the same as long as the library keeps its major version.

#include "KtsExport.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Why a request failed, as far as the figures distinguish it. The log says more: one line for each failure.
enum class EKtsFailure {
    NotSent = 0,        ///< the library did not send it: an invalid URL, too many outstanding, not running
    NameNotFound = 1,   ///< no host has the server's name, or the proxy's
    NotConnected = 2,   ///< no connection to the server or to the proxy
    TlsFailed = 3,      ///< no TLS connection, or a certificate that can't be trusted
    TimedOut = 4,       ///< no whole reply, or no connection, in time
    ConnectionLost = 5, ///< the connection died before the whole reply came
    HttpStatus = 6,     ///< the server answered with an HTTP status that is no success
    Unreadable = 7,     ///< the reply can't be read: not HTTP, not JSON, too large, can't be decompressed
    Cancelled = 8,      ///< given up at the end of the transport or of the process
    Other = 9,          ///< anything else
};

/// How many failures `EKtsFailure` distinguishes.
inline constexpr std::size_t KTS_FAILURES = 10;

/// The failure's name as it stands in the figures' file, such as "timed_out".
/// @return a text that is valid while the library is loaded
KTSHTTPAGENT_API const char* KtsFailureName(EKtsFailure eFailure);

/// The upper bounds of the classes of durations, in milliseconds. One more class holds what took longer.
inline constexpr std::array<std::uint32_t, 15> KTS_DURATION_BOUNDS{
    1, 2, 5, 10, 20, 50, 100, 200, 500, 1'000, 2'000, 5'000, 10'000, 30'000, 60'000};

/// The figures of one request type on one interface.
struct SKtsRequestMetrics {
    int nType = 0;                ///< the request type id (`VelCSDK::RequestType`)
    bool bBlocking = false;       ///< whether these are the calls of its blocking sender
    std::uint64_t nSent = 0;      ///< how many were sent, or refused before that
    std::uint64_t nSucceeded = 0; ///< the server answered, and said yes
    std::uint64_t nRefused = 0;   ///< the server answered, and said no
    std::array<std::uint64_t, KTS_FAILURES> arFailed{}; ///< by `EKtsFailure`
    /// How many ended, however, within each bound of `KTS_DURATION_BOUNDS` but not within the one before; the
    /// last class has no bound. A duration counts from the call of the sender to the answer.
    std::array<std::uint64_t, KTS_DURATION_BOUNDS.size() + 1> arDurations{};
    std::chrono::microseconds durations{0}; ///< the sum of all durations
    std::uint64_t nStored = 0; ///< reports whose senders were answered because the outbox keeps them, see
                               ///< KtsOutbox.h; its later tries are not counted here
};

/// A snapshot of the figures. Requests that end while it is taken may be counted in one figure and not yet in
/// another.
struct SKtsMetrics {
    std::vector<SKtsRequestMetrics> vecRequests; ///< those of which any was sent, by id
    std::uint64_t nOutstanding = 0;              ///< sent and not yet ended
    std::uint64_t nQueued = 0; ///< of these, waiting for a free connection to their server; 0 if a site's own
                               ///< transport does not tell
    std::chrono::system_clock::time_point tpLastSuccess{}; ///< the epoch for none
    std::chrono::system_clock::time_point tpLastFailure{}; ///< the epoch for none; includes refusals
    int nLastFailureType = 0;                              ///< the request type id of the last failure
    std::string strLastFailure; ///< why it failed, in words, as the log says it; empty for none
};

/// Takes a snapshot of the figures of this process.
/// @throws std::bad_alloc
KTSHTTPAGENT_API SKtsMetrics KtsMetrics();
