#pragma once

#include "labserver/LabSeen.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

/// The latest requests of hosts: at most 10,000, and at most 64 MiB of them. Thread-safe.
class LabTraffic
{
public:
    using Entry = std::shared_ptr<const LabSeen>;

    void Add(LabSeen seen);

    /// The id of the latest one; 0 before the first.
    std::uint64_t LastId() const;
    /// @return null if it is not there, or not any more
    Entry Find(std::uint64_t nId) const;
    /// Those that are wanted, newest first. @param nBefore  only older ones than this id
    std::vector<Entry> Before(std::uint64_t nBefore, std::size_t nMost,
                              const std::function<bool(const LabSeen&)>& fnWanted) const;
    /// The first ones after an id, oldest first.
    std::vector<Entry> After(std::uint64_t nId, std::size_t nMost) const;

private:
    mutable std::mutex m_mutex;
    std::deque<Entry> m_lstEntries; ///< their ids follow each other
    std::uint64_t m_nLastId = 0;
    std::size_t m_nBytes = 0;
};
