#pragma once

#include "Descriptor.h"
#include "Disk.h"

namespace outbox
{

// Linux only.

/// What `errno` says.
std::error_code LastError();

/// The error of a call that returns 0 on success.
std::error_code ErrorOf(int nResult);

/// Reserves room of the disk behind a byte of an open file, which keeps its size. Not an error where the file
/// system can't do that.
std::error_code ReserveBehind(int nDescriptor, std::uint64_t nOffset, std::uint64_t nBytes);

/// A file that the child of a fork closes.
class LinuxFile : public DiskFile
{
public:
    /// @param fnOpen  as for `Descriptor`
    explicit LinuxFile(const std::function<int()>& fnOpen) : m_descriptor(fnOpen) {}

    const Descriptor& Opened() const { return m_descriptor; }

    std::error_code Append(std::string_view bytes) override;
    std::error_code Read(std::uint64_t nOffset, std::size_t nBytes, std::string& strBytes) const override;
    std::error_code Sync() override;
    std::error_code KeepReserved(std::uint64_t nBytes) override;

private:
    std::error_code BeyondLimit(std::size_t nBytes) const;

    const Descriptor m_descriptor;
};

} // namespace outbox
