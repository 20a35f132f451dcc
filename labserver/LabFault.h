#pragma once

#include <chrono>
#include <cstdint>
#include <string>

/// What a scripted fault does to a request. Every kind may be preceded by a delay.
enum class LabFaultKind {
    Delay,    ///< nothing more: the request is handled as usual after the delay
    Reply,    ///< answered with the fault's status and body, without being handled
    Truncate, ///< handled, but only half of the reply's body is sent before the connection is closed
    Reset,    ///< not handled, and the connection is reset instead of a reply
    Silence,  ///< not handled, and no reply comes; the connection stays open until the client leaves
};

/// One scripted fault, for the next requests to one path.
struct LabFault {
    /// Request path, with or without a leading "/". The paths below it are covered too ("posts": "posts/7").
    std::string strPath;
    int nCount = 1; ///< how many requests it hits
    LabFaultKind eKind = LabFaultKind::Delay;
    int nDelayMs = 0;    ///< milliseconds; stopping the server cuts it short
    int nStatus = 200;   ///< HTTP status of a Reply
    std::string strBody; ///< body of a Reply, sent as it stands
    std::string strContentType = "application/json; charset=utf-8"; ///< of a Reply
    /// For a Reply, a Reset and a Silence: the request is handled first all the same. So a report is stored,
    /// but its acknowledgement is lost.
    bool bStored = false;
    bool bUntilCleared = false; ///< it hits every request until it is removed, however many; nCount is 1
    std::string strScenario{};  ///< the scenario that it belongs to; empty for none
    /// It hits only requests that come between these times.
    std::chrono::steady_clock::time_point tpBegin = std::chrono::steady_clock::time_point::min();
    std::chrono::steady_clock::time_point tpEnd = std::chrono::steady_clock::time_point::max();
    std::uint64_t nId = 0; ///< given by LabFaults::Add()
};

/// Whether a request that a fault hits is handled as if there were no fault.
inline bool IsHandled(const LabFault& fault)
{
    return fault.eKind == LabFaultKind::Delay || fault.eKind == LabFaultKind::Truncate || fault.bStored;
}
