#include "PrivateFolder.h"

#if defined(_WIN32)

void MakePrivateFolders(const std::filesystem::path& path)
{
    std::filesystem::create_directories(path);
}

#else

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>

void MakePrivateFolders(const std::filesystem::path& path)
{
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        return;
    }
    if (path.has_relative_path() && path.has_parent_path()) { // the root is its own parent
        MakePrivateFolders(path.parent_path());
    }
    constexpr mode_t MODE = S_IRWXU;
    if (::mkdir(path.c_str(), MODE) == 0) {
        // The umask may have removed rights of the owner too. If they stay removed, the use of the folder
        // fails.
        [[maybe_unused]] const int nStatus = ::fchmodat(AT_FDCWD, path.c_str(), MODE, AT_SYMLINK_NOFOLLOW);
    } else {
        const std::error_code failure(errno, std::generic_category());
        if (!std::filesystem::is_directory(path, error)) { // and no other process created it meanwhile
            throw std::filesystem::filesystem_error("cannot create directories", path, failure);
        }
    }
}

#endif
