#pragma once

#include "Backlog.h"
#include "Judge.h"
#include "RateLimit.h"
#include "Retries.h"

#include <list>
#include <map>
#include <optional>
#include <vector>

namespace outbox
{

/// Whoever sent a report and has not been called back yet.
struct Owed {
    int nType = 0;
    void* pUserData = nullptr;
    std::uint64_t nAdded = 0; ///< the number of the report's addition to the disk
};

/// A report that was given to the transport and has no reply yet.
struct Flight {
    ReportId id;
    Lane* pLane = nullptr;
    Place* pPlace = nullptr;
    std::uint64_t nServerBegin = 0; ///< as `Gate::Begin` returned it
    std::uint64_t nPlaceBegin = 0;
    std::size_t nBytes = 0;
    int nType = 0;
    std::string strKey;
    std::list<Owed> lstOwed; ///< at a first attempt, the one callback that its sender waits for
};

struct CourierSettings {
    unsigned nPerSecond = 30; ///< the most that is sent from the backlog
    bool bRepeatSeen = true;  ///< whether a report is sent again although the server may have taken it
};

/// What becomes of a report after an attempt.
enum class Fate { Acknowledged, Buried, Parked, Waits };

/// Decides when which report is sent: what goes at once, what is read from the backlog and when, what a reply
/// means for the report, for its server and for its stream.
///
/// Has no thread, no disk and no network; the time and random numbers are handed in. Its owner guards it, and
/// carries out what it decides.
class Courier
{
public:
    using Flights = std::map<ReportId, Flight>;

    /// A report that is being added to the disk. It may be read there before `Begin` is called; the courier
    /// reads nothing that might be one of these.
    struct Adding {
        Flights::node_type flight;
        std::list<ReportId>::iterator itNewest;
    };

    Courier(const CourierSettings& settings, Random& random);

    /// @param address  that of the report
    /// @throws std::bad_alloc
    Adding Prepare(const Report& report, const Address& address, void* pUserData);
    /// The report could not be added.
    void Abandon(const Adding& adding);
    /// The report is on the disk. Decides whether it is sent now.
    /// @return the flight; null if it stays on the disk for later, and then `adding` still holds the flight
    Flight* Begin(Adding& adding, ReportId id, TimePoint tpNow) noexcept;

    /// After which id the disk should be read; nothing if there is no need. `Accept` must follow.
    std::optional<ReportId> Wants(TimePoint tpNow);
    /// What the disk has after that id.
    /// @throws std::bad_alloc
    void Accept(std::optional<Waiting>&& waiting, TimePoint tpNow);

    struct Departure {
        Flight* pFlight;
        Report report;
    };
    /// A report of the backlog that is to be sent now.
    /// @throws std::bad_alloc
    std::optional<Departure> TakeDue(TimePoint tpNow);

    /// What becomes of a report; nothing changes yet.
    Fate Decide(const Flight& flight, Judgement judgement) const;
    /// Ends a flight.
    /// @param bAnswered  whether the server answered at all
    void End(Flight& flight, Judgement judgement, Fate eFate, bool bAnswered, Milliseconds retryAfter,
             TimePoint tpNow) noexcept;

    /// When there may be something to do again if nothing happens before.
    std::optional<TimePoint> Next(TimePoint tpNow) const;
    /// Whether there is something to send or to read, now or later.
    bool HasBacklog() const;
    /// The places of a server are tried again at once: it gets another password now.
    void Hasten(const std::string& strServer, TimePoint tpNow) noexcept;
    /// Everything on the disk is to be looked at again.
    void Rewind() { m_backlog.Rewind(); }

    std::size_t InFlight() const { return m_mapFlight.size(); }
    Flights& AllFlights() { return m_mapFlight; }
    /// Whether the disk may have something that nobody has looked at.
    bool HasUnread() const { return m_backlog.HasMore(); }
    /// How many reports are in memory, on their way or wait for a time of their own.
    std::size_t Known() const { return Loaded() + m_retries.Waiting(); }
    std::size_t Loaded() const { return m_mapFlight.size() + m_backlog.Count(); }
    std::size_t LoadedBytes() const { return m_nFlightBytes + m_backlog.Bytes(); }
    bool IsInAlarm() const; ///< whether some place does not take reports
    std::uint64_t Reads() const { return m_backlog.Reads(); }

    static constexpr std::size_t MOST_LOADED = 1'000;
    static constexpr std::size_t MOST_LOADED_BYTES = std::size_t{8} << 20U;

private:
    bool Fits(std::size_t nBytes) const;
    bool MayGo(const Flight& flight, TimePoint tpNow) const;
    bool IsKnown(ReportId id) const;
    void Depart(Flight& flight);
    void TellGates(Flight& flight, Verdict eVerdict, bool bAnswered, Milliseconds retryAfter,
                   TimePoint tpNow);
    void Return(Flight& flight, Verdict eVerdict, TimePoint tpNow) noexcept;
    void AcceptRetry(ReportId id, std::optional<Waiting>&& waiting);
    void Drop(const std::function<bool(const Held&)>& fnWhich);

    const CourierSettings m_settings;
    Random& m_random;
    Routes m_routes;
    Backlog m_backlog{m_routes};
    Retries m_retries;
    RateLimit m_rate;
    Flights m_mapFlight;
    std::size_t m_nFlightBytes = 0;

    ReportId m_newest; ///< the newest report whose addition is complete
    /// For each report that is being added, the newest one as it began; the first is the oldest.
    std::list<ReportId> m_lstAdding;

    // The read of the disk that is under way.
    std::optional<ReportId> m_retryRead; ///< the noted report that it is for; nothing for a pass
    std::optional<ReportId> m_mostRead;  ///< what is newer may be in the middle of being added
    std::vector<ReportId> m_vecEnded;    ///< reports that ended meanwhile
    bool m_bEndedMore = false;           ///< and some for which that had no room
    TimePoint m_tpReadAgain{};           ///< not before
};

} // namespace outbox
