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
    void Add(LabFault fault);
    void Clear();

    /// Returns the oldest fault that covers a request to a path, and reduces that fault's count by one.
    /// @param strPath with its leading "/"
    std::optional<LabFault> Take(const std::string& strPath);

    /// The pending faults in the form that FaultFromJson() reads, oldest first.
    Json::Value ToJson() const;

private:
    mutable std::mutex m_mutex;
    std::list<LabFault> m_lstPending;
};

/// Reads a fault as operators write it: "path"; "count" (default 1); "delayMs"; and at most one of
/// "truncate", "reset", "silence", and a reply given by "status", "body" or both. With a reset, a silence or
/// a reply, "stored" may be true.
/// @throws LabError (400) when it describes no fault, or an impossible one
LabFault FaultFromJson(const Json::Value& value);

/// A fault in the form that FaultFromJson() reads.
Json::Value FaultToJson(const LabFault& fault);
