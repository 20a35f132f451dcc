// What reaches the disk, and what is taken over from processes that are gone.

#include "Store.h"

#include <algorithm>
#include <utility>

namespace outbox
{

namespace
{

/// More runs are taken when some of these have ended, because each keeps a file open.
constexpr std::size_t MOST_RUNS = 100;

/// When the oldest waiting report of a run was stored; 0 if that can't be read.
std::int64_t OldestMs(const Run& run)
{
    Record record;
    std::string strBytes;
    std::error_code error;
    const auto optPlace = run.WaitingAfter(0);
    if (optPlace && optPlace->pFile != nullptr) {
        static_cast<void>(FetchRecord(*optPlace->pFile, run.Name(), optPlace->place.nOffset,
                                      optPlace->place.nSteps, record, strBytes, error));
    }
    return record.report.nStoredMs;
}

} // namespace

bool Store::Sync()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    ForgetIfChild();
    for (const auto& [nRun, pRun] : m_mapRuns) {
        pRun->WriteEndings();
    }
    if (!m_settings.bSync) {
        return true;
    }
    const std::vector<Unsynced> vecUnsynced = CollectUnsynced();
    lock.unlock();
    bool bWell = SyncNames();
    for (const Unsynced& unsynced : vecUnsynced) {
        bWell = (SyncOne(unsynced) || WriteAnew(unsynced.pRun, unsynced.pSegment)) && bWell;
    }
    SyncEndings();
    return bWell;
}

std::vector<Store::Unsynced> Store::CollectUnsynced() const
{
    std::vector<Unsynced> vecUnsynced;
    for (const auto& [nRun, pRun] : m_mapRuns) {
        for (const std::shared_ptr<Segment>& pSegment : pRun->Segments()) {
            if (pSegment->bDoubtful) {
                vecUnsynced.push_back({pRun, pSegment, nullptr, 0});
            } else if (const auto pFile = pSegment->Unsynced()) {
                vecUnsynced.push_back({pRun, pSegment, pFile, pSegment->Bytes()});
            }
        }
    }
    return vecUnsynced;
}

/// Brings the names of the runs onto the disk.
bool Store::SyncNames()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_bNamesSynced) {
        return true;
    }
    m_bNamesSynced = true; // unless another run begins meanwhile
    lock.unlock();
    std::error_code error = m_pDisk->SyncFolder("");
    if (!error) {
        error = m_pDisk->SyncFolder(RUNS_FOLDER);
    }
    lock.lock();
    if (error) {
        m_bNamesSynced = false;
        NoteError("a folder can't be synced", error);
    }
    return !error;
}

/// After a failure nobody knows what is on the disk, and another sync could succeed nevertheless. So the same
/// file is never synced again.
bool Store::SyncOne(const Unsynced& unsynced)
{
    if (unsynced.pFile == nullptr) {
        return false;
    }
    Segment& segment = *unsynced.pSegment;
    std::error_code error = unsynced.pFile->Sync();
    if (!error && !segment.bEntrySynced) {
        error = m_pDisk->SyncFolder(unsynced.pRun->Path());
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (error) {
        NoteError("a sync failed", error);
        segment.bDoubtful = true;
        return false;
    }
    segment.bEntrySynced = true;
    segment.NoteSynced(unsynced.nBytes);
    return true;
}

bool Store::WriteAnew(const std::shared_ptr<Run>& pRun, const std::shared_ptr<Segment>& pFrom)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    std::error_code error;
    const std::shared_ptr<Segment> pTo = pRun->BeginMove(pFrom, error);
    if (pTo == nullptr) {
        NoteError("after a failed sync nothing can be written anew", error);
        return false;
    }
    const std::shared_ptr<DiskFile> pFile = pTo->Unsynced();
    lock.unlock();
    if (pFile != nullptr) {
        error = pFile->Sync();
    }
    if (!error) {
        error = m_pDisk->SyncFolder(pRun->Path());
    }
    lock.lock();
    if (error) {
        NoteError("a sync failed", error);
    }
    pRun->EndMove(pFrom, pTo, !error);
    return !error;
}

/// If that fails, a power cut may make an ended report wait again, which the server recognises.
void Store::SyncEndings()
{
    std::vector<std::shared_ptr<DiskFile>> vecFiles;
    std::unique_lock<std::mutex> lock(m_mutex);
    for (const auto& [nRun, pRun] : m_mapRuns) {
        for (const std::shared_ptr<Segment>& pSegment : pRun->Segments()) {
            if (auto pFile = pSegment->TakeUnsyncedEndings()) {
                vecFiles.push_back(std::move(pFile));
            }
        }
    }
    lock.unlock();
    for (const std::shared_ptr<DiskFile>& pFile : vecFiles) {
        static_cast<void>(pFile->Sync());
    }
}

/// Reads what could not be read when its run was taken.
/// @return whether anything was waiting there
bool Store::RetryUnread()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    ForgetIfChild();
    bool bAny = false;
    for (const auto& [nRun, pRun] : m_mapRuns) {
        if (pRun != m_pOwn && pRun->HasUnread()) {
            const std::uint64_t nBefore = pRun->CountWaiting();
            if (const std::error_code error = pRun->LoadMissing()) {
                NoteError("a file of an earlier process can't be read now", error);
            }
            bAny = bAny || pRun->CountWaiting() > nBefore;
        }
    }
    return bAny;
}

bool Store::Adopt()
{
    const bool bRetried = RetryUnread();
    std::vector<std::string> vecNames;
    const std::error_code unlisted = m_folder.ListRuns(vecNames);
    std::unique_lock<std::mutex> lock(m_mutex);
    if (unlisted) {
        NoteError("the folder can't be listed", unlisted);
    }
    for (const auto& [nRun, pRun] : m_mapRuns) {
        vecNames.erase(std::remove(vecNames.begin(), vecNames.end(), pRun->Name()), vecNames.end());
    }
    const std::size_t nRoom = MOST_RUNS - std::min(MOST_RUNS, m_mapRuns.size());
    lock.unlock();
    const std::vector<std::shared_ptr<Run>> vecTaken = Take(vecNames, nRoom);
    lock.lock();
    for (const std::shared_ptr<Run>& pRun : vecTaken) {
        m_mapRuns[++m_nLastFound] = pRun;
        m_bNamesSynced = false;
    }
    return bRetried || !vecTaken.empty();
}

/// Takes as many of these runs as there is room for; the oldest comes first. The others are taken once and
/// left again: that gives back the room of the disk that they had reserved.
std::vector<std::shared_ptr<Run>> Store::Take(const std::vector<std::string>& vecNames, std::size_t nRoom)
{
    std::multimap<std::int64_t, std::shared_ptr<Run>> mapTaken; // by age
    std::set<std::string> setLeft;
    std::uint64_t nTorn = 0;
    std::error_code lastError;
    for (const std::string& strName : vecNames) {
        const bool bRoom = mapTaken.size() < nRoom;
        if (!bRoom && m_setLeft.count(strName) > 0) {
            setLeft.insert(strName);
            continue;
        }
        std::error_code error;
        const std::shared_ptr<Run> pRun = Run::Take(m_folder, strName, error);
        if (pRun != nullptr && pRun->IsOver()) {
            nTorn += pRun->CountTorn();
            pRun->Remove();
        } else if (pRun != nullptr && bRoom) {
            nTorn += pRun->CountTorn();
            mapTaken.emplace(OldestMs(*pRun), pRun);
        } else if (pRun != nullptr) {
            setLeft.insert(strName);
        }
        // Another process may own it, or have removed it meanwhile.
        if (error && error != std::errc::device_or_resource_busy &&
            error != std::errc::no_such_file_or_directory) {
            lastError = error;
        }
    }
    m_setLeft.swap(setLeft);
    std::vector<std::shared_ptr<Run>> vecTaken;
    for (const auto& [nMs, pRun] : mapTaken) {
        vecTaken.push_back(pRun);
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_nTorn += nTorn;
    if (lastError) {
        NoteError("the reports of an earlier process can't all be read now", lastError);
    }
    return vecTaken;
}

} // namespace outbox
