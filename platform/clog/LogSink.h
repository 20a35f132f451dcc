#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>

namespace spdlog::sinks
{
class sink;
}

/// Opens the log file for a logger. Before a line that would make it longer than nMostBytes, the files are
/// rotated: the log file becomes number 1, number 1 becomes number 2, and so on up to nFilesAside; the oldest
/// one is deleted.
///
/// Linux: only their owner can access the files, and only regular files are written, see PrivateFile.h.
/// Windows: spdlog's own sink.
/// @throw std::exception that says why it can't be written
std::shared_ptr<spdlog::sinks::sink> OpenLogFile(const std::filesystem::path& path, std::size_t nMostBytes,
                                                 std::size_t nFilesAside);

/// Whether the file of a sink made by `OpenLogFile` is still at its path. Nobody would read lines written to
/// a file that was removed, moved away or replaced. Windows: whether there is any file at the path.
bool IsLogFileInPlace(const spdlog::sinks::sink& sink, const std::filesystem::path& path);
