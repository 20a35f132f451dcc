#include "Backlog.h"

#include <algorithm>
#include <utility>

namespace outbox
{
namespace
{

// How many reports of a lane, and of a server, are read ahead.
constexpr std::size_t ORDERED_AHEAD = 8;
constexpr std::size_t UNORDERED_AHEAD = 64;
constexpr std::size_t SERVER_AHEAD = 256;

std::size_t Ahead(const Lane& lane)
{
    return lane.bOrdered ? ORDERED_AHEAD : UNORDERED_AHEAD;
}

/// Whether a report of a lane may be read into memory.
bool HasRoom(const Lane& lane, const Place& place, TimePoint tpNow)
{
    const std::size_t nRoom = std::min(place.pServer->gate.Room(tpNow), place.gate.Room(tpNow));
    return lane.nHeld < std::min(Ahead(lane), nRoom) &&
           place.pServer->nHeld < std::min(SERVER_AHEAD, nRoom) && !(lane.bOrdered && lane.nRetries > 0);
}

/// Whether it is time to read more of a lane that has room. Not for each report by itself: a pass serves all.
bool RunsLow(const Lane& lane)
{
    return lane.nHeld <= Ahead(lane) / 2 && lane.pServer->nHeld <= SERVER_AHEAD / 2;
}

} // namespace

std::optional<ReportId> Backlog::Wants(TimePoint tpNow)
{
    if (m_bPasses && std::exchange(m_bCheck, false) && !IsPassUseful(tpNow)) {
        FinishPass(false);
    }
    if (!m_bPasses && !BeginPass(tpNow)) {
        return std::nullopt;
    }
    ++m_nRead;
    return m_pos;
}

bool Backlog::BeginPass(TimePoint tpNow)
{
    std::optional<ReportId> from;
    bool bNeeded = m_bUnknown;
    if (m_bUnknown) {
        from = m_known;
    }
    for (const auto& [strName, lane] : m_routes.AllLanes()) {
        if (lane.bMore && HasRoom(lane, *lane.pPlace, tpNow)) {
            from = from ? std::min(*from, lane.cursor) : lane.cursor;
            bNeeded = bNeeded || RunsLow(lane);
        }
    }
    if (!bNeeded) {
        return false;
    }
    ++m_nPass;
    m_from = m_pos = *from;
    m_bPasses = true;
    m_bCheck = false;
    return true;
}

bool Backlog::IsPassUseful(TimePoint tpNow)
{
    const Routes::Lanes& lanes = m_routes.AllLanes();
    return m_bUnknown || std::any_of(lanes.begin(), lanes.end(), [&](const auto& entry) {
               const Lane& lane = entry.second;
               return lane.bMore && lane.nPassedOver != m_nPass && !(lane.cursor < m_from) &&
                      HasRoom(lane, *lane.pPlace, tpNow);
           });
}

void Backlog::FinishPass(bool bEnd)
{
    for (auto& [strName, lane] : m_routes.AllLanes()) {
        if (!lane.bMore || lane.nPassedOver == m_nPass || lane.cursor < m_from) {
            continue;
        }
        lane.cursor = std::max(lane.cursor, m_pos);
        if (bEnd && lane.nAddedRead != m_nRead) {
            lane.bMore = lane.again.has_value();
            lane.cursor = lane.again.value_or(lane.cursor);
            lane.again.reset();
        }
    }
    m_bUnknown = m_bUnknown && !bEnd;
    m_bPasses = false;
}

void Backlog::Take(Waiting&& waiting, bool bKnown, TimePoint tpNow)
{
    const ReportId id = waiting.id;
    Place& place = m_routes.PlaceOf(waiting.report);
    Lane* pLane = m_routes.FindLane(waiting.report, place);
    if (pLane == nullptr) {
        pLane = &m_routes.MakeLane(waiting.report, place);
        pLane->cursor = Before(id);
        pLane->bMore = true;
    }
    Lane& lane = *pLane;
    const bool bIsNext = lane.nPassedOver != m_nPass && !(lane.cursor < m_from);
    if (!bKnown && lane.bMore && lane.cursor < id) {
        if (bIsNext && HasRoom(lane, place, tpNow)) {
            Hold(std::move(waiting), lane, place, false);
            lane.cursor = id;
        } else {
            lane.nPassedOver = m_nPass;
        }
        if (lane.bOrdered && bIsNext) {
            lane.pPlace = &place; // on which its next report depends
        }
        m_bCheck = true;
    }
    m_pos = id;
    m_known = std::max(m_known, id);
}

void Backlog::HoldRetry(Waiting&& waiting, Lane& lane)
{
    Place& place = m_routes.PlaceOf(waiting.report);
    Hold(std::move(waiting), lane, place, true);
}

void Backlog::Hold(Waiting&& waiting, Lane& lane, Place& place, bool bRetry)
{
    const std::size_t nBytes = BytesOf(waiting.report);
    const ReportId id = waiting.id;
    m_mapHeld.try_emplace(id, Held{std::move(waiting.report), &lane, &place, nBytes, bRetry});
    m_nBytes += nBytes;
    ++lane.nHeld;
    ++place.pServer->nHeld;
}

std::optional<ReportId> Backlog::Next(TimePoint tpNow)
{
    ++m_nLook;
    for (const auto& [id, held] : m_mapHeld) {
        Lane& lane = *held.pLane;
        const bool bWaitsForOlder = lane.bOrdered && (lane.nInFlight > 0 || lane.nLooked == m_nLook);
        lane.nLooked = m_nLook;
        if (!bWaitsForOlder && lane.pServer->gate.Room(tpNow) > 0 && held.pPlace->gate.Room(tpNow) > 0) {
            return id;
        }
    }
    return std::nullopt;
}

const Held* Backlog::Find(ReportId id) const
{
    const auto found = m_mapHeld.find(id);
    return found == m_mapHeld.end() ? nullptr : &found->second;
}

Held Backlog::Release(ReportId id)
{
    auto node = m_mapHeld.extract(id);
    Held held = std::move(node.mapped());
    m_nBytes -= held.nBytes;
    --held.pLane->nHeld;
    --held.pPlace->pServer->nHeld;
    return held;
}

/// Of a stream, what comes after a dropped report is dropped too: it must not be sent before that one.
void Backlog::Drop(const std::function<bool(const Held&)>& fnWhich,
                   const std::function<void(ReportId)>& fnDropped)
{
    ++m_nLook;
    for (auto it = m_mapHeld.begin(); it != m_mapHeld.end();) {
        const auto itThis = it++;
        Lane& ofThis = *itThis->second.pLane;
        const bool bWaitsForDropped = ofThis.bOrdered && ofThis.nLooked == m_nLook;
        if (!bWaitsForDropped && !fnWhich(itThis->second)) {
            continue;
        }
        ofThis.nLooked = m_nLook;
        const ReportId id = itThis->first;
        const Held held = Release(id);
        if (held.bRetry) {
            fnDropped(id);
        } else {
            Lane& lane = *held.pLane;
            lane.cursor = std::min(lane.cursor, Before(id));
            lane.bMore = true;
            lane.nPassedOver = m_nPass;
        }
    }
    m_bCheck = true;
}

void Backlog::Add(Lane& lane, ReportId id)
{
    const bool bFirst = !lane.bMore && !m_bUnknown;
    lane.cursor = bFirst ? Before(id) : std::min(lane.cursor, Before(id));
    lane.bMore = true;
    lane.nAddedRead = m_nRead;
}

void Backlog::Return(Lane& lane, ReportId id)
{
    if (lane.bOrdered) {
        lane.cursor = std::min(lane.cursor, Before(id));
        lane.nPassedOver = m_nPass;
    } else {
        lane.again = std::min(lane.again.value_or(Before(id)), Before(id));
    }
    lane.bMore = true;
    lane.nAddedRead = m_nRead;
    m_bCheck = true;
}

void Backlog::Introduce(Lane& lane) const
{
    lane.bMore = m_bUnknown;
    lane.cursor = m_known;
}

void Backlog::Rewind()
{
    for (auto& [strName, lane] : m_routes.AllLanes()) {
        lane.cursor = ReportId();
        lane.bMore = true;
        lane.again.reset();
    }
    m_known = ReportId();
    m_bUnknown = true;
    m_bPasses = false;
}

bool Backlog::HasMore() const
{
    const Routes::Lanes& lanes = m_routes.AllLanes();
    return m_bUnknown ||
           std::any_of(lanes.begin(), lanes.end(), [](const auto& entry) { return entry.second.bMore; });
}

} // namespace outbox
