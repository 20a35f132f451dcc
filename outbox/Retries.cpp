#include "Retries.h"

namespace outbox
{

const Retries::Note* Retries::Find(ReportId id) const
{
    const auto found = m_mapNote.find(id);
    return found == m_mapNote.end() ? nullptr : &found->second;
}

Retries::Note* Retries::Add(ReportId id, Lane& lane)
{
    if (const auto found = m_mapNote.find(id); found != m_mapNote.end()) {
        return &found->second;
    }
    if (m_mapNote.size() >= MOST) {
        return nullptr;
    }
    Note& note = m_mapNote[id];
    note.pLane = &lane;
    ++lane.nRetries;
    return &note;
}

void Retries::Wait(ReportId id, TimePoint tpDue)
{
    Note& note = m_mapNote.at(id);
    if (note.due.empty()) {
        m_setDue.emplace(tpDue, id);
    } else {
        note.due.value() = {tpDue, id};
        m_setDue.insert(std::move(note.due));
    }
    note.tpDue = tpDue;
}

void Retries::WaitAgain(ReportId id)
{
    if (const auto found = m_mapNote.find(id); found != m_mapNote.end()) {
        Wait(id, found->second.tpDue);
    }
}

void Retries::Load(ReportId id)
{
    Note& note = m_mapNote.at(id);
    note.due = m_setDue.extract({note.tpDue, id});
}

void Retries::Forget(ReportId id)
{
    const auto found = m_mapNote.find(id);
    if (found != m_mapNote.end()) {
        m_setDue.erase({found->second.tpDue, id});
        --found->second.pLane->nRetries;
        m_mapNote.erase(found);
    }
}

void Retries::Hasten(const Server& server, TimePoint tpNow) noexcept
{
    for (auto& [id, note] : m_mapNote) {
        if (note.pLane->pServer == &server && note.due.empty() && note.tpDue > tpNow) {
            auto node = m_setDue.extract({note.tpDue, id});
            node.value().first = note.tpDue = tpNow;
            m_setDue.insert(std::move(node));
        }
    }
}

std::optional<ReportId> Retries::Due(TimePoint tpNow, const std::function<bool(const Note&)>& fnMay) const
{
    for (const auto& [tpDue, id] : m_setDue) {
        if (tpDue > tpNow) {
            break;
        }
        if (fnMay(m_mapNote.at(id))) {
            return id;
        }
    }
    return std::nullopt;
}

std::optional<TimePoint> Retries::NextAfter(TimePoint tpNow) const
{
    const auto next = m_setDue.lower_bound({tpNow + TimePoint::duration(1), ReportId()});
    return next == m_setDue.end() ? std::nullopt : std::make_optional(next->first);
}

} // namespace outbox
