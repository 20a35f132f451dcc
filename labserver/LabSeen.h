#pragma once

#include "labserver/LabFault.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// What became of a request. The names are those that the page and GET /lab/exchanges use.
enum class LabOutcome {
    Answered,  ///< "answered": with a success
    Refused,   ///< "refused": with a status of 400 and above
    Fault,     ///< "fault": a scripted fault answered it, or delayed it
    Truncated, ///< "truncated": a fault left half of the reply's body out
    Reset,     ///< "reset": a fault reset the connection
    Silence,   ///< "silence": a fault let it wait for ever
};

/// A request of a host and what became of it, for whoever watches the traffic.
struct LabSeen {
    std::uint64_t nId = 0;                         ///< LabTraffic counts from 1
    std::chrono::system_clock::time_point arrived; ///< when its first byte came
    std::chrono::microseconds duration{0};         ///< from then until the system had the reply
    std::string strHost;                           ///< the client's address
    int nPort = 0;                                 ///< the client's port
    bool bTls = false;                             ///< whether it came over TLS
    std::string strMethod;
    std::string strPath;   ///< decoded
    std::string strTarget; ///< as received, with the query
    std::vector<std::pair<std::string, std::string>> vecRequestHeaders;
    std::string strRequestBody;
    int nStatus = 0;          ///< 0 if no reply was sent
    std::string strReplyHead; ///< the status line and the headers, as sent
    std::string strReplyBody; ///< whole, even if a fault let only half of it be sent
    std::optional<LabFault> optFault;
};

LabOutcome OutcomeOf(const LabSeen& seen);
const char* NameOf(LabOutcome eOutcome);
