#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace outbox
{

/// What a folder contains under one name.
struct DiskEntry {
    std::string strName;
    std::uint64_t nBytes = 0; ///< of the disk, including what is only reserved; 0 for a folder
    bool bFolder = false;
};

/// An open file. May be used from several threads, but only one at a time may append.
class DiskFile
{
public:
    DiskFile() = default;
    virtual ~DiskFile() = default;
    DiskFile(const DiskFile&) = delete;
    DiskFile& operator=(const DiskFile&) = delete;

    /// Writes at the end of the file, in one go where the system allows it. After an error, any part of the
    /// bytes may be in the file.
    virtual std::error_code Append(std::string_view bytes) = 0;

    /// Replaces the text by what stands there; by less at the end of the file.
    virtual std::error_code Read(std::uint64_t nOffset, std::size_t nBytes, std::string& strBytes) const = 0;

    /// Brings what was appended onto the disk, where it survives a power cut.
    virtual std::error_code Sync() = 0;

    /// Gives back the room that was reserved for the file and is not used, but for so many bytes. Nobody may
    /// be appending.
    virtual std::error_code KeepReserved(std::uint64_t nBytes) = 0;
};

/// Keeps other processes from locking the same file, for as long as the object lives. The system frees the
/// lock of a process that has ended. The child of a fork does not keep it.
class DiskLock
{
public:
    DiskLock() = default;
    virtual ~DiskLock() = default;
    DiskLock(const DiskLock&) = delete;
    DiskLock& operator=(const DiskLock&) = delete;
};

/// A folder on a local file system and what is in it. Files are accessible to their owner only; symbolic
/// links are not followed, and what belongs to another user is refused. Paths are relative to the folder,
/// with slashes. May be used from any thread.
class Disk
{
public:
    Disk() = default;
    virtual ~Disk() = default;
    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;

    /// Fails with `file_exists` if there is something of that name.
    virtual std::error_code MakeFolder(const std::string& strFolder) = 0;

    /// The files and folders in a folder, without anything else. An empty name is the whole folder's.
    virtual std::error_code List(const std::string& strFolder, std::vector<DiskEntry>& vecEntries) const = 0;

    /// Brings the names of a folder's files onto the disk.
    virtual std::error_code SyncFolder(const std::string& strFolder) = 0;

    /// Creates an empty file, and reserves room for it if the file system can do that. Fails with
    /// `file_exists` if there is something of that name.
    virtual std::unique_ptr<DiskFile> Create(const std::string& strFile, std::uint64_t nReserve,
                                             std::error_code& error) = 0;

    virtual std::unique_ptr<DiskFile> OpenToRead(const std::string& strFile,
                                                 std::error_code& error) const = 0;

    /// Opens an existing file; it can be read too.
    virtual std::unique_ptr<DiskFile> OpenToAppend(const std::string& strFile, std::error_code& error) = 0;

    virtual std::error_code RemoveFile(const std::string& strFile) = 0;

    /// Removes an empty folder.
    virtual std::error_code RemoveFolder(const std::string& strFolder) = 0;

    /// Locks a file, which is created if it is missing. Does not wait.
    /// @param error  `device_or_resource_busy` if another process holds the lock; `no_such_file_or_directory`
    ///               if the file was removed meanwhile
    virtual std::unique_ptr<DiskLock> Lock(const std::string& strFile, std::error_code& error) = 0;

    /// How many bytes of the disk this user can still fill.
    virtual std::error_code FreeBytes(std::uint64_t& nBytes) const = 0;
};

/// Opens a folder of the system, and creates it if it is missing.
/// @param strWhyNot  says why it can't be used: it is a symbolic link, belongs to another user, or is on a
///                   network file system, where neither locks nor syncs can be relied on
/// @return null then
std::unique_ptr<Disk> OpenDisk(const std::filesystem::path& path, std::string& strWhyNot);

} // namespace outbox
