#pragma once

#include "Folder.h"
#include "ForkWatch.h"
#include "Run.h"
#include "Shelf.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace outbox
{

struct StoreSettings {
    FolderLimits limits;
    bool bSync = true; ///< false: nothing is ever synced, and `Sync` does nothing
    std::function<std::chrono::steady_clock::time_point()> fnNow = std::chrono::steady_clock::now;
    std::function<std::int64_t()> fnWallMs; ///< milliseconds since 1970 (UTC); empty for the system's clock
};

/// Keeps reports on the disk: those of this process in a run of its own, and those of runs whose owners are
/// gone. After a fork the child knows no reports; its first one begins a run of the child.
///
/// Threads: as `Shelf` says. The lock is held during writes, which go to the system's cache, and never during
/// a sync.
class Store : public Shelf
{
public:
    /// Never fails: a disk that can't be used makes each `Add` fail.
    explicit Store(std::unique_ptr<Disk> pDisk, StoreSettings settings = {});
    ~Store() override;

    std::optional<ReportId> Add(Report& report) override;
    std::string WhyNot() const override;
    bool Sync() override;
    void End(ReportId id, Ending eEnding) override;
    bool Bury(ReportId id, Ending eEnding, std::string_view strWhy, int nStatus) override;
    std::optional<Waiting> Next(ReportId after) override;
    bool Adopt() override;
    ShelfStatus Status() const override;

private:
    /// A report of a run.
    struct Found {
        ReportId id;
        std::shared_ptr<Run> pRun;
        Run::Place at;
    };
    /// What `Sync` has to do.
    struct Unsynced {
        std::shared_ptr<Run> pRun;
        std::shared_ptr<Segment> pSegment;
        std::shared_ptr<DiskFile> pFile; ///< null for what must be written anew without another sync
        std::uint64_t nBytes = 0;
    };

    void ForgetIfChild() const;
    std::int64_t WallMs() const;
    void NoteError(const std::string& strWhat, const std::error_code& error) const;
    std::optional<Found> FindAfter(ReportId after) const;
    std::optional<Found> Find(ReportId id) const;
    std::optional<Found> Located(std::uint64_t nRun, const std::shared_ptr<Run>& pRun,
                                 std::optional<Run::Place> optPlace) const;
    Reading Fetch(const Found& found, Record& record, std::string& strBytes, std::error_code& error) const;
    void EndLocked(ReportId id, Ending eEnding);
    bool RetryUnread();
    std::vector<std::shared_ptr<Run>> Take(const std::vector<std::string>& vecNames, std::size_t nRoom);

    std::vector<Unsynced> CollectUnsynced() const;
    bool SyncNames();
    bool SyncOne(const Unsynced& unsynced);
    bool WriteAnew(const std::shared_ptr<Run>& pRun, const std::shared_ptr<Segment>& pFrom);
    void SyncEndings();

    const std::unique_ptr<Disk> m_pDisk;
    const StoreSettings m_settings;
    mutable Folder m_folder;
    std::set<std::string> m_setLeft; ///< names of runs that there was no room for; of the adopting thread

    mutable std::mutex m_mutex; ///< guards everything below
    mutable bool m_bIsChild = false;
    mutable std::map<std::uint64_t, std::shared_ptr<Run>> m_mapRuns; ///< by number
    mutable std::shared_ptr<Run> m_pOwn;
    mutable bool m_bNamesSynced = true; ///< the names of all our runs are on the disk
    std::uint64_t m_nOwnRun;
    std::uint64_t m_nLastFound = 0;
    std::chrono::steady_clock::time_point m_tpNextTry; ///< after something could not be added
    std::string m_strWhyNot;
    mutable std::string m_strLastError;
    std::uint64_t m_nTorn = 0;

    const ForkWatch m_forkWatch{m_mutex, m_bIsChild};
};

} // namespace outbox
