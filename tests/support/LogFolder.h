#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

/// The lines of a file without their ends; none when it does not exist.
std::vector<std::string> LinesOf(const std::filesystem::path& pathFile);

/// A temporary folder for the log of this process, named in CLOG_DIR. Create it before the first line is
/// logged; the folder is removed with the object.
class LogFolder
{
public:
    LogFolder();
    ~LogFolder();
    LogFolder(const LogFolder&) = delete;
    LogFolder& operator=(const LogFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

    /// The path of the log file, or of the rotated one with the number nAside.
    std::filesystem::path File(std::size_t nAside = 0) const;

    /// The lines of that file.
    std::vector<std::string> Lines(std::size_t nAside = 0) const { return LinesOf(File(nAside)); }

private:
    std::filesystem::path m_path;
};
