#pragma once

#include "Courier.h"
#include "Credentials.h"
#include "OutboxSettings.h"
#include "Post.h"
#include "Shelf.h"

#include <ktshttpagent/KtsOutbox.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace outbox
{

/// The body of the reply that a sender gets for a report that is stored and will be sent later.
const std::string& StoredBody();

/// The steady time; tests bring their own.
class Clock
{
public:
    Clock() = default;
    virtual ~Clock() = default;
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;
    virtual TimePoint Now() const = 0;
};

/// Calls the sender of a report back, as the transport would.
using Answer = std::function<void(const std::string& strBody, int nType, void* pUserData, int nError)>;

/// Takes reports from the host, replies from the transport, and turns of the clerk, and carries out what the
/// courier decides: with the shelf, the transport and those who wait for an answer.
///
/// Threads: every function may be called from any thread, `Turn` and `Rest` by one thread at a time. No lock
/// is held while the shelf, the transport, a callback, the observer or the log is called.
class Desk
{
public:
    struct Means {
        std::unique_ptr<Shelf> pShelf;
        std::unique_ptr<Post> pPost;
        std::unique_ptr<Clock> pClock;
        std::unique_ptr<Random> pRandom;
        std::function<void(const SKtsReportEnding&)> fnObserver;
        /// false: whether the transport runs is not known, as in the child of a fork. Then nothing is taken
        /// over before it has carried a report.
        bool bTransportRuns = true;
    };
    struct Figures {
        ShelfStatus shelf;
        std::uint64_t nUnprotected = 0;
        std::string strLastError; ///< of this side
        bool bInAlarm = false;
        std::size_t nLoaded = 0; ///< reports in memory
        std::size_t nLoadedBytes = 0;
    };

    Desk(const OutboxSettings& settings, Means means);

    /// Stores a report and sends it, now or later.
    /// @return false if it can't be stored, or after `Stop`: it is to be sent without an outbox, and its
    ///         sender is not called back by this
    bool Send(Report report, void* pUserData) noexcept;

    /// A reply of the transport.
    /// @param fnAnswer  called at most once, for the end of a first attempt, if the sender is not called back
    ///                  later; its exceptions leave this function, after everything else is done
    /// @return whether the pointer belongs to the outbox
    bool OnReply(const std::string& strBody, void* pToken, int nError, const Answer& fnAnswer);

    /// What the clerk does each time that it wakes up: syncs, calls back, reads and sends, adopts.
    /// @return when it has to wake up again at the latest
    TimePoint Turn() noexcept;
    /// Waits for something to do.
    /// @return false after `Stop`
    bool Rest(TimePoint tpUntil);

    /// From now on nothing is begun. Replies are still taken.
    void Stop();
    /// The callbacks of the reports that are stored and waited for the disk.
    void CallBackStored() noexcept;
    /// The clerk will not call again.
    void NoteClerkGone() noexcept;
    /// @return false if the clerk is still there then
    bool AwaitClerk(Milliseconds patience);
    /// For a transport that stays: whoever still waits for a first attempt gets its callback as for a report
    /// that is stored; the replies that still come are taken, but call nobody back.
    void GiveUpFlights() noexcept;
    /// Waits until no report is on its way any more.
    /// @return false if some still are
    bool AwaitFlights(Milliseconds patience);
    bool HasFlights() const;

    Figures Status() const;

private:
    using Lock = std::unique_lock<std::mutex>;
    using Tokens = std::map<const void*, Flight*>;

    TimePoint Now() const { return m_means.pClock->Now(); }
    bool Store(Report& report, const Address& address, void* pUserData, const std::string& strUrl);
    Flight* Begin(Courier::Adding& adding, ReportId id, Tokens& mapToken) noexcept;
    void Launch(Report& report, const std::string* pUrl, Flight& flight) noexcept;
    Flight* Claim(const void* pToken);
    void Land(Flight& flight, Judgement judgement, Fate eFate, int nError, Milliseconds retryAfter) noexcept;
    void NoteUnprotected(const char* szWhy) noexcept;
    void NoteProtected() noexcept;
    Fate CarryOut(Fate eFate, ReportId id, Verdict eVerdict, int nError) noexcept;
    void Owe(std::list<Owed>& lstOwed, Lock& lock) noexcept;
    Judgement JudgeReply(const std::string& strBody, const Flight& flight, int nError,
                         Milliseconds& retryAfter) const noexcept;
    void Tell(const std::string& strKey, int nType, Fate eFate, Verdict eVerdict, int nError) noexcept;
    bool IsSynced(std::uint64_t nAdded) const { return m_eSync == SyncMode::None || nAdded <= m_nSynced; }
    bool Sync() noexcept;
    void Adopt() noexcept;
    bool DoOne(TimePoint tpNow);
    TimePoint NextTurn(bool bMore) const;
    void Wake();

    const SyncMode m_eSync;
    const Means m_means;
    Credentials m_credentials;

    mutable std::mutex m_mutex; ///< guards everything below
    std::condition_variable m_wake;
    std::condition_variable m_change; ///< a flight, a sync or the clerk has ended
    Courier m_courier;
    Tokens m_mapToken; ///< the flights whose reply has not come
    bool m_bStopped = false;
    bool m_bWake = false;
    bool m_bClerkGone = false;
    bool m_bSyncs = false; ///< a sync is under way
    bool m_bMayAdopt;      ///< what is taken over can be sent
    TimePoint m_tpAdopt{}; ///< next time
    TimePoint m_tpRetry{}; ///< no turn does more before: something failed that may fail again at once

    std::uint64_t m_nAdded = 0;        ///< how many reports were added
    std::uint64_t m_nSynced = 0;       ///< how many of these are on the disk
    std::optional<TimePoint> m_tpSync; ///< when the next sync is due; nothing if nothing is to be synced
    unsigned m_nFailedSyncs = 0;       ///< in a row
    std::list<Owed> m_lstStored;       ///< wait for the next sync

    std::uint64_t m_nUnprotected = 0;
    std::string m_strTrouble; ///< why the last report was unprotected; empty if it was protected
};

} // namespace outbox
