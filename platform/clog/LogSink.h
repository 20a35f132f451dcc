#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>

namespace spdlog::sinks
{
class sink;
}

/// Opens the log file for a logger. A line that would make it longer than nMostBytes puts it aside first: as
/// number 1, number 1 as number 2 and so on, up to nFilesAside; the one behind that goes.
///
/// Linux: the files are for their owner alone, and only regular files are written, see PrivateFile.h.
/// Windows: spdlog's own sink.
/// @throw std::exception that says why it can't be written
std::shared_ptr<spdlog::sinks::sink> OpenLogFile(const std::filesystem::path& path, std::size_t nMostBytes,
                                                 std::size_t nFilesAside);

/// Whether the file of a sink that `OpenLogFile` gave is still at its path. One that was removed, moved away
/// or replaced under us would take our lines to where nobody reads them. Windows: whether there is any file.
bool IsLogFileInPlace(const spdlog::sinks::sink& sink, const std::filesystem::path& path);
