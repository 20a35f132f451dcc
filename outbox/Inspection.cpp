#include "Inspection.h"

#include "RunName.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace outbox
{

namespace
{

/// Whether a name is that of a file in its folder, and does not lead elsewhere.
bool IsPlainName(const std::string& strName)
{
    return !strName.empty() && strName.find_first_of("/\\") == std::string::npos && strName[0] != '.';
}

/// Whether a run or a file is gone, because hosts go on working meanwhile.
bool IsGone(const std::error_code& error)
{
    return error == std::errc::no_such_file_or_directory;
}

/// Where a damaged piece stands that would be set aside as "RUN-00000001-512.bin".
DamagedPlace PlaceOf(const Run& run, const std::string& strName)
{
    const std::size_t nOffset = strName.rfind('-') + 1;
    const std::size_t nNumber = run.Name().size() + 1;
    return {run.Path() + "/" + strName.substr(nNumber, nOffset - 1 - nNumber) + ".seg",
            std::stoull(strName.substr(nOffset))};
}

/// The order in which the letters of a run were stored.
bool IsOlder(const std::string& strName, const std::string& strOther)
{
    const int nRuns = strName.compare(0, RUN_NAME_LENGTH, strOther, 0, RUN_NAME_LENGTH);
    return nRuns != 0 ? nRuns < 0 : std::pair(strName.size(), strName) < std::pair(strOther.size(), strOther);
}

} // namespace

Inspection::Inspection(std::unique_ptr<Disk> pDisk) : m_pDisk(std::move(pDisk)), m_folder(*m_pDisk, {}) {}

std::string Inspection::ForEachWaiting(const std::function<bool(const InspectedReport&)>& fnReport)
{
    std::string strWhyNot;
    const auto Note = [&strWhyNot](const std::string& strPlace, const std::error_code& error) {
        if (error && !IsGone(error)) {
            strWhyNot = strPlace + ": " + error.message();
        }
    };
    std::vector<std::string> vecRuns;
    Note(RUNS_FOLDER, m_folder.ListRuns(vecRuns));
    for (const std::string& strRun : vecRuns) {
        Run run(m_folder, strRun, nullptr);
        Note(run.Path(), run.LoadMissing());
        InspectedReport report{strRun, {}};
        for (auto optPlace = run.WaitingAfter(0); optPlace;
             optPlace = run.WaitingAfter(optPlace->nSequence)) {
            std::string strBytes;
            std::error_code error = optPlace->error;
            if (optPlace->pFile != nullptr &&
                FetchRecord(*optPlace->pFile, strRun, optPlace->place.nOffset, optPlace->place.nSteps,
                            report.record, strBytes, error) == Reading::Whole &&
                !fnReport(report)) {
                return strWhyNot;
            }
            Note(run.Path(), error);
        }
    }
    return strWhyNot;
}

WaitingUse Inspection::MeasureWaiting()
{
    std::vector<std::string> vecRuns;
    const std::error_code error = m_folder.ListRuns(vecRuns);
    WaitingUse use = MeasureWaiting(vecRuns);
    if (error) {
        use.strWhyNot = std::string(RUNS_FOLDER) + ": " + error.message();
    }
    return use;
}

WaitingUse Inspection::MeasureWaiting(const std::vector<std::string>& vecRuns)
{
    WaitingUse use;
    for (const std::string& strRun : vecRuns) {
        Run run(m_folder, strRun, nullptr);
        if (const std::error_code error = run.LoadMissing(); error && !IsGone(error)) {
            use.strWhyNot = run.Path() + ": " + error.message();
        }
        use.nWaiting += run.CountWaiting();
        Record record;
        std::string strBytes;
        std::error_code error;
        const std::optional<Run::Place> optFirst = run.WaitingAfter(0);
        if (optFirst && optFirst->pFile != nullptr &&
            FetchRecord(*optFirst->pFile, strRun, optFirst->place.nOffset, optFirst->place.nSteps, record,
                        strBytes, error) == Reading::Whole) {
            const std::int64_t nStoredMs = record.report.nStoredMs;
            use.optOldestMs = std::min(use.optOldestMs.value_or(nStoredMs), nStoredMs);
        }
    }
    return use;
}

std::vector<std::string> Inspection::ListAbandoned()
{
    std::vector<std::string> vecRuns;
    static_cast<void>(m_folder.ListRuns(vecRuns));
    const auto IsOwned = [this](const std::string& strRun) {
        std::error_code error;
        const auto pLock = m_pDisk->Lock(std::string(RUNS_FOLDER) + "/" + strRun + "/lock", error);
        return pLock == nullptr && error == std::errc::device_or_resource_busy;
    };
    vecRuns.erase(std::remove_if(vecRuns.begin(), vecRuns.end(), IsOwned), vecRuns.end());
    return vecRuns;
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
    std::sort(vecNames.begin(), vecNames.end(), &IsOlder);
    return vecNames;
}

std::optional<DeadLetter> Inspection::ReadDead(const std::string& strName) const
{
    std::error_code error;
    return IsPlainName(strName) ? ReadDeadLetter(*m_pDisk, strName, error) : std::nullopt;
}

Requeued Inspection::Requeue(const std::vector<std::string>& vecNames)
{
    std::vector<std::string> vecPlain;
    std::copy_if(vecNames.begin(), vecNames.end(), std::back_inserter(vecPlain), &IsPlainName);
    return outbox::Requeue(m_folder, vecPlain);
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
        if (const std::error_code error = run.LoadMissing(); error && !IsGone(error)) {
            verdict.vecErrors.push_back(run.Path() + ": " + error.message());
        }
        verdict.nWaiting += run.CountWaiting();
        verdict.nTorn += run.CountTorn();
        for (const std::string& strDamage : run.Damages()) {
            verdict.vecDamages.push_back(PlaceOf(run, strDamage));
        }
    }
    for (const std::string& strName : ListDead()) {
        std::error_code error;
        if (ReadDeadLetter(*m_pDisk, strName, error)) {
            ++verdict.nDead;
        } else if (error && !IsGone(error)) {
            verdict.vecErrors.push_back(std::string(DEAD_FOLDER) + "/" + strName + ": " + error.message());
        } else if (!error) {
            verdict.vecDamages.push_back({std::string(DEAD_FOLDER) + "/" + strName, 0});
        }
    }
    return verdict;
}

} // namespace outbox
