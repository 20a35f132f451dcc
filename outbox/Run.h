#pragma once

#include "Folder.h"
#include "Report.h"
#include "Segment.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace outbox
{

/// The reports that one process has stored, in a folder of their own. Whoever holds the folder's lock owns
/// the run. Used by one thread at a time.
class Run
{
public:
    /// A record, and the open file that it is in.
    struct Place {
        std::shared_ptr<Segment> pSegment;
        std::uint64_t nSequence = 0;
        RecordPlace place;
        std::shared_ptr<DiskFile> pFile; ///< null if it can't be opened
        std::error_code error;
    };

    /// Creates a run of this process.
    static std::shared_ptr<Run> Make(Folder& folder, std::error_code& error);

    /// Takes a run whose owner is gone, and reads it.
    /// @param error  `device_or_resource_busy` if the owner is still there
    static std::shared_ptr<Run> Take(Folder& folder, const std::string& strName, std::error_code& error);

    /// For a run that is only looked at: no lock, nothing is written.
    Run(Folder& folder, std::string strName, std::unique_ptr<DiskLock> pLock);

    const std::string& Name() const { return m_strName; }
    std::string Path() const { return std::string(RUNS_FOLDER) + "/" + m_strName; }

    /// Reads the segments that are there and have not been read.
    /// @return the last error; what could be read is there nevertheless
    std::error_code LoadMissing();
    bool HasUnread() const { return m_bUnread; }
    /// How many torn records were found.
    std::uint64_t CountTorn() const { return m_nTorn; }
    /// The names under which damaged pieces are set aside.
    const std::vector<std::string>& Damages() const { return m_vecDamages; }

    /// Appends a report, and sets its key if it has none.
    /// @param bMayGrow   whether a new segment may be created
    /// @param strWhyNot  set if it is tried and fails
    std::optional<std::uint64_t> Add(Report& report, bool bMayGrow, std::string& strWhyNot);

    void End(std::uint64_t nSequence, Ending eEnding);
    void WriteEndings();

    bool IsWaiting(std::uint64_t nSequence) const;
    std::uint64_t CountWaiting() const;
    /// The first report after that one that has not ended.
    std::optional<Place> WaitingAfter(std::uint64_t nSequence) const;
    std::optional<Place> PlaceOf(std::uint64_t nSequence) const;
    /// Reads a segment again that turned out to be damaged.
    std::error_code Reload(Segment& segment);

    const std::vector<std::shared_ptr<Segment>>& Segments() const { return m_vecSegments; }

    /// Writes what is waiting in a segment to a new one. Until `EndMove`, both are there.
    /// @return null if that fails
    std::shared_ptr<Segment> BeginMove(const std::shared_ptr<Segment>& pFrom, std::error_code& error);
    /// @param bSynced  whether the new segment is on the disk; if not, it is removed
    void EndMove(const std::shared_ptr<Segment>& pFrom, const std::shared_ptr<Segment>& pTo, bool bSynced);

    /// Nothing more will be added.
    void Seal();
    /// Nothing of it waits, and all of it was read.
    bool IsOver() const { return m_vecSegments.empty() && !m_bUnread; }
    /// Removes the folder of a run that is over.
    void Remove();

private:
    std::error_code Open(std::uint64_t nBytes, std::shared_ptr<Segment>& pSegment);
    std::error_code Load(const std::shared_ptr<Segment>& pSegment);
    void SyncFound();
    void GiveBackRoom();
    void Resolve(Segment& older, Segment& newer) const;
    void SetAside(Segment& segment, const SegmentDamage& damage);
    void RemoveEnded();
    static std::optional<Place> Opened(const std::shared_ptr<Segment>& pSegment, std::uint64_t nSequence);

    Folder& m_folder;
    const std::string m_strName;
    std::unique_ptr<DiskLock> m_pLock;
    std::vector<std::shared_ptr<Segment>> m_vecSegments; ///< by number
    std::shared_ptr<Segment> m_pCurrent;                 ///< to which is appended
    std::uint32_t m_nLastNumber = 0;
    std::uint64_t m_nLastSequence = 0;
    bool m_bUnread = false;
    std::uint64_t m_nTorn = 0;
    std::vector<std::string> m_vecDamages; ///< names of the damaged pieces
};

} // namespace outbox
