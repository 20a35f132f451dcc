#pragma once

#include "Routes.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace outbox
{

/// Notes about reports that failed: how often, and when each of them is to be tried again. Only their ids are
/// in memory, and only a limited number of them; a report for which there is no room is tried again in its
/// turn, without being counted.
///
/// Threads: none of its own; its owner guards it.
class Retries
{
    using Times = std::set<std::pair<TimePoint, ReportId>>;

public:
    struct Note {
        Lane* pLane = nullptr;
        unsigned nTries = 0;
        unsigned nRefusals = 0; ///< of these, those that count towards the end of the tries
        TimePoint tpDue{};
        Times::node_type due; ///< while it does not wait: what it will need in order to wait again
    };

    static constexpr std::size_t MOST = 1'000;

    const Note* Find(ReportId id) const;

    /// Notes a failure.
    /// @return nothing if there is no room for another report
    /// @throws std::bad_alloc
    Note* Add(ReportId id, Lane& lane);
    /// From now on the noted report waits for its time.
    /// @throws std::bad_alloc, if it has never waited before
    void Wait(ReportId id, TimePoint tpDue);
    /// The noted report waits for the same time again.
    void WaitAgain(ReportId id);
    /// The noted report has been read into memory.
    void Load(ReportId id);
    void Forget(ReportId id);
    /// The time of all reports for a server has come.
    void Hasten(const Server& server, TimePoint tpNow) noexcept;

    /// The first report whose time has come and that `fnMay` lets pass.
    std::optional<ReportId> Due(TimePoint tpNow, const std::function<bool(const Note&)>& fnMay) const;
    /// The next time after this at which one is due.
    std::optional<TimePoint> NextAfter(TimePoint tpNow) const;

    std::size_t Count() const { return m_mapNote.size(); }
    std::size_t Waiting() const { return m_setDue.size(); }

private:
    std::map<ReportId, Note> m_mapNote;
    Times m_setDue; ///< of those that wait
};

} // namespace outbox
