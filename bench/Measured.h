#pragma once

#include <cstddef>
#include <vector>

// What is measured: our two interfaces, and the baselines that they are compared with, each driven in the
// same way. Every function throws std::runtime_error when a reply is not the expected one, so a figure stands
// for answered requests only. Each is called once a process.

/// What to send: so many requests to the web server at 127.0.0.1.
struct Load {
    int nPort = 0;
    std::size_t nCount = 0;
};

/// As many requests are outstanding at once where a rate is measured, over as many connections; the latter is
/// the transport's default.
constexpr std::size_t MAX_OUTSTANDING = 64;
constexpr std::size_t CONNECTIONS = 8;

/// How long each request took, in microseconds. The first one, which opens the connection, is left out.
using Latencies = std::vector<double>;

// Requests a second: the query for the supported version.
double RateOfAgent(const Load& load);       ///< the signal is received in the host's thread, queued
double RateOfAgentDirect(const Load& load); ///< the signal is received in the delivering thread
double RateOfBareLoop(const Load& load);    ///< libcurl's multi interface, which builds and decodes nothing
double RateOfQt(const Load& load);          ///< QNetworkAccessManager with QJsonDocument

// The same query, one outstanding.
Latencies LatencyOfAgent(const Load& load);         ///< until the host's thread has the signal, queued
Latencies LatencyOfAgentDirect(const Load& load);   ///< until the receiver has told the waiting host's thread
Latencies LatencyOfBareCurl(const Load& load);      ///< curl_easy_perform on a kept connection
Latencies LatencyOfBareHandOvers(const Load& load); ///< that, with hand-overs between as many threads as ours

// A blocking channel check, each over a connection of its own.
Latencies LatencyOfSyncSender(const Load& load); ///< SendGetChannelCheckDataEx
Latencies LatencyOfOneShotQt(const Load& load);  ///< a QNetworkAccessManager and an event loop a request
