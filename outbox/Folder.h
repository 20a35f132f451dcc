#pragma once

#include "Disk.h"
#include "RecordScan.h"

#include <cstdint>
#include <string>
#include <vector>

namespace outbox
{

inline constexpr const char* RUNS_FOLDER = "runs";
inline constexpr const char* DEAD_FOLDER = "dead";
inline constexpr const char* BAD_FOLDER = "bad";

struct FolderLimits {
    std::uint64_t nBytes = 1U << 30U;        ///< that the whole folder may take
    std::uint64_t nFree = 256U << 20U;       ///< bytes of the disk that are left to others
    std::uint64_t nSegmentBytes = 4U << 20U; ///< of a segment, unless a record is larger
};

struct FolderUse {
    std::uint64_t nBytes = 0;
    std::uint64_t nDead = 0; ///< dead letters
    std::uint64_t nBad = 0;  ///< damaged pieces that were set aside
};

/// The outbox's folder as a whole, which several processes share. May be used from any thread.
class Folder
{
public:
    Folder(Disk& disk, const FolderLimits& limits) : m_disk(disk), m_limits(limits) {}

    Disk& Files() const { return m_disk; }
    std::uint64_t SegmentBytes() const { return m_limits.nSegmentBytes; }

    /// Creates the folders in it that are missing.
    std::error_code Prepare();

    /// Why nothing of that size may be added; empty if it may.
    std::string WhyNoRoomFor(std::uint64_t nBytes) const;

    FolderUse Measure() const;

    /// The names of all runs, whoever owns them.
    std::error_code ListRuns(std::vector<std::string>& vecRuns) const;

    /// Copies a damaged piece of a file to the folder for them, unless it is there already.
    std::error_code SetAside(const DiskFile& file, const RecordScan::Piece& piece,
                             const std::string& strName);

private:
    Disk& m_disk;
    const FolderLimits m_limits;
};

} // namespace outbox
