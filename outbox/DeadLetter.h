#pragma once

#include "Disk.h"
#include "Record.h"
#include "Report.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace outbox
{

/// A report that is not tried any more.
struct DeadLetter {
    std::string strRun;
    Record record;
    std::string strEnding;     ///< dead or parked
    std::string strWhy;        ///< in words
    int nStatus = 0;           ///< what the transport reported: an HTTP status or a negative number
    std::int64_t nEndedMs = 0; ///< milliseconds since 1970 (UTC)
};

/// Why and when it ended.
struct DeadLetterCause {
    Ending eEnding = Ending::Dead;
    std::string_view strWhy;
    int nStatus = 0;
    std::int64_t nEndedMs = 0;
};

/// The file name of a dead letter.
std::string DeadLetterName(const std::string& strRun, std::uint64_t nSequence);

/// Writes a dead letter, and brings it onto the disk. An existing one of the same report is replaced.
/// @param strRecord  as it stands in the segment
std::error_code WriteDeadLetter(Disk& disk, const std::string& strRun, std::uint64_t nSequence,
                                std::string_view strRecord, const DeadLetterCause& cause);

/// @param strBytes  the content of the file
/// @return nothing if it is damaged
std::optional<DeadLetter> ParseDeadLetter(const std::string& strName, std::string_view strBytes);

/// @param error  set if the file can't be read
std::optional<DeadLetter> ReadDeadLetter(const Disk& disk, const std::string& strName,
                                         std::error_code& error);

} // namespace outbox
