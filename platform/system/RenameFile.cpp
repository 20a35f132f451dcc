#include "RenameFile.h"

#if defined(_WIN32)

#include <windows.h>

bool RenameWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to)
{
    return ::MoveFileExW(from.c_str(), to.c_str(), 0) != FALSE;
}

#else

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

/// Claims the name with an empty file, which the renaming then replaces.
bool RenameOverClaim(const std::filesystem::path& from, const std::filesystem::path& to)
{
    const int nClaim = ::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (nClaim < 0) {
        return false;
    }
    ::close(nClaim);
    if (std::rename(from.c_str(), to.c_str()) == 0) {
        return true;
    }
    ::unlink(to.c_str());
    return false;
}

} // namespace

bool RenameWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return true;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return false;
    }
    // The file system or the kernel does not support such a renaming. A hard link never replaces an existing
    // file.
    if (::link(from.c_str(), to.c_str()) == 0) {
        ::unlink(from.c_str());
        return true;
    }
    // Some file systems, such as those of memory sticks, have no hard links either.
    return (errno == EPERM || errno == ENOSYS || errno == EOPNOTSUPP) && RenameOverClaim(from, to);
}

#endif
