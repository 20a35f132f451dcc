#include "MemoryDisk.h"

#include <algorithm>

using outbox::DiskEntry;
using outbox::DiskFile;
using outbox::DiskLock;

namespace
{

using Random = Machine::Random;

std::size_t Below(Random& random, std::size_t nBound)
{
    return std::uniform_int_distribution<std::size_t>(0, nBound - 1)(random);
}

bool Chance(Random& random)
{
    return Below(random, 2) == 0;
}

void Overwrite(std::string& strContent, std::size_t nWhere, const std::string& strBytes)
{
    strContent.resize(std::max(strContent.size(), nWhere + strBytes.size()), '\0');
    strContent.replace(nWhere, strBytes.size(), strBytes);
}

/// Any of the writes is there, as a whole or torn, or it is not; and the file may be as long as if it was.
std::string ContentAfterPowerCut(const Node& node, Random& random)
{
    std::string strContent = node.strOnDisk;
    for (const auto& [nWhere, strBytes] : node.vecUnsynced) {
        const std::size_t nFrom = Chance(random) ? 0 : Below(random, strBytes.size());
        const std::size_t nTo =
            Chance(random) ? strBytes.size() : nFrom + Below(random, strBytes.size() - nFrom);
        if (Chance(random)) {
            Overwrite(strContent, nWhere + nFrom, strBytes.substr(nFrom, nTo - nFrom));
        }
        if (Below(random, 4) == 0) {
            strContent.resize(std::max(strContent.size(), nWhere + strBytes.size()), '\0');
        }
    }
    return strContent;
}

std::shared_ptr<Node> NodeAfterPowerCut(const Node& node, Random& random)
{
    auto pLeft = std::make_shared<Node>();
    pLeft->bFolder = node.bFolder;
    pLeft->strContent = pLeft->strOnDisk = ContentAfterPowerCut(node, random);
    Node::Entries mapEntries = node.mapOnDisk;
    for (const auto& [strName, pEntry] : node.vecUnsyncedEntries) {
        if (Chance(random)) {
            pEntry == nullptr ? static_cast<void>(mapEntries.erase(strName))
                              : static_cast<void>(mapEntries[strName] = pEntry);
        }
    }
    for (const auto& [strName, pEntry] : mapEntries) {
        pLeft->mapEntries[strName] = NodeAfterPowerCut(*pEntry, random);
    }
    pLeft->mapOnDisk = pLeft->mapEntries;
    return pLeft;
}

std::shared_ptr<Node> CopyOf(const Node& node)
{
    auto pCopy = std::make_shared<Node>();
    pCopy->bFolder = node.bFolder;
    pCopy->strContent = pCopy->strOnDisk = node.strContent;
    for (const auto& [strName, pEntry] : node.mapEntries) {
        pCopy->mapEntries[strName] = CopyOf(*pEntry);
    }
    pCopy->mapOnDisk = pCopy->mapEntries;
    return pCopy;
}

void AddFiles(const Node& node, const std::string& strPath, std::map<std::string, std::string>& mapFiles)
{
    if (!node.bFolder) {
        mapFiles[strPath] = node.strContent;
    }
    for (const auto& [strName, pEntry] : node.mapEntries) {
        AddFiles(*pEntry, strPath.empty() ? strName : strPath + "/" + strName, mapFiles);
    }
}

std::error_code No(std::errc eError)
{
    return std::make_error_code(eError);
}

} // namespace

class MemoryFile : public DiskFile
{
public:
    MemoryFile(std::shared_ptr<Machine> pMachine, std::shared_ptr<Node> pNode, std::string strPath)
        : m_pMachine(std::move(pMachine)), m_pNode(std::move(pNode)), m_strPath(std::move(strPath))
    {
    }

    std::error_code Append(std::string_view bytes) override
    {
        const std::error_code error = m_pMachine->Before("append", m_strPath);
        const std::lock_guard<std::mutex> lock(m_pMachine->m_mutex);
        const std::string strWritten(bytes.substr(0, error ? bytes.size() / 2 : bytes.size()));
        if (!strWritten.empty()) {
            m_pNode->vecUnsynced.emplace_back(m_pNode->strContent.size(), strWritten);
            m_pNode->strContent += strWritten;
        }
        return error;
    }

    std::error_code Read(std::uint64_t nOffset, std::size_t nBytes, std::string& strBytes) const override
    {
        const std::error_code error = m_pMachine->Before("read", m_strPath);
        const std::lock_guard<std::mutex> lock(m_pMachine->m_mutex);
        const std::string& strContent = m_pNode->strContent;
        strBytes = error ? "" : strContent.substr(std::min<std::size_t>(nOffset, strContent.size()), nBytes);
        return error;
    }

    std::error_code Sync() override
    {
        const std::error_code error = m_pMachine->Before("sync", m_strPath);
        const std::lock_guard<std::mutex> lock(m_pMachine->m_mutex);
        for (const auto& [nWhere, strBytes] : m_pNode->vecUnsynced) {
            if (!error) {
                Overwrite(m_pNode->strOnDisk, nWhere, strBytes);
            }
        }
        m_pNode->vecUnsynced.clear();
        return error;
    }

    std::error_code KeepReserved(std::uint64_t nBytes) override
    {
        const std::error_code error = m_pMachine->Before("keep reserved", m_strPath);
        const std::lock_guard<std::mutex> lock(m_pMachine->m_mutex);
        if (!error) {
            m_pNode->nReserved = m_pNode->strContent.size() + nBytes;
        }
        return error;
    }

private:
    const std::shared_ptr<Machine> m_pMachine;
    const std::shared_ptr<Node> m_pNode;
    const std::string m_strPath;
};

namespace
{

class MemoryLock : public DiskLock
{
public:
    explicit MemoryLock(std::shared_ptr<Node> pNode) : m_pNode(std::move(pNode)) { m_pNode->bLocked = true; }
    ~MemoryLock() override { m_pNode->bLocked = false; }
    MemoryLock(const MemoryLock&) = delete;
    MemoryLock& operator=(const MemoryLock&) = delete;

private:
    const std::shared_ptr<Node> m_pNode;
};

} // namespace

std::error_code Machine::Before(const std::string& strOperation, const std::string& strPath) const
{
    return fnBefore ? fnBefore(strOperation, strPath) : std::error_code();
}

std::shared_ptr<Machine> Machine::AfterPowerCut(Random& random) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    auto pLeft = std::make_shared<Machine>();
    pLeft->m_pRoot = NodeAfterPowerCut(*m_pRoot, random);
    return pLeft;
}

std::shared_ptr<Machine> Machine::Copy() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    auto pCopy = std::make_shared<Machine>();
    pCopy->m_pRoot = CopyOf(*m_pRoot);
    return pCopy;
}

std::map<std::string, std::string> Machine::Files() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::map<std::string, std::string> mapFiles;
    AddFiles(*m_pRoot, "", mapFiles);
    return mapFiles;
}

std::shared_ptr<Node> Machine::Find(const std::string& strPath) const
{
    std::shared_ptr<Node> pNode = m_pRoot;
    for (std::size_t nBegin = 0; nBegin < strPath.size() && pNode != nullptr;) {
        const std::size_t nEnd = std::min(strPath.find('/', nBegin), strPath.size());
        const auto it = pNode->mapEntries.find(strPath.substr(nBegin, nEnd - nBegin));
        pNode = it == pNode->mapEntries.end() ? nullptr : it->second;
        nBegin = nEnd + 1;
    }
    return pNode;
}

std::shared_ptr<Node> Machine::FolderOf(const std::string& strPath, std::string& strName) const
{
    const std::size_t nSlash = strPath.rfind('/');
    strName = strPath.substr(nSlash == std::string::npos ? 0 : nSlash + 1);
    return Find(nSlash == std::string::npos ? "" : strPath.substr(0, nSlash));
}

void Machine::Put(const std::string& strFile, const std::string& strContent)
{
    std::string strName;
    const std::shared_ptr<Node> pFolder = FolderOf(strFile, strName);
    auto pNode = std::make_shared<Node>();
    pNode->strContent = pNode->strOnDisk = strContent;
    pFolder->mapEntries[strName] = pFolder->mapOnDisk[strName] = pNode;
}

void Machine::Take(const std::string& strPath)
{
    std::string strName;
    const std::shared_ptr<Node> pFolder = FolderOf(strPath, strName);
    pFolder->mapEntries.erase(strName);
    pFolder->mapOnDisk.erase(strName);
}

std::error_code MemoryDisk::Add(const std::string& strPath, std::shared_ptr<Node> pNode)
{
    std::string strName;
    const std::shared_ptr<Node> pFolder = m_pMachine->FolderOf(strPath, strName);
    if (pFolder == nullptr) {
        return No(std::errc::no_such_file_or_directory);
    }
    if (!pFolder->mapEntries.emplace(strName, pNode).second) {
        return No(std::errc::file_exists);
    }
    pFolder->vecUnsyncedEntries.emplace_back(strName, std::move(pNode));
    return {};
}

std::error_code MemoryDisk::MakeFolder(const std::string& strFolder)
{
    if (const std::error_code error = m_pMachine->Before("make folder", strFolder)) {
        return error;
    }
    const std::lock_guard<std::mutex> lock(m_pMachine->m_mutex);
    auto pNode = std::make_shared<Node>();
    pNode->bFolder = true;
    return Add(strFolder, std::move(pNode));
}

std::error_code MemoryDisk::List(const std::string& strFolder, std::vector<DiskEntry>& vecEntries) const
{
    vecEntries.clear();
    if (const std::error_code error = m_pMachine->Before("list", strFolder)) {
        return error;
    }
    const std::lock_guard<std::mutex> lock(m_pMachine->m_mutex);
    const std::shared_ptr<Node> pFolder = m_pMachine->Find(strFolder);
    if (pFolder == nullptr || !pFolder->bFolder) {
        return No(std::errc::no_such_file_or_directory);
    }
    for (const auto& [strName, pNode] : pFolder->mapEntries) {
        const std::uint64_t nBytes = std::max<std::uint64_t>(pNode->strContent.size(), pNode->nReserved);
        vecEntries.push_back({strName, pNode->bFolder ? 0 : nBytes, pNode->bFolder});
    }
    return {};
}

std::error_code MemoryDisk::SyncFolder(const std::string& strFolder)
{
    const std::error_code error = m_pMachine->Before("sync folder", strFolder);
    const std::lock_guard<std::mutex> lock(m_pMachine->m_mutex);
    const std::shared_ptr<Node> pFolder = m_pMachine->Find(strFolder);
    if (pFolder == nullptr) {
        return No(std::errc::no_such_file_or_directory);
    }
    if (!error) {
        pFolder->mapOnDisk = pFolder->mapEntries;
        pFolder->vecUnsyncedEntries.clear();
    }
    return error;
}

std::unique_ptr<DiskFile> MemoryDisk::Create(const std::string& strFile, std::uint64_t nReserve,
                                             std::error_code& error)
{
    auto pNode = std::make_shared<Node>();
    pNode->nReserved = nReserve;
    error = m_pMachine->Before("create", strFile);
    const std::lock_guard<std::mutex> lock(m_pMachine->m_mutex);
    if (!error) {
        error = Add(strFile, pNode);
    }
    return error ? nullptr : std::make_unique<MemoryFile>(m_pMachine, pNode, strFile);
}

std::unique_ptr<DiskFile> MemoryDisk::Open(const char* szOperation, const std::string& strFile,
                                           std::error_code& error) const
{
    error = m_pMachine->Before(szOperation, strFile);
    const std::lock_guard<std::mutex> lock(m_pMachine->m_mutex);
    const std::shared_ptr<Node> pNode = m_pMachine->Find(strFile);
    if (!error && (pNode == nullptr || pNode->bFolder)) {
        error = No(pNode == nullptr ? std::errc::no_such_file_or_directory : std::errc::is_a_directory);
    }
    return error ? nullptr : std::make_unique<MemoryFile>(m_pMachine, pNode, strFile);
}

std::unique_ptr<DiskFile> MemoryDisk::OpenToRead(const std::string& strFile, std::error_code& error) const
{
    return Open("open to read", strFile, error);
}

std::unique_ptr<DiskFile> MemoryDisk::OpenToAppend(const std::string& strFile, std::error_code& error)
{
    return Open("open to append", strFile, error);
}

std::error_code MemoryDisk::Remove(const std::string& strPath, bool bFolder)
{
    const std::lock_guard<std::mutex> lock(m_pMachine->m_mutex);
    std::string strName;
    const std::shared_ptr<Node> pFolder = m_pMachine->FolderOf(strPath, strName);
    const std::shared_ptr<Node> pNode = m_pMachine->Find(strPath);
    if (pFolder == nullptr || pNode == nullptr) {
        return No(std::errc::no_such_file_or_directory);
    }
    if (pNode->bFolder != bFolder) {
        return No(bFolder ? std::errc::not_a_directory : std::errc::is_a_directory);
    }
    if (!pNode->mapEntries.empty()) {
        return No(std::errc::directory_not_empty);
    }
    pFolder->mapEntries.erase(strName);
    pFolder->vecUnsyncedEntries.emplace_back(strName, nullptr);
    return {};
}

std::error_code MemoryDisk::RemoveFile(const std::string& strFile)
{
    const std::error_code error = m_pMachine->Before("remove file", strFile);
    return error ? error : Remove(strFile, false);
}

std::error_code MemoryDisk::RemoveFolder(const std::string& strFolder)
{
    const std::error_code error = m_pMachine->Before("remove folder", strFolder);
    return error ? error : Remove(strFolder, true);
}

std::unique_ptr<DiskLock> MemoryDisk::Lock(const std::string& strFile, std::error_code& error)
{
    error = m_pMachine->Before("lock", strFile);
    const std::lock_guard<std::mutex> lock(m_pMachine->m_mutex);
    std::shared_ptr<Node> pNode = m_pMachine->Find(strFile);
    if (!error && pNode == nullptr) {
        pNode = std::make_shared<Node>();
        error = Add(strFile, pNode);
    }
    if (!error && (pNode->bFolder || pNode->bLocked)) {
        error = No(pNode->bFolder ? std::errc::is_a_directory : std::errc::device_or_resource_busy);
    }
    return error ? nullptr : std::make_unique<MemoryLock>(pNode);
}

std::error_code MemoryDisk::FreeBytes(std::uint64_t& nBytes) const
{
    nBytes = m_pMachine->nFreeBytes;
    return m_pMachine->Before("free bytes", "");
}
