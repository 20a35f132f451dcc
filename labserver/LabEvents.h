#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <utility>

/// Tells those who watch that something was changed: "faults", "scenarios", "channel-rules", "reports" and so
/// on. What it is now they ask for themselves. Thread-safe.
class LabEvents
{
public:
    /// What was changed, and which one of several; and how often.
    using Changes = std::map<std::pair<std::string, std::string>, std::uint64_t>;

    /// @param strName  the kind of the reports, such as "cycle-data"; otherwise empty
    void Tell(const std::string& strWhat, const std::string& strName = {})
    {
        const std::lock_guard lock(m_mutex);
        ++m_mapChanges[{strWhat, strName}];
    }

    Changes All() const
    {
        const std::lock_guard lock(m_mutex);
        return m_mapChanges;
    }

private:
    mutable std::mutex m_mutex;
    Changes m_mapChanges;
};
