#pragma once

#include "Routes.h"
#include "Shelf.h"

#include <functional>
#include <map>
#include <optional>

namespace outbox
{

/// A report of the backlog that is in memory and waits to be sent.
struct Held {
    Report report;
    Lane* pLane = nullptr;
    Place* pPlace = nullptr;
    std::size_t nBytes = 0;
    bool bRetry = false; ///< it was loaded by itself, because its own time had come
};

/// Decides which waiting reports are read from the disk, and in which order they are sent. However many wait,
/// only a few are in memory: each lane has a cursor, and a *pass* reads the backlog from the lowest cursor of
/// a lane that runs out of reports. A report whose lane can't take it stays where it is, and so does its
/// lane's cursor; a later pass comes back for it. So a server that is down, or a stream that waits, stops
/// nobody else.
///
/// Threads: none of its own; its owner guards it.
class Backlog
{
public:
    explicit Backlog(Routes& routes) : m_routes(routes) {}

    /// The id after which the disk should be read next; nothing if there is no need.
    std::optional<ReportId> Wants(TimePoint tpNow);

    /// Takes what the pass has read: either keeps it in memory or leaves it where it is.
    /// @param bKnown  it is in memory, on its way or noted already
    /// @throws std::bad_alloc; then the same report is read again
    void Take(Waiting&& waiting, bool bKnown, TimePoint tpNow);
    /// The pass has reached the end of the disk.
    void TakeEnd() { FinishPass(true); }

    /// Keeps a report in memory that was read outside of a pass.
    /// @throws std::bad_alloc
    void HoldRetry(Waiting&& waiting, Lane& lane);

    /// The oldest report that may be sent now; its id, or nothing.
    std::optional<ReportId> Next(TimePoint tpNow);
    const Held* Find(ReportId id) const;
    Held Release(ReportId id); ///< of one that is in memory

    /// Removes reports from memory; they are read again later.
    /// @param fnDropped  gets those that were not read by a pass
    void Drop(const std::function<bool(const Held&)>& fnWhich,
              const std::function<void(ReportId)>& fnDropped);

    /// A report was added to the disk and waits there.
    void Add(Lane& lane, ReportId id);
    /// A report of a lane is to be read again: at once, in order, or else after all others.
    void Return(Lane& lane, ReportId id);
    /// Of a lane that is new: there may be reports of it on the disk which nobody has looked at yet.
    void Introduce(Lane& lane) const;
    /// Everything is to be read again.
    void Rewind();

    std::size_t Count() const { return m_mapHeld.size(); }
    std::size_t Bytes() const { return m_nBytes; }
    /// Whether there may be something to read, now or later.
    bool HasMore() const;

    /// For tests: how often the disk was read.
    std::uint64_t Reads() const { return m_nRead; }

private:
    bool BeginPass(TimePoint tpNow);
    bool IsPassUseful(TimePoint tpNow);
    void FinishPass(bool bEnd);
    void Hold(Waiting&& waiting, Lane& lane, Place& place, bool bRetry);

    Routes& m_routes;
    std::map<ReportId, Held> m_mapHeld;
    std::size_t m_nBytes = 0;
    std::uint64_t m_nLook = 0;

    bool m_bUnknown = true; ///< beyond `m_known` nobody has looked at what lies there
    ReportId m_known;

    bool m_bPasses = false; ///< a pass is under way
    bool m_bCheck = false;  ///< whether it still serves anyone has to be found out
    std::uint64_t m_nPass = 0;
    std::uint64_t m_nRead = 0;
    ReportId m_from; ///< where the pass began
    ReportId m_pos;  ///< the last report that it read
};

/// What a report takes in memory.
inline std::size_t BytesOf(const Report& report)
{
    return report.strBody.size() + report.strUrl.size() + report.strHeader.size();
}

} // namespace outbox
