#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include <sys/types.h>

// Not on Windows, where a file inherits its rights from its folder.

/// A regular file that text is appended to, for its owner alone: its mode is 0600, whatever the umask and
/// whatever it was before, unless it belongs to another user or its file system keeps no modes.
///
/// Objects may be used by one thread at a time.
class PrivateFile
{
public:
    /// Opens the file, or makes it. A symbolic link in its place is not followed, and nothing but a regular
    /// file is opened, so the call waits for nobody, but up to 0.1 s for the holder of a lease on the file.
    /// @throw std::exception that says why not
    explicit PrivateFile(const std::filesystem::path& path);
    ~PrivateFile();
    PrivateFile(const PrivateFile&) = delete;
    PrivateFile& operator=(const PrivateFile&) = delete;
    PrivateFile(PrivateFile&& other) noexcept;
    PrivateFile& operator=(PrivateFile&& other) noexcept;

    /// In bytes, whoever wrote them.
    /// @throw std::system_error
    std::uintmax_t Size() const;

    /// Whether the file is still to be found at its path, rather than removed, moved away or replaced.
    bool IsInPlace() const;

    /// Writes all of the text behind the end of the file.
    /// @throw std::system_error; a part of the text may be in the file then
    void Append(std::string_view text);

    /// @throw std::system_error
    void Truncate();

private:
    std::string m_strPath;
    int m_nDescriptor;
    dev_t m_nDevice; ///< together with the next, which file it is
    ino_t m_nFile;
};

/// Takes a regular file of this user from everybody else, if it can be done; anything else it leaves alone.
void MakeFilePrivate(const std::filesystem::path& path);
