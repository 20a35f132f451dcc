#pragma once

#include "Disk.h"

#include <string>

#include <windows.h>

namespace outbox
{

// Windows only.

/// What `GetLastError` says, by its portable number where there is one.
std::error_code LastError();

std::error_code ErrorOf(BOOL bDone);

class Handle
{
public:
    explicit Handle(HANDLE handle) : m_handle(handle) {}
    ~Handle()
    {
        if (*this) {
            ::CloseHandle(m_handle);
        }
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    HANDLE Get() const { return m_handle; }
    explicit operator bool() const { return m_handle != INVALID_HANDLE_VALUE; }

private:
    const HANDLE m_handle;
};

/// A file, or the link that has its name.
class WindowsFile : public DiskFile
{
public:
    /// @param nAccess, nHow  as for `CreateFile`
    WindowsFile(const std::wstring& strPath, DWORD nAccess, DWORD nHow);

    const Handle& Opened() const { return m_handle; }

    std::error_code Append(std::string_view bytes) override;
    std::error_code Read(std::uint64_t nOffset, std::size_t nBytes, std::string& strBytes) const override;
    std::error_code Sync() override;
    /// Does nothing: Windows gives back what is reserved when the last handle of a file is closed.
    std::error_code KeepReserved(std::uint64_t /*nBytes*/) override { return {}; }

private:
    const Handle m_handle;
};

} // namespace outbox
