#pragma once

#include "Line.h"
#include "Report.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace outbox
{

// The format is described in docs/outbox-format.md.

/// A stored report.
struct Record {
    std::uint64_t nSequence = 0; ///< within its run, from 1
    Report report;
};

/// The first line of a record up to its head.
struct RecordFrame {
    std::uint32_t nCrc = 0;
    std::size_t nBegin = 0; ///< of the head
    std::size_t nHead = 0;
    std::size_t nBody = 0;

    std::size_t Bytes() const { return nBegin + nHead + nBody + 2; }
};

/// Every record begins with these bytes.
inline constexpr std::string_view RECORD_MARK = "R1 ";

/// No frame is longer.
inline constexpr std::size_t MOST_FRAME_BYTES = 40;

/// No record is longer. A larger report can't be kept.
inline constexpr std::size_t MOST_RECORD_BYTES = 64U << 20U;

/// @param strRun  the name of the run that the record belongs to
std::string WriteRecord(std::string_view strRun, std::uint64_t nSequence, const Report& report);

/// Reads the first line of a record, whose checksum may still be wrong.
Reading ReadFrame(std::string_view bytes, RecordFrame& frame);

/// Reads a record from the beginning of the bytes.
/// @param nBytes  gets its length if it is whole
Reading ReadRecord(std::string_view strRun, std::string_view bytes, Record& record, std::size_t& nBytes);

} // namespace outbox
