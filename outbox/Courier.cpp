#include "Courier.h"

#include <algorithm>
#include <new>
#include <utility>

namespace outbox
{
namespace
{

constexpr std::size_t ENDED_DURING_READ = 256;
constexpr Milliseconds READ_AGAIN{5};
/// How much room there must be before a report of unknown size is read.
constexpr std::size_t TO_READ_BYTES = std::size_t{256} << 10U;

} // namespace

Courier::Courier(const CourierSettings& settings, Random& random)
    : m_settings(settings), m_random(random), m_rate(settings.nPerSecond)
{
    m_vecEnded.reserve(ENDED_DURING_READ);
}

Courier::Adding Courier::Prepare(const Report& report, const Address& address, void* pUserData)
{
    Flights one;
    Flight& flight = one[ReportId()];
    flight.pPlace = &m_routes.PlaceOf(address);
    flight.pLane = m_routes.FindLane(report, *flight.pPlace);
    if (flight.pLane == nullptr) {
        flight.pLane = &m_routes.MakeLane(report, *flight.pPlace);
        m_backlog.Introduce(*flight.pLane);
    }
    flight.nBytes = BytesOf(report);
    flight.nType = report.nType;
    flight.lstOwed.push_back({report.nType, pUserData, 0});
    m_lstAdding.push_back(m_newest);
    ++flight.pLane->nAdding;
    return {one.extract(one.begin()), std::prev(m_lstAdding.end())};
}

void Courier::Abandon(const Adding& adding)
{
    --adding.flight.mapped().pLane->nAdding;
    m_lstAdding.erase(adding.itNewest);
}

Flight* Courier::Begin(Adding& adding, ReportId id, TimePoint tpNow) noexcept
{
    Abandon(adding);
    m_newest = std::max(m_newest, id);
    Flight& flight = adding.flight.mapped();
    flight.id = id;
    if (!MayGo(flight, tpNow)) {
        m_backlog.Add(*flight.pLane, id);
        return nullptr;
    }
    adding.flight.key() = id;
    m_mapFlight.insert(std::move(adding.flight));
    Depart(flight);
    return &flight;
}

bool Courier::Fits(std::size_t nBytes) const
{
    return Loaded() == 0 || (Loaded() < MOST_LOADED && LoadedBytes() + nBytes <= MOST_LOADED_BYTES);
}

/// Whether a new report may be sent at once.
bool Courier::MayGo(const Flight& flight, TimePoint tpNow) const
{
    return Fits(flight.nBytes) && flight.pPlace->pServer->gate.Room(tpNow) > 0 &&
           flight.pPlace->gate.Room(tpNow) > 0 && !(flight.pLane->bOrdered && !flight.pLane->IsEmpty());
}

void Courier::Depart(Flight& flight)
{
    flight.nServerBegin = flight.pPlace->pServer->gate.Begin();
    flight.nPlaceBegin = flight.pPlace->gate.Begin();
    ++flight.pLane->nInFlight;
    m_nFlightBytes += flight.nBytes;
}

bool Courier::IsKnown(ReportId id) const
{
    return m_mapFlight.count(id) > 0 || m_backlog.Find(id) != nullptr || m_retries.Find(id) != nullptr ||
           std::find(m_vecEnded.begin(), m_vecEnded.end(), id) != m_vecEnded.end();
}

std::optional<ReportId> Courier::Wants(TimePoint tpNow)
{
    if (tpNow < m_tpReadAgain || !Fits(TO_READ_BYTES)) {
        return std::nullopt;
    }
    m_retryRead = m_retries.Due(tpNow, [&](const Retries::Note& note) {
        const Lane& lane = *note.pLane;
        return lane.pServer->gate.Room(tpNow) > lane.pServer->nHeld && lane.pPlace->gate.Room(tpNow) > 0;
    });
    const std::optional<ReportId> after = m_retryRead ? Before(*m_retryRead) : m_backlog.Wants(tpNow);
    m_mostRead = m_lstAdding.empty() ? std::nullopt : std::make_optional(m_lstAdding.front());
    m_vecEnded.clear();
    m_bEndedMore = false;
    return after;
}

void Courier::Accept(std::optional<Waiting>&& waiting, TimePoint tpNow)
{
    if (m_bEndedMore || (waiting && m_mostRead && *m_mostRead < waiting->id)) {
        m_tpReadAgain = tpNow + READ_AGAIN;
        return;
    }
    if (m_retryRead) {
        AcceptRetry(*m_retryRead, std::move(waiting));
    } else if (waiting) {
        const bool bKnown = IsKnown(waiting->id);
        m_backlog.Take(std::move(*waiting), bKnown, tpNow);
    } else {
        m_backlog.TakeEnd();
    }
}

/// If the noted report is not there, an operator has ended it, or the disk could not be read.
void Courier::AcceptRetry(ReportId id, std::optional<Waiting>&& waiting)
{
    Lane& lane = *m_retries.Find(id)->pLane;
    if (waiting && waiting->id == id) {
        m_backlog.HoldRetry(std::move(*waiting), lane);
        m_retries.Load(id);
    } else {
        m_retries.Forget(id);
        m_backlog.Return(lane, id);
    }
}

std::optional<Courier::Departure> Courier::TakeDue(TimePoint tpNow)
{
    const std::optional<ReportId> id =
        m_rate.Next() > tpNow ? std::optional<ReportId>() : m_backlog.Next(tpNow);
    if (!id) {
        return std::nullopt;
    }
    const Held& held = *m_backlog.Find(*id);
    Flight flight;
    flight.id = *id;
    flight.pLane = held.pLane;
    flight.pPlace = held.pPlace;
    flight.nBytes = held.nBytes;
    flight.nType = held.report.nType;
    flight.strKey = held.report.strKey;
    Flight& inMap = m_mapFlight.try_emplace(*id, std::move(flight)).first->second;
    m_rate.Take(tpNow);
    Depart(inMap);
    return Departure{&inMap, std::move(m_backlog.Release(*id).report)};
}

std::optional<TimePoint> Courier::Next(TimePoint tpNow) const
{
    std::optional<TimePoint> next = m_retries.NextAfter(tpNow);
    const auto fnEarlier = [&](TimePoint tp) {
        if (tp > tpNow && (!next || tp < *next)) {
            next = tp;
        }
    };
    if (!HasBacklog()) {
        return next;
    }
    fnEarlier(m_tpReadAgain);
    if (m_backlog.Count() > 0) {
        fnEarlier(m_rate.Next());
    }
    for (const auto& [strName, server] : m_routes.Servers()) {
        fnEarlier(server.gate.Due());
    }
    for (const auto& [strName, place] : m_routes.Places()) {
        fnEarlier(place.gate.Due());
    }
    return next;
}

bool Courier::HasBacklog() const
{
    return m_backlog.Count() > 0 || m_retries.Count() > 0 || m_backlog.HasMore();
}

void Courier::Hasten(const std::string& strServer, TimePoint tpNow) noexcept
{
    if (const Server* const pServer = m_routes.Hasten(strServer)) {
        m_retries.Hasten(*pServer, tpNow);
    }
}

bool Courier::IsInAlarm() const
{
    const auto& places = m_routes.Places();
    return std::any_of(places.begin(), places.end(),
                       [](const auto& entry) { return entry.second.gate.Failures() > 0; });
}

} // namespace outbox
