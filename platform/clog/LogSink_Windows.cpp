#include "LogSink.h"

#include <spdlog/sinks/rotating_file_sink.h>

#include <system_error>

std::shared_ptr<spdlog::sinks::sink> OpenLogFile(const std::filesystem::path& path, std::size_t nMostBytes,
                                                 std::size_t nFilesAside)
{
    return std::make_shared<spdlog::sinks::rotating_file_sink_st>(path.native(), nMostBytes, nFilesAside);
}

bool IsLogFileInPlace(const spdlog::sinks::sink& /*sink*/, const std::filesystem::path& path)
{
    std::error_code error;
    return std::filesystem::exists(path, error);
}
