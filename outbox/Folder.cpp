#include "Folder.h"

#include "RunName.h"

#include <algorithm>

namespace outbox
{

namespace
{

constexpr std::uint64_t COPIED_AT_ONCE = 1U << 20U;

/// Whether a file has exactly that many bytes.
bool HasLength(const Disk& disk, const std::string& strFile, std::uint64_t nBytes)
{
    std::error_code error;
    std::string strEnd;
    const std::unique_ptr<DiskFile> pFile = disk.OpenToRead(strFile, error);
    return pFile != nullptr && nBytes > 0 && !pFile->Read(nBytes - 1, 2, strEnd) && strEnd.size() == 1;
}

std::error_code Copy(const DiskFile& from, std::uint64_t nOffset, std::uint64_t nBytes, DiskFile& to)
{
    std::string strPart;
    while (nBytes > 0) {
        std::error_code error =
            from.Read(nOffset, static_cast<std::size_t>(std::min(nBytes, COPIED_AT_ONCE)), strPart);
        if (!error) {
            error = strPart.empty() ? std::make_error_code(std::errc::io_error) : to.Append(strPart);
        }
        if (error) {
            return error;
        }
        nOffset += strPart.size();
        nBytes -= strPart.size();
    }
    return to.Sync();
}

} // namespace

std::error_code Folder::Prepare()
{
    for (const char* szFolder : {RUNS_FOLDER, DEAD_FOLDER, BAD_FOLDER}) {
        const std::error_code error = m_disk.MakeFolder(szFolder);
        if (error && error != std::errc::file_exists) {
            return error;
        }
    }
    return {};
}

std::string Folder::WhyNoRoomFor(std::uint64_t nBytes) const
{
    const std::uint64_t nUsed = Measure().nBytes;
    if (nUsed + nBytes > m_limits.nBytes) {
        return "the folder holds " + std::to_string(nUsed) + " bytes, and may hold " +
               std::to_string(m_limits.nBytes);
    }
    std::uint64_t nFree = 0;
    if (const std::error_code error = m_disk.FreeBytes(nFree)) {
        return "the free room of the disk is not known: " + error.message();
    }
    return nFree < m_limits.nFree + nBytes
               ? "the disk has " + std::to_string(nFree) + " bytes free, of which " +
                     std::to_string(m_limits.nFree) + " are left to others"
               : "";
}

FolderUse Folder::Measure() const
{
    FolderUse use;
    std::vector<DiskEntry> vecEntries;
    const auto Count = [&](const std::string& strFolder) { // what can't be listed takes nothing
        static_cast<void>(m_disk.List(strFolder, vecEntries));
        for (const DiskEntry& entry : vecEntries) {
            use.nBytes += entry.nBytes;
        }
        return vecEntries.size();
    };
    use.nDead = Count(DEAD_FOLDER);
    use.nBad = Count(BAD_FOLDER);
    std::vector<std::string> vecRuns;
    static_cast<void>(ListRuns(vecRuns));
    for (const std::string& strRun : vecRuns) {
        Count(std::string(RUNS_FOLDER) + "/" + strRun);
    }
    return use;
}

std::error_code Folder::ListRuns(std::vector<std::string>& vecRuns) const
{
    vecRuns.clear();
    std::vector<DiskEntry> vecEntries;
    const std::error_code error = m_disk.List(RUNS_FOLDER, vecEntries);
    for (const DiskEntry& entry : vecEntries) {
        if (entry.bFolder && IsRunName(entry.strName)) {
            vecRuns.push_back(entry.strName);
        }
    }
    std::sort(vecRuns.begin(), vecRuns.end());
    return error;
}

std::error_code Folder::SetAside(const DiskFile& file, const RecordScan::Piece& piece,
                                 const std::string& strName)
{
    const std::string strTo = std::string(BAD_FOLDER) + "/" + strName;
    if (HasLength(m_disk, strTo, piece.nBytes)) {
        return {};
    }
    static_cast<void>(m_disk.RemoveFile(strTo)); // an earlier copy may have been interrupted
    std::error_code error;
    const std::unique_ptr<DiskFile> pCopy = m_disk.Create(strTo, 0, error);
    if (pCopy == nullptr) {
        return error;
    }
    error = Copy(file, piece.nOffset, piece.nBytes, *pCopy);
    return error ? error : m_disk.SyncFolder(BAD_FOLDER);
}

} // namespace outbox
