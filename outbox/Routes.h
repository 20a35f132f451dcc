#pragma once

#include "Gate.h"
#include "Report.h"
#include "Url.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace outbox
{

/// A server, identified by scheme, host and port.
struct Server {
    Gate gate{LONGEST_BACKOFF};
    std::size_t nHeld = 0; ///< reports for it that are in memory and wait to be sent
};

/// A place on a server to which reports are sent: its URL without the query.
struct Place {
    Place(Server& server, bool bIsHttp) : pServer(&server), bHttp(bIsHttp) {}

    Server* pServer;
    bool bHttp; ///< whether its scheme is http or https
    Gate gate{LONGEST_WAIT};
};

/// Reports that wait for each other: those of one stream to one server, which are sent in order, one at a
/// time; or all those of one place that belong to no stream, which need no order.
struct Lane {
    Server* pServer = nullptr;
    Place* pPlace = nullptr; ///< of the last one that was looked at; without order, of all of them
    bool bOrdered = false;

    /// Everything up to here is in memory, is noted or has ended. Beyond it there may be more on the disk.
    ReportId cursor;
    bool bMore = false;
    std::optional<ReportId> again; ///< from where the disk is to be read again, once its end is reached

    std::size_t nHeld = 0;
    std::size_t nInFlight = 0;
    std::size_t nAdding = 0;       ///< reports of which it is not decided yet how they go
    std::size_t nRetries = 0;      ///< reports that are noted, to be tried again at a time of their own
    std::uint64_t nPassedOver = 0; ///< the pass over the backlog that left one of its reports lying
    std::uint64_t nAddedRead = 0;  ///< the read of the disk during which one was added
    std::uint64_t nLooked = 0; ///< the search for reports to send, or to drop, that found one of its reports

    /// Whether none of its reports waits, as far as is known, or is on its way.
    bool IsEmpty() const { return !bMore && !again && nHeld + nInFlight + nRetries == 0; }
};

/// The id before this one, for reading from it on.
inline ReportId Before(ReportId id)
{
    return {id.nRun, id.nSequence - 1};
}

/// All servers, places and lanes, made when they are first needed.
///
/// Threads: none of its own; its owner guards it.
class Routes
{
public:
    using Lanes = std::map<std::string, Lane, std::less<>>;

    /// @throws std::bad_alloc
    Place& PlaceOf(const Address& address);
    Place& PlaceOf(const Report& report);
    Lane* FindLane(const Report& report, const Place& place);
    /// Makes the lane if there is none. Empty ones may be forgotten then.
    /// @throws std::bad_alloc
    Lane& MakeLane(const Report& report, Place& place);

    Lanes& AllLanes() { return m_mapLane; }
    const std::map<std::string, Server, std::less<>>& Servers() const { return m_mapServer; }
    const std::map<std::string, Place, std::less<>>& Places() const { return m_mapPlace; }
    /// Ends the waits of all places of a server.
    /// @return null if there is no such server
    const Server* Hasten(const std::string& strServer);

private:
    void ForgetEmpty();

    std::size_t m_nForgetAt = 256; ///< so many lanes
    std::map<std::string, Server, std::less<>> m_mapServer;
    std::map<std::string, Place, std::less<>> m_mapPlace;
    Lanes m_mapLane;
};

} // namespace outbox
