#pragma once

#include "Disk.h"
#include "RecordScan.h"
#include "Report.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace outbox
{

/// Damage that was found in a segment.
struct SegmentDamage {
    std::vector<RecordScan::Piece> vecBad;
    std::uint64_t nTorn = 0;
};

/// Where a record stands in its segment: some records behind a known place.
struct RecordPlace {
    std::uint64_t nOffset = 0;
    std::uint64_t nSteps = 0;
};

/// A file of records and, beside it, the file that says which of them have ended. In memory a record costs a
/// bit. Used by one thread at a time, except for files that it has given away.
class Segment
{
public:
    /// No segment holds more records: the room for their endings is reserved with the segment.
    static constexpr std::uint64_t MOST_RECORDS = 10'000;

    /// @param strFolder  of the run
    Segment(Disk& disk, std::string strFolder, std::string strRun, std::uint32_t nNumber);

    static std::string FileName(std::uint32_t nNumber, const char* szSuffix);

    /// How much of the disk a new segment reserves beyond that of its records.
    static constexpr std::uint64_t RESERVED_FOR_ENDINGS = MOST_RECORDS * 48;

    /// Creates the files, to be written.
    std::error_code Create(std::uint64_t nBytes);

    /// Reads existing files. If this fails, the segment is as it was. Those that have ended stay so.
    std::error_code Load(SegmentDamage& damage);

    bool HasRoomFor(std::size_t nBytes) const;

    /// @param nSequence  greater than those before
    std::error_code Append(std::uint64_t nSequence, std::string_view strRecord);

    /// Nothing more will be appended.
    void Seal();
    bool IsSealed() const { return m_bSealed; }

    bool IsWaiting(std::uint64_t nSequence) const;
    /// The first one after that one that has not ended.
    std::optional<std::uint64_t> WaitingAfter(std::uint64_t nSequence) const;
    std::uint64_t CountWaiting() const { return m_nWaiting; }
    std::uint64_t LastSequence() const { return m_nFirst + m_vecEnded.size() - 1; }
    std::uint64_t FirstSequence() const { return m_nFirst; }
    RecordPlace PlaceOf(std::uint64_t nSequence) const;

    /// Notes an ending, on the disk too; if the disk refuses, `WriteEndings` tries again.
    void End(std::uint64_t nSequence, Ending eEnding);
    /// Notes an ending that stands on the disk already.
    void MarkEnded(std::uint64_t nSequence);
    std::error_code WriteEndings();

    /// The sequence numbers in the `.ack` file.
    std::error_code ReadEndings(std::vector<std::uint64_t>& vecEnded) const;

    /// The open file, or a new one to read from.
    std::shared_ptr<DiskFile> File(std::error_code& error) const;

    /// Syncs a segment that was found.
    std::error_code SyncFound();
    /// Gives back the room that nothing will fill in a segment that was found. That of the endings that may
    /// still come is kept, so that a full disk doesn't refuse them.
    void GiveBackRoom();

    /// What has to be synced: null for nothing.
    std::shared_ptr<DiskFile> Unsynced() const { return m_nBytes > m_nSynced ? m_pFile : nullptr; }
    std::uint64_t Bytes() const { return m_nBytes; }
    /// The first bytes are on the disk.
    void NoteSynced(std::uint64_t nBytes);
    /// The file of endings, if there are any that have not been synced; they count as synced from now on.
    std::shared_ptr<DiskFile> TakeUnsyncedEndings();

    std::uint32_t Number() const { return m_nNumber; }
    std::error_code Remove();

    bool bEntrySynced = false; ///< its name is on the disk
    bool bDoubtful = false;    ///< a sync failed: nobody knows what of it is on the disk
    bool bMoving = false;      ///< its records are being written anew; the new ones count
    bool bKept = false;        ///< is not removed, because it has damage that could not be set aside

private:
    struct Mark {
        std::uint64_t nSequence;
        std::uint64_t nOffset;
    };

    void Note(std::uint64_t nSequence, std::uint64_t nOffset, std::uint64_t nBytes);
    std::string Path(const char* szSuffix) const;

    Disk& m_disk;
    const std::string m_strFolder;
    const std::string m_strRun;
    const std::uint32_t m_nNumber;

    std::shared_ptr<DiskFile> m_pFile;    ///< open while it is written or not synced
    std::shared_ptr<DiskFile> m_pEndings; ///< open since the last ending
    std::string m_strOwed;                ///< endings that could not be written
    bool m_bEndingsUnsynced = false;

    bool m_bSealed = true;
    std::uint64_t m_nRoom = 0; ///< bytes that may be appended
    std::uint64_t m_nBytes = 0;
    std::uint64_t m_nSynced = 0;
    std::uint64_t m_nFirst = 1;   ///< sequence number of the first record
    std::vector<bool> m_vecEnded; ///< from the first record on; those that are missing have ended
    std::uint64_t m_nWaiting = 0;
    std::vector<Mark> m_vecMarks; ///< places of some records; between two of them no record is missing
    std::uint64_t m_nEnd = 0;     ///< where the last noted record ends
};

} // namespace outbox
