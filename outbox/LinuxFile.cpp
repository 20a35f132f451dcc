#include "LinuxFile.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace outbox
{

std::error_code LastError()
{
    return {errno, std::generic_category()};
}

std::error_code ErrorOf(int nResult)
{
    return nResult == 0 ? std::error_code() : LastError();
}

std::error_code ReserveBehind(int nDescriptor, std::uint64_t nOffset, std::uint64_t nBytes)
{
    if (nBytes == 0 || ::fallocate(nDescriptor, FALLOC_FL_KEEP_SIZE, static_cast<off_t>(nOffset),
                                   static_cast<off_t>(nBytes)) == 0) {
        return {};
    }
    return errno == EOPNOTSUPP || errno == ENOSYS ? std::error_code() : LastError();
}

std::error_code LinuxFile::Append(std::string_view bytes)
{
    if (const std::error_code error = BeyondLimit(bytes.size())) {
        return error;
    }
    while (!bytes.empty()) {
        const ssize_t nWritten = ::write(m_descriptor.Get(), bytes.data(), bytes.size());
        if (nWritten > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(nWritten));
        } else if (nWritten == 0) { // another try would write 0 bytes again
            return std::make_error_code(std::errc::no_space_on_device);
        } else if (errno != EINTR) {
            return LastError();
        }
    }
    return {};
}

std::error_code LinuxFile::Read(std::uint64_t nOffset, std::size_t nBytes, std::string& strBytes) const
{
    strBytes.resize(nBytes);
    std::size_t nRead = 0;
    while (nRead < nBytes) {
        const ssize_t nMore = ::pread(m_descriptor.Get(), strBytes.data() + nRead, nBytes - nRead,
                                      static_cast<off_t>(nOffset + nRead));
        if (nMore == 0) {
            break;
        }
        if (nMore > 0) {
            nRead += static_cast<std::size_t>(nMore);
        } else if (errno != EINTR) {
            strBytes.clear();
            return LastError();
        }
    }
    strBytes.resize(nRead);
    return {};
}

std::error_code LinuxFile::Sync()
{
    return ErrorOf(::fdatasync(m_descriptor.Get()));
}

std::error_code LinuxFile::KeepReserved(std::uint64_t nBytes)
{
    struct stat status {
    };
    // Cutting a file to the size that it has frees what is reserved behind it.
    if (::fstat(m_descriptor.Get(), &status) != 0 || ::ftruncate(m_descriptor.Get(), status.st_size) != 0) {
        return LastError();
    }
    return ReserveBehind(m_descriptor.Get(), static_cast<std::uint64_t>(status.st_size), nBytes);
}

/// A write beyond the process's limit for the size of its files would end the process.
std::error_code LinuxFile::BeyondLimit(std::size_t nBytes) const
{
    struct rlimit limit {
    };
    if (::getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) {
        return {};
    }
    struct stat status {
    };
    if (::fstat(m_descriptor.Get(), &status) != 0) {
        return LastError();
    }
    return static_cast<std::uint64_t>(status.st_size) + nBytes > limit.rlim_cur
               ? std::make_error_code(std::errc::file_too_large)
               : std::error_code();
}

} // namespace outbox
