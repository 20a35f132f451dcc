#include "Store.h"

#include "DeadLetter.h"

#include <algorithm>
#include <utility>

namespace outbox
{

namespace
{

/// Numbers of runs of this process; those that were found have smaller ones.
constexpr std::uint64_t FIRST_OWN_RUN = std::uint64_t{1} << 32U;

/// After a failure nothing new is created for so long, so that a full disk costs a busy host little.
constexpr std::chrono::seconds PAUSE{1};

/// Whether the next file would fail to open, too.
bool IsShortage(const std::error_code& error)
{
    return error == std::errc::too_many_files_open || error == std::errc::too_many_files_open_in_system ||
           error == std::errc::not_enough_memory;
}

} // namespace

Store::Store(std::unique_ptr<Disk> pDisk, StoreSettings settings)
    : m_pDisk(std::move(pDisk)),
      m_settings(std::move(settings)),
      m_folder(*m_pDisk, m_settings.limits),
      m_nOwnRun(FIRST_OWN_RUN)
{
    if (const std::error_code error = m_folder.Prepare()) {
        NoteError("the folder can't be prepared", error);
    }
}

Store::~Store()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    ForgetIfChild();
    for (const auto& [nRun, pRun] : m_mapRuns) {
        pRun->WriteEndings();
    }
    if (m_pOwn != nullptr) {
        m_pOwn->Seal();
        if (m_pOwn->IsOver()) {
            m_pOwn->Remove();
        }
    }
}

/// The files are closed already, and the locks are the parent's.
void Store::ForgetIfChild() const
{
    if (std::exchange(m_bIsChild, false)) {
        m_mapRuns.clear();
        m_pOwn.reset();
    }
}

std::int64_t Store::WallMs() const
{
    using namespace std::chrono;
    return m_settings.fnWallMs ? m_settings.fnWallMs()
                               : duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

void Store::NoteError(const std::string& strWhat, const std::error_code& error) const
{
    m_strLastError = strWhat + ": " + error.message();
}

std::optional<ReportId> Store::Add(Report& report)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    ForgetIfChild();
    const bool bMayGrow = m_settings.fnNow() >= m_tpNextTry;
    const auto Refuse = [&](bool bTried) {
        if (bTried) {
            m_tpNextTry = m_settings.fnNow() + PAUSE;
            m_strLastError = m_strWhyNot;
        }
        return std::nullopt;
    };
    if (m_pOwn == nullptr) {
        if (!bMayGrow) {
            return Refuse(false);
        }
        std::error_code error;
        m_pOwn = Run::Make(m_folder, error);
        if (m_pOwn == nullptr) {
            m_strWhyNot = "no new folder: " + error.message();
            return Refuse(true);
        }
        m_bNamesSynced = false;
        m_mapRuns[++m_nOwnRun] = m_pOwn;
    }
    report.nStoredMs = WallMs();
    const auto optSequence = m_pOwn->Add(report, bMayGrow, m_strWhyNot);
    return optSequence ? std::optional<ReportId>({m_nOwnRun, *optSequence}) : Refuse(bMayGrow);
}

std::string Store::WhyNot() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_strWhyNot;
}

void Store::End(ReportId id, Ending eEnding)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    ForgetIfChild();
    EndLocked(id, eEnding);
}

void Store::EndLocked(ReportId id, Ending eEnding)
{
    const auto it = m_mapRuns.find(id.nRun);
    if (it == m_mapRuns.end()) {
        return;
    }
    const std::shared_ptr<Run> pRun = it->second;
    pRun->End(id.nSequence, eEnding);
    if (pRun != m_pOwn && pRun->IsOver()) {
        m_mapRuns.erase(it);
        pRun->Remove();
    }
}

bool Store::Bury(ReportId id, Ending eEnding, std::string_view strWhy, int nStatus)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    ForgetIfChild();
    const std::optional<Found> optFound = Find(id);
    lock.unlock();
    if (!optFound) {
        return false;
    }
    Record record;
    std::string strBytes;
    std::error_code error;
    if (Fetch(*optFound, record, strBytes, error) != Reading::Whole) {
        return false;
    }
    error = WriteDeadLetter(*m_pDisk, optFound->pRun->Name(), id.nSequence, strBytes,
                            {eEnding, strWhy, nStatus, WallMs()});
    lock.lock();
    if (error) {
        NoteError("a dead letter can't be written", error);
        return false;
    }
    EndLocked(id, eEnding);
    return true;
}

std::optional<Store::Found> Store::Located(std::uint64_t nRun, const std::shared_ptr<Run>& pRun,
                                           std::optional<Run::Place> optPlace) const
{
    return optPlace ? std::optional<Found>({{nRun, optPlace->nSequence}, pRun, *optPlace}) : std::nullopt;
}

std::optional<Store::Found> Store::Find(ReportId id) const
{
    const auto it = m_mapRuns.find(id.nRun);
    return it == m_mapRuns.end() ? std::nullopt
                                 : Located(it->first, it->second, it->second->PlaceOf(id.nSequence));
}

std::optional<Store::Found> Store::FindAfter(ReportId after) const
{
    for (auto it = m_mapRuns.lower_bound(after.nRun); it != m_mapRuns.end(); ++it) {
        const std::uint64_t nAfter = it->first == after.nRun ? after.nSequence : 0;
        if (auto optFound = Located(it->first, it->second, it->second->WaitingAfter(nAfter))) {
            return optFound;
        }
    }
    return std::nullopt;
}

/// Needs no lock: what stands in a segment does not change.
Reading Store::Fetch(const Found& found, Record& record, std::string& strBytes, std::error_code& error) const
{
    if (found.at.pFile == nullptr) {
        error = found.at.error;
        return Reading::None;
    }
    const Reading eReading = FetchRecord(*found.at.pFile, found.pRun->Name(), found.at.place.nOffset,
                                         found.at.place.nSteps, record, strBytes, error);
    return record.nSequence == found.id.nSequence ? eReading : Reading::None;
}

std::optional<Waiting> Store::Next(ReportId after)
{
    for (;;) {
        std::unique_lock<std::mutex> lock(m_mutex);
        ForgetIfChild();
        const std::optional<Found> optFound = FindAfter(after);
        lock.unlock();
        if (!optFound) {
            return std::nullopt;
        }
        Record record;
        std::string strBytes;
        std::error_code error;
        const Reading eReading = Fetch(*optFound, record, strBytes, error);
        lock.lock();
        if (eReading == Reading::Whole && optFound->pRun->IsWaiting(optFound->id.nSequence)) {
            return Waiting{optFound->id, std::move(record.report)};
        }
        after = optFound->id;
        if (eReading == Reading::Whole) { // it ended meanwhile
            continue;
        }
        if (!error) { // damaged: what is left of the segment is found by reading all of it
            error = optFound->pRun->Reload(*optFound->at.pSegment);
        }
        if (error) {
            NoteError("a report can't be read now", error);
            if (IsShortage(error)) {
                return std::nullopt;
            }
            after.nSequence = optFound->at.pSegment->LastSequence(); // its others can't be read either
        }
    }
}

ShelfStatus Store::Status() const
{
    ShelfStatus status;
    const FolderUse use = m_folder.Measure();
    status.nBytes = use.nBytes;
    status.nDead = use.nDead;
    status.nBad = use.nBad;
    std::unique_lock<std::mutex> lock(m_mutex);
    ForgetIfChild();
    status.nTorn = m_nTorn;
    status.strLastError = m_strLastError;
    std::vector<Found> vecFirst;
    for (const auto& [nRun, pRun] : m_mapRuns) {
        status.nWaiting += pRun->CountWaiting();
        if (auto optFound = Located(nRun, pRun, pRun->WaitingAfter(0))) {
            vecFirst.push_back(*optFound);
        }
    }
    lock.unlock();
    for (const Found& found : vecFirst) {
        Record record;
        std::string strBytes;
        std::error_code error;
        if (Fetch(found, record, strBytes, error) == Reading::Whole) {
            const std::chrono::milliseconds age(WallMs() - record.report.nStoredMs);
            status.oldest = std::max(status.oldest, age); // never below 0, whatever the clock says
        }
    }
    return status;
}

} // namespace outbox
