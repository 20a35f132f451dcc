#include "Inspection.h"

#include "RunName.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace outbox
{

namespace
{

constexpr const char* NO_SUCH_LETTER = "there is no such dead letter, or it is damaged";

/// Whether a name is that of a file in its folder, and does not lead elsewhere.
bool IsPlainName(const std::string& strName)
{
    return !strName.empty() && strName.find_first_of("/\\") == std::string::npos && strName[0] != '.';
}

/// Stores a report in a run of its own, on the disk.
std::error_code StoreAlone(Folder& folder, Report report, std::string& strWhyNot)
{
    std::error_code error;
    const std::shared_ptr<Run> pRun = Run::Make(folder, error);
    if (pRun == nullptr) {
        return error;
    }
    if (!pRun->Add(report, true, strWhyNot)) {
        pRun->Remove();
        return std::make_error_code(std::errc::io_error);
    }
    error = pRun->Segments().front()->Unsynced()->Sync();
    for (const std::string& strFolder : {pRun->Path(), std::string(RUNS_FOLDER)}) {
        if (!error) {
            error = folder.Files().SyncFolder(strFolder);
        }
    }
    if (error) { // the letter stays, so nothing is lost
        pRun->End(1, Ending::Dropped);
        pRun->Seal();
        pRun->Remove();
    }
    return error;
}

} // namespace

Inspection::Inspection(std::unique_ptr<Disk> pDisk) : m_pDisk(std::move(pDisk)), m_folder(*m_pDisk, {}) {}

/// A lock that can be had is given back at once.
bool Inspection::IsOwned(const std::string& strRun)
{
    std::error_code error;
    const auto pLock = m_pDisk->Lock(std::string(RUNS_FOLDER) + "/" + strRun + "/lock", error);
    return pLock == nullptr && error == std::errc::device_or_resource_busy;
}

void Inspection::ForEachWaiting(const std::function<bool(const InspectedReport&)>& fnReport)
{
    std::vector<std::string> vecRuns;
    static_cast<void>(m_folder.ListRuns(vecRuns));
    for (const std::string& strRun : vecRuns) {
        Run run(m_folder, strRun, nullptr);
        static_cast<void>(run.LoadMissing()); // `Verify` tells what can't be read
        InspectedReport report{strRun, IsOwned(strRun), {}};
        for (auto optPlace = run.WaitingAfter(0); optPlace;
             optPlace = run.WaitingAfter(optPlace->nSequence)) {
            std::string strBytes;
            std::error_code error = optPlace->error;
            if (optPlace->pFile != nullptr &&
                FetchRecord(*optPlace->pFile, strRun, optPlace->place.nOffset, optPlace->place.nSteps,
                            report.record, strBytes, error) == Reading::Whole &&
                !fnReport(report)) {
                return;
            }
        }
    }
}

std::vector<std::string> Inspection::ListDead() const
{
    std::vector<DiskEntry> vecEntries;
    std::vector<std::string> vecNames;
    static_cast<void>(m_pDisk->List(DEAD_FOLDER, vecEntries));
    for (const DiskEntry& entry : vecEntries) {
        if (!entry.bFolder) {
            vecNames.push_back(entry.strName);
        }
    }
    std::sort(vecNames.begin(), vecNames.end());
    return vecNames;
}

std::optional<DeadLetter> Inspection::ReadDead(const std::string& strName) const
{
    std::error_code error;
    return IsPlainName(strName) ? ReadDeadLetter(*m_pDisk, strName, error) : std::nullopt;
}

std::string Inspection::Requeue(const std::string& strName)
{
    const std::optional<DeadLetter> optLetter = ReadDead(strName);
    if (!optLetter) {
        return NO_SUCH_LETTER;
    }
    using namespace std::chrono;
    Report report = optLetter->record.report;
    report.nStoredMs = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    std::string strWhyNot;
    if (const std::error_code error = StoreAlone(m_folder, std::move(report), strWhyNot)) {
        return strWhyNot.empty() ? error.message() : strWhyNot;
    }
    return DropDead(strName);
}

std::string Inspection::DropDead(const std::string& strName)
{
    std::error_code error = std::make_error_code(std::errc::no_such_file_or_directory);
    if (IsPlainName(strName)) {
        error = m_pDisk->RemoveFile(std::string(DEAD_FOLDER) + "/" + strName);
    }
    if (!error) {
        error = m_pDisk->SyncFolder(DEAD_FOLDER);
    }
    return error ? error.message() : "";
}

std::string Inspection::DropWaiting(const std::string& strRun, std::uint64_t nSequence)
{
    std::error_code error = std::make_error_code(std::errc::no_such_file_or_directory);
    std::vector<std::string> vecRuns;
    static_cast<void>(m_folder.ListRuns(vecRuns));
    if (!std::binary_search(vecRuns.begin(), vecRuns.end(), strRun)) { // locking it would create a file
        return "there is no such run";
    }
    const std::shared_ptr<Run> pRun = Run::Take(m_folder, strRun, error);
    if (pRun == nullptr) {
        return error == std::errc::device_or_resource_busy ? "the process that stored it is still running"
                                                           : error.message();
    }
    const bool bFound = pRun->IsWaiting(nSequence);
    if (bFound) {
        pRun->End(nSequence, Ending::Dropped);
    }
    if (pRun->IsOver()) {
        pRun->Remove();
    }
    return bFound ? "" : "there is no such report";
}

Verdict Inspection::Verify()
{
    Verdict verdict;
    std::vector<std::string> vecRuns;
    if (const std::error_code error = m_folder.ListRuns(vecRuns)) {
        verdict.vecErrors.push_back(std::string(RUNS_FOLDER) + ": " + error.message());
    }
    verdict.nRuns = vecRuns.size();
    for (const std::string& strRun : vecRuns) {
        Run run(m_folder, strRun, nullptr);
        if (const std::error_code error = run.LoadMissing()) {
            verdict.vecErrors.push_back(run.Path() + ": " + error.message());
        }
        verdict.nWaiting += run.CountWaiting();
        verdict.nTorn += run.CountTorn();
        verdict.vecDamages.insert(verdict.vecDamages.end(), run.Damages().begin(), run.Damages().end());
    }
    for (const std::string& strName : ListDead()) {
        std::error_code error;
        if (ReadDeadLetter(*m_pDisk, strName, error)) {
            ++verdict.nDead;
        } else if (error) {
            verdict.vecErrors.push_back(std::string(DEAD_FOLDER) + "/" + strName + ": " + error.message());
        } else {
            verdict.vecDamages.push_back(std::string(DEAD_FOLDER) + "/" + strName);
        }
    }
    return verdict;
}

} // namespace outbox
