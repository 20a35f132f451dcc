#pragma once

#include "labserver/LabWatch.h"

#include <cstdint>
#include <string>

/// What one client of GET /lab/events is sent, in the form of server-sent events. For use by one thread.
class LabEventStream
{
public:
    /// More exchanges are not sent in one second; how many were left out is told with the second.
    static constexpr std::size_t MOST_A_SECOND = 100;
    /// So many of the exchanges that a client missed while it was away are sent at most.
    static constexpr std::size_t MOST_MISSED = 500;

    /// @param watch    must outlive this object
    /// @param nAfter   the last exchange that the client has
    /// @param nSecond  now, in seconds since 1970 (UTC)
    LabEventStream(const LabWatch& watch, std::uint64_t nAfter, std::int64_t nSecond);

    /// What is new since the last call; empty for nothing.
    std::string Next(std::int64_t nSecond);

private:
    void SendSecond(std::int64_t nSecond, std::string& strEvents);
    void SendExchanges(std::string& strEvents);
    void SendChanges(std::string& strEvents);

    const LabWatch& m_watch;
    std::uint64_t m_nAfter;
    std::int64_t m_nSecond;
    std::size_t m_nRoom = MOST_MISSED; ///< exchanges that may still be sent in this second
    std::uint64_t m_nSkipped = 0;
    LabEvents::Changes m_mapTold;
};
