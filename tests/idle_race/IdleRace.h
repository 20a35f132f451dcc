#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <string>

/// A server that closes connections after some idle time, and the line to it.
struct RaceTrack {
    std::chrono::milliseconds serverIdle; ///< idle time after which the server closes
    std::chrono::milliseconds roundTrip;
    bool bTls;
};

struct RaceResult {
    std::size_t nSends = 0;
    std::size_t nReceived = 0;              ///< different reports that the server received
    std::size_t nReceivedTwice = 0;         ///< reports that the server received more than once
    std::size_t nConnections = 0;           ///< that the server accepted
    std::map<int, std::size_t> mapFailures; ///< how often each error came

    std::size_t Failures() const;
    /// "-65 (3), -56 (1)"; "-" if there are none
    std::string FailuresInWords() const;
};

/// Sends reports around the moment at which the server closes: over many connections at once, each report a
/// chosen time after the previous reply. Most of these times are packed densely around the closing: from
/// before its first byte can cross the first byte of a report on the line, until after it has arrived. The
/// others are spread over all times from 0 on. Each round shifts them by a fraction of their spacing.
///
/// Uses this process's transport, which must not be started yet, and the log.
/// @throws std::runtime_error when nginx or the transport can't be started
RaceResult RunIdleRace(const RaceTrack& track, std::size_t nRounds);
