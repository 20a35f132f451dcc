#pragma once

#include "labserver/LabFault.h"

#include <json/json.h>
#include <list>
#include <mutex>
#include <optional>
#include <string>

/// The scripted faults that are still pending. Thread-safe.
class LabFaults
{
public:
    /// @return the id that the fault gets, which no other one of this object has had
    std::uint64_t Add(LabFault fault);
    void Clear();
    bool Remove(std::uint64_t nId);                      ///< @return false if there is none
    void RemoveScenario(const std::string& strScenario); ///< all that belong to it

    /// Returns the oldest fault that covers a request to a path, and reduces that fault's count by one.
    /// @param strPath with its leading "/"
    std::optional<LabFault> Take(const std::string& strPath);

    /// The pending faults whose time has come, in the form that FaultFromJson() reads, oldest first.
    Json::Value ToJson() const;

private:
    mutable std::mutex m_mutex;
    std::list<LabFault> m_lstPending;
    std::uint64_t m_nLastId = 0;
};

/// Reads a fault as operators write it: "path"; "count" (default 1) or "untilCleared"; "delayMs"; and at most
/// one of "truncate", "reset", "silence", and a reply given by "status", "body" or both. With a reset, a
/// silence or a reply, "stored" may be true. "id" and "scenario", which a listed fault has, are ignored.
/// @throws LabError (400) when it describes no fault, or an impossible one, or has a member that is not known
LabFault FaultFromJson(const Json::Value& value);

/// A fault in the form that FaultFromJson() reads.
Json::Value FaultToJson(const LabFault& fault);

/// Whether a fault's path, with or without a leading "/", is a request's path or a parent of it; "/" is a
/// parent of every path.
bool Covers(const std::string& strFaultPath, const std::string& strPath);
