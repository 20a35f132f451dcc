#pragma once

#include "labserver/LabFault.h"

#include <json/json.h>
#include <list>
#include <mutex>
#include <optional>
#include <string>

/// The scripted faults that are still to come. For any number of threads.
class LabFaults
{
public:
    void Add(LabFault fault);
    void Clear();

    /// The oldest fault that is meant for a request to a path, counted down for it.
    /// @param strPath with its leading "/"
    std::optional<LabFault> Take(const std::string& strPath);

    /// What is pending, as FaultFromJson() reads it, oldest first.
    Json::Value ToJson() const;

private:
    mutable std::mutex m_mutex;
    std::list<LabFault> m_lstPending;
};

/// Reads a fault as operators write it: "path", "count" (1 without), at most one of "status" or "body",
/// "truncate" and "reset", and "delayMs".
/// @throws LabError (400) when it says nothing, or what no fault can do
LabFault FaultFromJson(const Json::Value& value);
