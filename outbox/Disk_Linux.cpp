#include "Descriptor.h"
#include "Disk.h"
#include "LinuxFile.h"
#include "NetworkFileSystem.h"

#include "platform/system/PrivateFolder.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace outbox
{

namespace
{

constexpr mode_t FILE_MODE = S_IRUSR | S_IWUSR;
constexpr mode_t FOLDER_MODE = S_IRWXU;
// Opening waits for nobody, not even for the other end of a pipe.
constexpr int CAREFULLY = O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
constexpr int FOLDER = O_RDONLY | O_DIRECTORY | CAREFULLY;

/// Why an open file or folder can't be used; nothing for none.
std::error_code Objection(int nDescriptor, mode_t nKind)
{
    struct stat status {
    };
    if (::fstat(nDescriptor, &status) != 0) {
        return LastError();
    }
    const bool bOurs = (status.st_mode & S_IFMT) == nKind && status.st_uid == ::geteuid();
    return bOurs ? std::error_code() : std::make_error_code(std::errc::operation_not_permitted);
}

class LinuxLock : public DiskLock
{
public:
    explicit LinuxLock(std::unique_ptr<LinuxFile> pFile) : m_pFile(std::move(pFile)) {}

private:
    const std::unique_ptr<LinuxFile> m_pFile;
};

class LinuxDisk : public Disk
{
public:
    explicit LinuxDisk(int nRoot) : m_nRoot(nRoot) {}
    ~LinuxDisk() override { ::close(m_nRoot); }
    LinuxDisk(const LinuxDisk&) = delete;
    LinuxDisk& operator=(const LinuxDisk&) = delete;

    std::error_code MakeFolder(const std::string& strFolder) override
    {
        const Place place(*this, strFolder);
        if (place.error) {
            return place.error;
        }
        if (::mkdirat(place.nFolder, place.strName.c_str(), FOLDER_MODE) != 0) {
            return LastError();
        }
        const Descriptor made([&place] { return ::openat(place.nFolder, place.strName.c_str(), FOLDER); });
        // The umask may have removed rights of the owner too.
        return made ? ErrorOf(::fchmod(made.Get(), FOLDER_MODE)) : made.Error();
    }

    std::error_code List(const std::string& strFolder, std::vector<DiskEntry>& vecEntries) const override;

    std::error_code SyncFolder(const std::string& strFolder) override
    {
        std::error_code error;
        const std::unique_ptr<Descriptor> pFolder = OpenFolder(strFolder, error);
        return pFolder == nullptr ? error : ErrorOf(::fsync(pFolder->Get()));
    }

    std::unique_ptr<DiskFile> Create(const std::string& strFile, std::uint64_t nReserve,
                                     std::error_code& error) override
    {
        std::unique_ptr<LinuxFile> pFile = Open(strFile, O_RDWR | O_APPEND | O_CREAT | O_EXCL, error);
        if (pFile == nullptr) {
            return nullptr;
        }
        const int nDescriptor = pFile->Opened().Get();
        error = ErrorOf(::fchmod(nDescriptor, FILE_MODE));
        if (!error) {
            error = ReserveBehind(nDescriptor, 0, nReserve);
        }
        if (error) {
            RemoveFile(strFile);
            return nullptr;
        }
        return pFile;
    }

    std::unique_ptr<DiskFile> OpenToRead(const std::string& strFile, std::error_code& error) const override
    {
        return Open(strFile, O_RDONLY, error);
    }

    std::unique_ptr<DiskFile> OpenToAppend(const std::string& strFile, std::error_code& error) override
    {
        return Open(strFile, O_RDWR | O_APPEND, error);
    }

    std::error_code RemoveFile(const std::string& strFile) override { return Remove(strFile, 0); }
    std::error_code RemoveFolder(const std::string& strFolder) override
    {
        return Remove(strFolder, AT_REMOVEDIR);
    }

    std::unique_ptr<DiskLock> Lock(const std::string& strFile, std::error_code& error) override
    {
        std::unique_ptr<LinuxFile> pFile = Open(strFile, O_RDWR | O_CREAT, error);
        if (pFile == nullptr) {
            return nullptr;
        }
        const int nDescriptor = pFile->Opened().Get();
        struct stat status {
        };
        if (::flock(nDescriptor, LOCK_EX | LOCK_NB) != 0) {
            error =
                errno == EWOULDBLOCK ? std::make_error_code(std::errc::device_or_resource_busy) : LastError();
        } else if (::fchmod(nDescriptor, FILE_MODE) != 0 || ::fstat(nDescriptor, &status) != 0) {
            error = LastError();
        } else if (status.st_nlink == 0) {
            error = std::make_error_code(std::errc::no_such_file_or_directory);
        } else {
            return std::make_unique<LinuxLock>(std::move(pFile));
        }
        return nullptr;
    }

    std::error_code FreeBytes(std::uint64_t& nBytes) const override
    {
        struct statvfs status {
        };
        if (::fstatvfs(m_nRoot, &status) != 0) {
            return LastError();
        }
        nBytes = std::uint64_t{status.f_bavail} * status.f_frsize;
        return {};
    }

private:
    /// The open folder of a path's last name.
    struct Place {
        Place(const LinuxDisk& disk, const std::string& strPath)
        {
            const std::size_t nSlash = strPath.rfind('/');
            strName = strPath.substr(nSlash == std::string::npos ? 0 : nSlash + 1);
            pFolder = disk.OpenFolder(nSlash == std::string::npos ? "" : strPath.substr(0, nSlash), error);
            nFolder = pFolder == nullptr ? -1 : pFolder->Get();
        }
        std::string strName;
        std::error_code error;
        std::unique_ptr<Descriptor> pFolder;
        int nFolder;
    };

    /// Goes down from folder to folder, because the system follows symbolic links in the middle of a path.
    std::unique_ptr<Descriptor> OpenFolder(const std::string& strFolder, std::error_code& error) const
    {
        auto pFolder = std::make_unique<Descriptor>([this] { return ::openat(m_nRoot, ".", FOLDER); });
        for (std::size_t nBegin = 0; nBegin < strFolder.size() && *pFolder;) {
            const std::size_t nEnd = std::min(strFolder.find('/', nBegin), strFolder.size());
            const std::string strName = strFolder.substr(nBegin, nEnd - nBegin);
            pFolder = std::make_unique<Descriptor>(
                [&] { return ::openat(pFolder->Get(), strName.c_str(), FOLDER); });
            nBegin = nEnd + 1;
        }
        error = *pFolder ? Objection(pFolder->Get(), S_IFDIR) : pFolder->Error();
        return error ? nullptr : std::move(pFolder);
    }

    std::unique_ptr<LinuxFile> Open(const std::string& strFile, int nFlags, std::error_code& error) const
    {
        const Place place(*this, strFile);
        if (place.error) {
            error = place.error;
            return nullptr;
        }
        auto pFile = std::make_unique<LinuxFile>(
            [&] { return ::openat(place.nFolder, place.strName.c_str(), nFlags | CAREFULLY, FILE_MODE); });
        error = pFile->Opened() ? Objection(pFile->Opened().Get(), S_IFREG) : pFile->Opened().Error();
        return error ? nullptr : std::move(pFile);
    }

    std::error_code Remove(const std::string& strPath, int nFlags)
    {
        const Place place(*this, strPath);
        return place.error ? place.error : ErrorOf(::unlinkat(place.nFolder, place.strName.c_str(), nFlags));
    }

    const int m_nRoot; ///< no lock depends on it, so the child of a fork keeps it
};

/// What stands under a name in a listing; nothing for what is not ours.
std::optional<DiskEntry> EntryOf(int nFolder, const std::string& strName)
{
    struct stat status {
    };
    if (strName == "." || strName == ".." ||
        ::fstatat(nFolder, strName.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
        status.st_uid != ::geteuid() || (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode))) {
        return std::nullopt;
    }
    const bool bFolder = S_ISDIR(status.st_mode);
    const auto nTaken = static_cast<std::uint64_t>(std::max<off_t>(status.st_size, status.st_blocks * 512));
    return DiskEntry{strName, bFolder ? 0 : nTaken, bFolder};
}

std::error_code LinuxDisk::List(const std::string& strFolder, std::vector<DiskEntry>& vecEntries) const
{
    vecEntries.clear();
    std::error_code error;
    const std::unique_ptr<Descriptor> pFolder = OpenFolder(strFolder, error);
    if (pFolder == nullptr) {
        return error;
    }
    const int nCopy = ::fcntl(pFolder->Get(), F_DUPFD_CLOEXEC, 0); // the listing closes it
    DIR* const pListing = nCopy < 0 ? nullptr : ::fdopendir(nCopy);
    if (pListing == nullptr) {
        error = LastError();
        if (nCopy >= 0) {
            ::close(nCopy);
        }
        return error;
    }
    errno = 0;
    while (const dirent* const pEntry = ::readdir(pListing)) {
        if (std::optional<DiskEntry> optEntry = EntryOf(pFolder->Get(), pEntry->d_name)) {
            vecEntries.push_back(std::move(*optEntry));
        }
        errno = 0;
    }
    error = errno == 0 ? std::error_code() : LastError();
    ::closedir(pListing);
    return error;
}

std::string NotUsable(const std::filesystem::path& path, const std::string& strWhy)
{
    return "the folder " + path.string() + " can't be used: " + strWhy;
}

/// Why an open folder can't be an outbox; empty if it can.
std::string WhyNotUsable(int nRoot)
{
    struct statfs status {
    };
    if (const std::error_code error = Objection(nRoot, S_IFDIR)) {
        return error == std::errc::operation_not_permitted ? "it belongs to another user" : error.message();
    }
    if (::fstatfs(nRoot, &status) != 0 || ::fchmod(nRoot, FOLDER_MODE) != 0) {
        return LastError().message();
    }
    return IsNetworkFileSystem(static_cast<std::uint32_t>(status.f_type))
               ? "it is on a network file system; it must be on a local disk"
               : "";
}

} // namespace

std::unique_ptr<Disk> OpenDisk(const std::filesystem::path& named, std::string& strWhyNot)
{
    // With a slash at its end, the path of a symbolic link is that of what it leads to.
    const std::filesystem::path path = named.has_filename() ? named : named.parent_path();
    try {
        MakePrivateFolders(path);
    } catch (const std::filesystem::filesystem_error& error) {
        strWhyNot = NotUsable(path, error.code().message());
        return nullptr;
    }
    const int nRoot = ::open(path.c_str(), FOLDER);
    if (nRoot < 0) {
        const bool bLink = std::filesystem::is_symlink(path);
        strWhyNot = NotUsable(path, bLink ? "it is a symbolic link" : LastError().message());
        return nullptr;
    }
    auto pDisk = std::make_unique<LinuxDisk>(nRoot);
    if (const std::string strWhy = WhyNotUsable(nRoot); !strWhy.empty()) {
        strWhyNot = NotUsable(path, strWhy);
        return nullptr;
    }
    return pDisk;
}

} // namespace outbox
