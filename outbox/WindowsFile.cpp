#include "WindowsFile.h"

#include <algorithm>
#include <limits>

namespace outbox
{

namespace
{

constexpr std::size_t MOST = std::numeric_limits<int>::max(); ///< bytes of one call

} // namespace

std::error_code LastError()
{
    const DWORD nError = ::GetLastError();
    switch (nError) {
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
        return std::make_error_code(std::errc::file_exists);
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_DELETE_PENDING:
        return std::make_error_code(std::errc::no_such_file_or_directory);
    case ERROR_LOCK_VIOLATION:
    case ERROR_IO_PENDING:
        return std::make_error_code(std::errc::device_or_resource_busy);
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
        return std::make_error_code(std::errc::no_space_on_device);
    case ERROR_TOO_MANY_OPEN_FILES:
        return std::make_error_code(std::errc::too_many_files_open);
    default:
        return {static_cast<int>(nError), std::system_category()};
    }
}

std::error_code ErrorOf(BOOL bDone)
{
    return bDone != FALSE ? std::error_code() : LastError();
}

WindowsFile::WindowsFile(const std::wstring& strPath, DWORD nAccess, DWORD nHow)
    : m_handle(::CreateFileW(strPath.c_str(), nAccess, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                             nullptr, nHow, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr))
{
}

std::error_code WindowsFile::Append(std::string_view bytes)
{
    while (!bytes.empty()) {
        const auto nPart = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), MOST));
        DWORD nWritten = 0;
        if (::WriteFile(m_handle.Get(), bytes.data(), nPart, &nWritten, nullptr) == FALSE) {
            return LastError();
        }
        if (nWritten == 0) {
            return std::make_error_code(std::errc::no_space_on_device);
        }
        bytes.remove_prefix(nWritten);
    }
    return {};
}

std::error_code WindowsFile::Read(std::uint64_t nOffset, std::size_t nBytes, std::string& strBytes) const
{
    strBytes.resize(nBytes);
    std::size_t nRead = 0;
    while (nRead < nBytes) {
        OVERLAPPED place{};
        place.Offset = static_cast<DWORD>((nOffset + nRead) & 0xffffffffU);
        place.OffsetHigh = static_cast<DWORD>((nOffset + nRead) >> 32U);
        const auto nPart = static_cast<DWORD>(std::min<std::size_t>(nBytes - nRead, MOST));
        DWORD nMore = 0;
        if (::ReadFile(m_handle.Get(), strBytes.data() + nRead, nPart, &nMore, &place) == FALSE &&
            ::GetLastError() != ERROR_HANDLE_EOF) {
            strBytes.clear();
            return LastError();
        }
        if (nMore == 0) {
            break;
        }
        nRead += nMore;
    }
    strBytes.resize(nRead);
    return {};
}

std::error_code WindowsFile::Sync()
{
    return ErrorOf(::FlushFileBuffers(m_handle.Get()));
}

} // namespace outbox
