#include "PrivateFile.h"

#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr mode_t MODE = S_IRUSR | S_IWUSR;

// Opening must not make a terminal the controlling one of the process, nor wait for the other end of a pipe.
constexpr int CAREFULLY = O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

std::string Failure(const char* szWhat, const std::string& strPath)
{
    return std::string("Failed ") + szWhat + " file " + strPath;
}

std::string NotOpened(const std::string& strPath)
{
    return Failure("opening", strPath) + " for writing";
}

/// While another process, such as a file server, holds a lease on the file, opening fails, and the system
/// asks the holder to give it up. That usually happens at once.
int OpenToAppend(const std::string& strPath)
{
    constexpr int TRIES = 10;
    for (int nTry = 1;; ++nTry) {
        const int nDescriptor = ::open(strPath.c_str(), O_WRONLY | O_APPEND | O_CREAT | CAREFULLY, MODE);
        if (nDescriptor >= 0 || errno != EWOULDBLOCK || nTry == TRIES) {
            return nDescriptor;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

void RefuseIfIrregular(const struct stat& status, const std::string& strPath)
{
    if (!S_ISREG(status.st_mode)) {
        throw std::runtime_error(NotOpened(strPath) + ": it is " +
                                 (S_ISLNK(status.st_mode) ? "a symbolic link" : "no regular file"));
    }
}

/// Failure is ignored: a file system without modes is no reason not to write.
void SetMode(int nDescriptor, const struct stat& status)
{
    if (status.st_uid == ::geteuid() && (status.st_mode & ~static_cast<mode_t>(S_IFMT)) != MODE) {
        static_cast<void>(::fchmod(nDescriptor, MODE));
    }
}

struct stat Status(int nDescriptor, const std::string& strPath)
{
    struct stat status {
    };
    if (::fstat(nDescriptor, &status) != 0) {
        throw std::system_error(errno, std::generic_category(), Failure("asking about", strPath));
    }
    return status;
}

} // namespace

PrivateFile::PrivateFile(const std::filesystem::path& path) : m_strPath(path.string()), m_nDescriptor(-1)
{
    struct stat status {
    };
    if (::lstat(m_strPath.c_str(), &status) == 0) { // opening alone could wake a reader, or start a device
        RefuseIfIrregular(status, m_strPath);
    }
    m_nDescriptor = OpenToAppend(m_strPath);
    if (m_nDescriptor < 0) {
        throw std::system_error(errno, std::generic_category(), NotOpened(m_strPath));
    }
    try { // it may be another file by now
        status = Status(m_nDescriptor, m_strPath);
        RefuseIfIrregular(status, m_strPath);
    } catch (...) {
        ::close(m_nDescriptor);
        throw;
    }
    SetMode(m_nDescriptor, status);
    m_nDevice = status.st_dev;
    m_nFile = status.st_ino;
}

PrivateFile::~PrivateFile()
{
    if (m_nDescriptor >= 0) {
        ::close(m_nDescriptor);
    }
}

PrivateFile::PrivateFile(PrivateFile&& other) noexcept
    : m_strPath(std::move(other.m_strPath)),
      m_nDescriptor(std::exchange(other.m_nDescriptor, -1)),
      m_nDevice(other.m_nDevice),
      m_nFile(other.m_nFile)
{
}

PrivateFile& PrivateFile::operator=(PrivateFile&& other) noexcept
{
    std::swap(m_strPath, other.m_strPath);
    std::swap(m_nDescriptor, other.m_nDescriptor);
    std::swap(m_nDevice, other.m_nDevice);
    std::swap(m_nFile, other.m_nFile);
    return *this;
}

std::uintmax_t PrivateFile::Size() const
{
    return static_cast<std::uintmax_t>(Status(m_nDescriptor, m_strPath).st_size);
}

bool PrivateFile::IsInPlace() const
{
    struct stat status {
    };
    return ::lstat(m_strPath.c_str(), &status) == 0 && status.st_dev == m_nDevice && status.st_ino == m_nFile;
}

void PrivateFile::Append(std::string_view text)
{
    while (!text.empty()) {
        const ssize_t nWritten = ::write(m_nDescriptor, text.data(), text.size());
        if (nWritten > 0) {
            text.remove_prefix(static_cast<std::size_t>(nWritten));
        } else if (nWritten == 0 || errno != EINTR) { // a retry after 0 bytes would write 0 again
            throw std::system_error(nWritten == 0 ? ENOSPC : errno, std::generic_category(),
                                    Failure("writing to", m_strPath));
        }
    }
}

void PrivateFile::Truncate()
{
    if (::ftruncate(m_nDescriptor, 0) != 0) {
        throw std::system_error(errno, std::generic_category(), Failure("emptying", m_strPath));
    }
}

void MakeFilePrivate(const std::filesystem::path& path)
{
    struct stat status {
    };
    if (::lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return;
    }
    const int nDescriptor = ::open(path.c_str(), O_RDONLY | CAREFULLY);
    if (nDescriptor < 0) {
        return;
    }
    if (::fstat(nDescriptor, &status) == 0 && S_ISREG(status.st_mode)) {
        SetMode(nDescriptor, status);
    }
    ::close(nDescriptor);
}
