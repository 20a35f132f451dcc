#include "Disk.h"
#include "WindowsFile.h"

#include "platform/system/WideText.h"

#include <algorithm>
#include <utility>

#include <windows.h>

namespace outbox
{

namespace
{

bool IsLink(DWORD nAttributes)
{
    return (nAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

class WindowsLock : public DiskLock
{
public:
    explicit WindowsLock(std::unique_ptr<WindowsFile> pFile) : m_pFile(std::move(pFile)) {}

private:
    const std::unique_ptr<WindowsFile> m_pFile;
};

class WindowsDisk : public Disk
{
public:
    explicit WindowsDisk(std::wstring strRoot) : m_strRoot(std::move(strRoot)) {}

    std::error_code MakeFolder(const std::string& strFolder) override
    {
        return ErrorOf(::CreateDirectoryW(PathOf(strFolder).c_str(), nullptr));
    }

    std::error_code List(const std::string& strFolder, std::vector<DiskEntry>& vecEntries) const override
    {
        vecEntries.clear();
        WIN32_FIND_DATAW found{};
        const HANDLE listing = ::FindFirstFileW((PathOf(strFolder) + L"\\*").c_str(), &found);
        if (listing == INVALID_HANDLE_VALUE) {
            return LastError();
        }
        do {
            const std::string strName = Utf8Text(found.cFileName);
            const bool bFolder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
            if (strName != "." && strName != ".." && !IsLink(found.dwFileAttributes)) {
                const std::uint64_t nBytes = (std::uint64_t{found.nFileSizeHigh} << 32U) | found.nFileSizeLow;
                vecEntries.push_back({strName, bFolder ? 0 : nBytes, bFolder});
            }
        } while (::FindNextFileW(listing, &found) != FALSE);
        const std::error_code error =
            ::GetLastError() == ERROR_NO_MORE_FILES ? std::error_code() : LastError();
        ::FindClose(listing);
        return error;
    }

    /// Windows has no such call: a file's name reaches the disk together with the file.
    std::error_code SyncFolder(const std::string& /*strFolder*/) override { return {}; }

    std::unique_ptr<DiskFile> Create(const std::string& strFile, std::uint64_t nReserve,
                                     std::error_code& error) override
    {
        std::unique_ptr<WindowsFile> pFile = Open(strFile, TO_APPEND, CREATE_NEW, error);
        if (pFile == nullptr || nReserve == 0) {
            return pFile;
        }
        FILE_ALLOCATION_INFO room{};
        room.AllocationSize.QuadPart = static_cast<LONGLONG>(nReserve);
        const Handle writing(::CreateFileW(PathOf(strFile).c_str(), GENERIC_WRITE,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                           OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
        if (!writing ||
            ::SetFileInformationByHandle(writing.Get(), FileAllocationInfo, &room, sizeof room) == FALSE) {
            error = LastError();
            if (error != std::errc::no_space_on_device) { // a file system that can't reserve
                error.clear();
                return pFile;
            }
            RemoveFile(strFile);
            return nullptr;
        }
        return pFile;
    }

    std::unique_ptr<DiskFile> OpenToRead(const std::string& strFile, std::error_code& error) const override
    {
        return Open(strFile, GENERIC_READ, OPEN_EXISTING, error);
    }

    std::unique_ptr<DiskFile> OpenToAppend(const std::string& strFile, std::error_code& error) override
    {
        return Open(strFile, TO_APPEND, OPEN_EXISTING, error);
    }

    std::error_code RemoveFile(const std::string& strFile) override
    {
        return ErrorOf(::DeleteFileW(PathOf(strFile).c_str()));
    }

    std::error_code RemoveFolder(const std::string& strFolder) override
    {
        return ErrorOf(::RemoveDirectoryW(PathOf(strFolder).c_str()));
    }

    std::unique_ptr<DiskLock> Lock(const std::string& strFile, std::error_code& error) override
    {
        std::unique_ptr<WindowsFile> pFile = Open(strFile, GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS, error);
        if (pFile == nullptr) {
            return nullptr;
        }
        OVERLAPPED place{};
        FILE_STANDARD_INFO facts{};
        const HANDLE handle = pFile->Opened().Get();
        if (::LockFileEx(handle, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place) ==
                FALSE ||
            ::GetFileInformationByHandleEx(handle, FileStandardInfo, &facts, sizeof facts) == FALSE) {
            error = LastError();
            return nullptr;
        }
        if (facts.DeletePending != FALSE) {
            error = std::make_error_code(std::errc::no_such_file_or_directory);
            return nullptr;
        }
        return std::make_unique<WindowsLock>(std::move(pFile));
    }

    std::error_code FreeBytes(std::uint64_t& nBytes) const override
    {
        ULARGE_INTEGER free{};
        const std::error_code error =
            ErrorOf(::GetDiskFreeSpaceExW(m_strRoot.c_str(), &free, nullptr, nullptr));
        nBytes = free.QuadPart;
        return error;
    }

private:
    static constexpr DWORD TO_APPEND = GENERIC_READ | FILE_APPEND_DATA | SYNCHRONIZE;

    std::wstring PathOf(const std::string& strPath) const
    {
        std::wstring strWide = m_strRoot + L"\\" + WideText(strPath);
        std::replace(strWide.begin(), strWide.end(), L'/', L'\\');
        return strWide;
    }

    /// A file that is a link, or lies in a folder that is one, is refused.
    std::unique_ptr<WindowsFile> Open(const std::string& strFile, DWORD nAccess, DWORD nHow,
                                      std::error_code& error) const
    {
        error.clear();
        for (std::size_t nSlash = strFile.find('/'); nSlash != std::string::npos;
             nSlash = strFile.find('/', nSlash + 1)) {
            const DWORD nAttributes = ::GetFileAttributesW(PathOf(strFile.substr(0, nSlash)).c_str());
            if (nAttributes != INVALID_FILE_ATTRIBUTES && IsLink(nAttributes)) {
                error = std::make_error_code(std::errc::operation_not_permitted);
                return nullptr;
            }
        }
        auto pFile = std::make_unique<WindowsFile>(PathOf(strFile), nAccess, nHow);
        BY_HANDLE_FILE_INFORMATION facts{};
        if (!pFile->Opened() || ::GetFileInformationByHandle(pFile->Opened().Get(), &facts) == FALSE) {
            error = LastError();
        } else if (IsLink(facts.dwFileAttributes)) {
            error = std::make_error_code(std::errc::operation_not_permitted);
        }
        return error ? nullptr : std::move(pFile);
    }

    const std::wstring m_strRoot;
};

} // namespace

std::unique_ptr<Disk> OpenDisk(const std::filesystem::path& path, std::string& strWhyNot)
{
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::absolute(path, error);
    std::filesystem::create_directories(whole, error);
    const DWORD nAttributes = ::GetFileAttributesW(whole.c_str());
    const std::wstring strDrive = whole.root_path().wstring();
    if (nAttributes == INVALID_FILE_ATTRIBUTES || (nAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        strWhyNot = error ? error.message() : LastError().message();
    } else if (IsLink(nAttributes)) {
        strWhyNot = "it is a symbolic link";
    } else if (::GetDriveTypeW(strDrive.c_str()) == DRIVE_REMOTE || strDrive.rfind(L"\\\\", 0) == 0) {
        strWhyNot = "it is on a network file system; it must be on a local disk";
    } else {
        return std::make_unique<WindowsDisk>(whole.wstring());
    }
    strWhyNot = "the folder " + Utf8Text(path.wstring()) + " can't be used: " + strWhyNot;
    return nullptr;
}

} // namespace outbox
