#pragma once

#include "outbox/Disk.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <utility>
#include <vector>

/// A file or a folder of a `Machine`.
struct Node {
    bool bFolder = false;
    bool bLocked = false;
    std::uint64_t nReserved = 0;

    std::string strContent;                                       ///< what a process reads
    std::string strOnDisk;                                        ///< what survives a power cut for certain
    std::vector<std::pair<std::size_t, std::string>> vecUnsynced; ///< writes: where, and what

    using Entries = std::map<std::string, std::shared_ptr<Node>>;
    Entries mapEntries;
    Entries mapOnDisk;
    std::vector<std::pair<std::string, std::shared_ptr<Node>>> vecUnsyncedEntries; ///< null: removed
};

/// The disk of a machine, in memory. It knows what a power cut may leave of it: any part of the writes since
/// the last sync of a file, and of the names since the last sync of a folder.
class Machine
{
public:
    using Random = std::mt19937_64;

    Machine() { m_pRoot->bFolder = true; }

    /// Called before each operation with its name and its path; an error makes the operation fail. A write
    /// that fails writes a half. After a failed sync nothing of what was to be synced will reach the disk.
    std::function<std::error_code(const std::string& strOperation, const std::string& strPath)> fnBefore;

    std::uint64_t nFreeBytes = std::uint64_t{1} << 40U;

    /// What could be found after a power cut now.
    std::shared_ptr<Machine> AfterPowerCut(Random& random) const;

    /// A copy, with everything as a process sees it, and without locks.
    std::shared_ptr<Machine> Copy() const;

    /// The content of all files, by path.
    std::map<std::string, std::string> Files() const;
    /// Replaces a file, or adds one.
    void Put(const std::string& strFile, const std::string& strContent);
    void Take(const std::string& strPath);

private:
    friend class MemoryDisk;
    friend class MemoryFile;

    std::error_code Before(const std::string& strOperation, const std::string& strPath) const;
    std::shared_ptr<Node> Find(const std::string& strPath) const;
    std::shared_ptr<Node> FolderOf(const std::string& strPath, std::string& strName) const;

    std::shared_ptr<Node> m_pRoot = std::make_shared<Node>();
    mutable std::mutex m_mutex;
};

/// What one process sees of a machine's disk.
class MemoryDisk : public outbox::Disk
{
public:
    explicit MemoryDisk(std::shared_ptr<Machine> pMachine) : m_pMachine(std::move(pMachine)) {}

    std::error_code MakeFolder(const std::string& strFolder) override;
    std::error_code List(const std::string& strFolder,
                         std::vector<outbox::DiskEntry>& vecEntries) const override;
    std::error_code SyncFolder(const std::string& strFolder) override;
    std::unique_ptr<outbox::DiskFile> Create(const std::string& strFile, std::uint64_t nReserve,
                                             std::error_code& error) override;
    std::unique_ptr<outbox::DiskFile> OpenToRead(const std::string& strFile,
                                                 std::error_code& error) const override;
    std::unique_ptr<outbox::DiskFile> OpenToAppend(const std::string& strFile,
                                                   std::error_code& error) override;
    std::error_code RemoveFile(const std::string& strFile) override;
    std::error_code RemoveFolder(const std::string& strFolder) override;
    std::unique_ptr<outbox::DiskLock> Lock(const std::string& strFile, std::error_code& error) override;
    std::error_code FreeBytes(std::uint64_t& nBytes) const override;

private:
    std::error_code Add(const std::string& strPath, std::shared_ptr<Node> pNode);
    std::error_code Remove(const std::string& strPath, bool bFolder);
    std::unique_ptr<outbox::DiskFile> Open(const char* szOperation, const std::string& strFile,
                                           std::error_code& error) const;

    const std::shared_ptr<Machine> m_pMachine;
};
