#pragma once

#include <cstddef>
#include <vector>

// The measured functions: our two interfaces and their baselines, all driven in the same way. Every function
// throws std::runtime_error if a reply is not the expected one, so only answered requests are measured. Each
// process calls one function, once.

/// What to send: the number of requests, and the port of the web server at 127.0.0.1.
struct Load {
    int nPort = 0;
    std::size_t nCount = 0;
};

/// For rates: how many requests are outstanding at a time, and over how many connections. The number of
/// connections is the transport's default.
constexpr std::size_t MAX_OUTSTANDING = 64;
constexpr std::size_t CONNECTIONS = 8;

/// How long each request took, in microseconds. The first one, which opens the connection, is left out.
using Latencies = std::vector<double>;

// Requests per second, for the query of the supported version.
double RateOfAgent(const Load& load);       ///< the signal is received on the host's thread, queued
double RateOfAgentDirect(const Load& load); ///< the signal is received on the delivering thread
double RateOfBareLoop(const Load& load);    ///< libcurl's multi interface; builds and decodes nothing
double RateOfQt(const Load& load);          ///< QNetworkAccessManager with QJsonDocument

// Latencies of the same query, with one outstanding request.
Latencies LatencyOfAgent(const Load& load);       ///< until the host's thread gets the signal, queued
Latencies LatencyOfAgentDirect(const Load& load); ///< until the receiver is called on the delivering thread
Latencies LatencyOfBareCurl(const Load& load);    ///< curl_easy_perform on a kept connection
Latencies
LatencyOfBareHandOver(const Load& load); ///< until the same has returned on another, sleeping thread

// Processor time of the whole process for the same query, in microseconds a request, at 20 requests a second.
double ProcessorTimeOfAgent(const Load& load);    ///< received on the delivering thread
double ProcessorTimeOfBareLoop(const Load& load); ///< libcurl's multi interface on the sender's thread

// Reports of an incubator's state, with the outbox if KTSHTTPAGENT_OUTBOX names a folder for it, else
// without.
double RateOfReports(const Load& load); ///< a second, received on the delivering thread
Latencies
CallsOfReports(const Load& load); ///< how long each call of the sender takes, one report a millisecond
/// How often threads of the process go to sleep in as many seconds as the load counts, if nothing is sent.
double SleepsOfIdleReporter(const Load& load);

// Latencies of blocking channel checks, each over a connection of its own.
Latencies LatencyOfSyncSender(const Load& load); ///< SendGetChannelCheckDataEx
Latencies LatencyOfOneShotQt(const Load& load);  ///< a QNetworkAccessManager and an event loop for each
