#include "OwnersFile.h"

#if !defined(_WIN32)

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr mode_t OWNER = S_IRWXU;
constexpr mode_t OTHERS = S_IRWXG | S_IRWXO;

[[noreturn]] void ThrowError(const std::string& strWhat)
{
    throw std::runtime_error(strWhat + ": " + std::strerror(errno));
}

bool IsSymbolicLink(const std::string& strFile)
{
    struct stat status = {};
    return ::lstat(strFile.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

bool SetMode(const std::string& strFile, mode_t nMode)
{
    if (::fchmodat(AT_FDCWD, strFile.c_str(), nMode, AT_SYMLINK_NOFOLLOW) == 0) {
        return true;
    }
    // Without /proc the C library can't tell whether it is a link.
    return errno == EOPNOTSUPP && !IsSymbolicLink(strFile) && ::chmod(strFile.c_str(), nMode) == 0;
}

} // namespace

void MakeOwnersFile(const std::string& strFile)
{
    // Never created through a symbolic link, which could be another user's and point anywhere.
    const int nFile = ::open(strFile.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (nFile >= 0) {
        ::fchmod(nFile, S_IRUSR | S_IWUSR); // restores what the umask removed
        ::close(nFile);
    } else if (errno != EEXIST) {
        ThrowError("it can't be made");
    } else if (IsSymbolicLink(strFile)) {
        throw std::runtime_error("it is a symbolic link; name the file itself");
    }
}

// Works on the name: opening and closing the file would release the locks that this process holds on it.
void KeepToOwner(const std::string& strFile)
{
    struct stat status = {};
    if (::lstat(strFile.c_str(), &status) != 0 || !S_ISREG(status.st_mode) ||
        (status.st_mode & OTHERS) == 0) {
        return;
    }
    if (!SetMode(strFile, status.st_mode & OWNER) && status.st_uid != ::geteuid()) {
        ThrowError("it is open to other users, and can't be taken from them");
    }
}

#else

void MakeOwnersFile(const std::string& /*strFile*/) {}

void KeepToOwner(const std::string& /*strFile*/) {}

#endif
