#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include <sys/types.h>

// Not on Windows, where a file inherits its rights from its folder.

/// A regular file that text is appended to and that only its owner can access: its mode becomes 0600,
/// whatever the umask and its previous mode, unless it belongs to another user or its file system has no
/// modes.
///
/// Objects may be used by one thread at a time.
class PrivateFile
{
public:
    /// Opens the file, or creates it. A symbolic link is not followed, and only a regular file is opened, so
    /// the call waits for nothing except, up to 0.1 s, for the holder of a lease on the file.
    /// @throw std::exception that says why not
    explicit PrivateFile(const std::filesystem::path& path);
    ~PrivateFile();
    PrivateFile(const PrivateFile&) = delete;
    PrivateFile& operator=(const PrivateFile&) = delete;
    PrivateFile(PrivateFile&& other) noexcept;
    PrivateFile& operator=(PrivateFile&& other) noexcept;

    /// The file's size in bytes, whoever wrote them.
    /// @throw std::system_error
    std::uintmax_t Size() const;

    /// Whether the file is still at its path, and was not removed, moved away or replaced.
    bool IsInPlace() const;

    /// Appends all of the text to the file.
    /// @throw std::system_error; a part of the text may be in the file then
    void Append(std::string_view text);

    /// @throw std::system_error
    void Truncate();

private:
    std::string m_strPath;
    int m_nDescriptor;
    dev_t m_nDevice; ///< together with m_nFile, identifies the file
    ino_t m_nFile;
};

/// Gives a regular file of this user the mode 0600 if possible; leaves anything else alone.
void MakeFilePrivate(const std::filesystem::path& path);
