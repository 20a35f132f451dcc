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
#include <unistd.h>

bool RenameWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return true;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return false;
    }
    // The file system, or the kernel, knows no such renaming. A second name is never given in place of
    // another.
    if (::link(from.c_str(), to.c_str()) != 0) {
        return false;
    }
    ::unlink(from.c_str());
    return true;
}

#endif
