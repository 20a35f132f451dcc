#include "Requeue.h"

#include "DeadLetter.h"
#include "Run.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <utility>

namespace outbox
{

namespace
{

constexpr const char* NO_SUCH_LETTER = "there is no such dead letter, or it is damaged";

/// A letter whose report was added to the new run.
struct Added {
    std::string strName;
    std::uint64_t nSequence;
};

/// Adds the report of a letter.
/// @return why that failed; empty if it did not
std::string Add(Folder& folder, Run& run, const std::string& strName, std::vector<Added>& vecAdded)
{
    std::error_code error;
    std::optional<DeadLetter> optLetter = ReadDeadLetter(folder.Files(), strName, error);
    if (!optLetter) {
        return error ? error.message() : NO_SUCH_LETTER;
    }
    using namespace std::chrono;
    Report& report = optLetter->record.report;
    report.nStoredMs = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    std::string strWhyNot;
    const std::optional<std::uint64_t> optSequence = run.Add(report, true, strWhyNot);
    if (optSequence) {
        vecAdded.push_back({strName, *optSequence});
    }
    return strWhyNot;
}

/// Brings a new run onto the disk.
std::error_code Sync(Folder& folder, const Run& run)
{
    std::error_code error;
    for (const std::shared_ptr<Segment>& pSegment : run.Segments()) {
        const std::shared_ptr<DiskFile> pFile = error ? nullptr : pSegment->Unsynced();
        error = pFile == nullptr ? error : pFile->Sync();
    }
    for (const std::string& strFolder : {run.Path(), std::string(RUNS_FOLDER)}) {
        error = error ? error : folder.Files().SyncFolder(strFolder);
    }
    return error;
}

/// Removes a run again with everything that was added to it.
void Undo(Run& run, const std::vector<Added>& vecAdded)
{
    for (const Added& added : vecAdded) {
        run.End(added.nSequence, Ending::Dropped);
    }
    run.Seal();
    run.Remove();
}

} // namespace

Requeued Requeue(Folder& folder, const std::vector<std::string>& vecNames)
{
    Requeued requeued;
    const auto Fail = [&requeued](const std::string& strName, const std::string& strWhy) {
        requeued.vecFailures.push_back(strName + ": " + strWhy);
    };
    std::error_code error;
    const std::shared_ptr<Run> pRun = vecNames.empty() ? nullptr : Run::Make(folder, error);
    std::vector<Added> vecAdded;
    for (const std::string& strName : vecNames) {
        const std::string strWhyNot =
            pRun == nullptr ? error.message() : Add(folder, *pRun, strName, vecAdded);
        if (!strWhyNot.empty()) {
            Fail(strName, strWhyNot);
        }
    }
    if (pRun == nullptr) {
        return requeued;
    }
    error = Sync(folder, *pRun);
    if (error || vecAdded.empty()) { // the letters stay, so nothing is lost
        Undo(*pRun, vecAdded);
    }
    for (const Added& added : vecAdded) {
        const std::error_code failed =
            error ? error : folder.Files().RemoveFile(std::string(DEAD_FOLDER) + "/" + added.strName);
        if (failed) {
            Fail(added.strName, failed.message());
        } else {
            requeued.vecDone.push_back(added.strName);
        }
    }
    if (!requeued.vecDone.empty()) { // should this fail, a letter may be there again after a power cut
        static_cast<void>(folder.Files().SyncFolder(DEAD_FOLDER));
    }
    return requeued;
}

} // namespace outbox
