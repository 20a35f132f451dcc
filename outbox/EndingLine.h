#pragma once

#include "Report.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace outbox
{

/// The word for an ending in files.
const char* WordOf(Ending eEnding);

/// No line is longer, its line end included.
inline constexpr std::size_t MOST_ENDING_BYTES = 48;

/// A line of an `.ack` file, which says that a report has ended.
std::string WriteEnding(std::string_view strRun, std::uint64_t nSequence, Ending eEnding);

/// The sequence number of a line without its line end; nothing if the line is damaged.
std::optional<std::uint64_t> ReadEnding(std::string_view strRun, std::string_view strLine);

} // namespace outbox
