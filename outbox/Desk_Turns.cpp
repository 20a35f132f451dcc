#include "Desk.h"
#include "Say.h"

#include <ktshttpagent/chttpclient.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace outbox
{
namespace
{

constexpr std::chrono::seconds ADOPT_INTERVAL{30};
constexpr std::chrono::seconds PAUSE_AFTER_TROUBLE{1};
/// How often the disk may refuse before senders are told that their reports are not stored.
constexpr unsigned SYNC_TRIES = 3;
/// How long to wait for a sync of another thread.
constexpr std::chrono::seconds LONGEST_SYNC{1};
/// Steps of a turn; then it looks for syncs that are due.
constexpr int STEPS = 64;

} // namespace

TimePoint Desk::Turn() noexcept
{
    const TimePoint tpNow = Now();
    bool bSync = false;
    bool bAdopt = false;
    {
        const Lock lock(m_mutex);
        m_bWake = false;
        bSync = m_tpSync && *m_tpSync <= tpNow;
        bAdopt = !m_bStopped && m_bMayAdopt && m_tpAdopt <= tpNow;
    }
    if (bSync) {
        CallBackStored();
    }
    if (bAdopt) {
        Adopt();
    }
    bool bMore = true;
    try {
        for (int nStep = 0; nStep < STEPS && bMore; ++nStep) {
            bMore = DoOne(Now());
        }
    } catch (const std::exception& error) {
        Say(1, __LINE__, "the backlog has to wait: ", error.what());
        const Lock lock(m_mutex);
        m_tpRetry = Now() + PAUSE_AFTER_TROUBLE;
        bMore = false;
    }
    return NextTurn(bMore);
}

TimePoint Desk::NextTurn(bool bMore) const
{
    const Lock lock(m_mutex);
    const TimePoint tpNow = Now();
    const TimePoint tpSync = m_tpSync.value_or(TimePoint::max());
    if (m_bStopped) {
        return tpSync;
    }
    const TimePoint tpNext = std::min(m_bMayAdopt ? m_tpAdopt : TimePoint::max(), tpSync);
    if (bMore) {
        return std::min(tpNext, tpNow);
    }
    return std::min(tpNext, std::max(m_tpRetry, m_courier.Next(tpNow).value_or(TimePoint::max())));
}

/// Sends or reads one report of the backlog.
/// @return false if there is nothing to do at the moment
/// @throws std::bad_alloc
bool Desk::DoOne(TimePoint tpNow)
{
    Tokens mapToken{{nullptr, nullptr}};
    Lock lock(m_mutex);
    if (m_bStopped || tpNow < m_tpRetry) {
        return false;
    }
    if (std::optional<Courier::Departure> departure = m_courier.TakeDue(tpNow)) {
        auto token = mapToken.extract(mapToken.begin());
        token.key() = token.mapped() = departure->pFlight;
        m_mapToken.insert(std::move(token));
        lock.unlock();
        Launch(departure->report, nullptr, *departure->pFlight);
        return true;
    }
    const std::optional<ReportId> after = m_courier.Wants(tpNow);
    if (!after) {
        return false;
    }
    lock.unlock();
    std::optional<Waiting> waiting = m_means.pShelf->Next(*after);
    lock.lock();
    m_courier.Accept(std::move(waiting), tpNow);
    return true;
}

bool Desk::Rest(TimePoint tpUntil)
{
    Lock lock(m_mutex);
    m_wake.wait_until(lock, tpUntil, [this] { return m_bWake || m_bStopped; });
    return !m_bStopped;
}

void Desk::Wake()
{
    {
        const Lock lock(m_mutex);
        m_bWake = true;
    }
    m_wake.notify_one();
}

/// Takes over what other processes have left, and looks again for reports that the courier does not know, for
/// example because the disk could not be read for a moment.
void Desk::Adopt() noexcept
{
    try {
        bool bRewind = m_means.pShelf->Adopt();
        const std::uint64_t nWaiting = m_means.pShelf->Status().nWaiting;
        const Lock lock(m_mutex);
        bRewind = bRewind || (!m_courier.HasUnread() && nWaiting > m_courier.Known());
        if (bRewind) {
            m_courier.Rewind();
        }
    } catch (const std::exception& error) {
        Say(1, __LINE__, "the outbox could not look for reports of other processes: ", error.what());
    }
    const Lock lock(m_mutex);
    m_tpAdopt = Now() + ADOPT_INTERVAL;
}

/// Brings everything that was added before the call onto the disk.
bool Desk::Sync() noexcept
{
    Lock lock(m_mutex);
    if (!m_change.wait_for(lock, LONGEST_SYNC, [this] { return !m_bSyncs; })) {
        return false;
    }
    m_bSyncs = true;
    m_tpSync.reset();
    const std::uint64_t nUpTo = m_nAdded;
    lock.unlock();
    bool bSynced = m_eSync == SyncMode::None;
    try {
        bSynced = bSynced || m_means.pShelf->Sync();
    } catch (const std::exception&) { // not synced
    }
    lock.lock();
    m_bSyncs = false;
    m_change.notify_all();
    if (bSynced) {
        m_nSynced = std::max(m_nSynced, nUpTo);
    }
    m_nFailedSyncs = bSynced ? 0 : m_nFailedSyncs + 1;
    if (!bSynced) {
        m_tpSync = Now() + PAUSE_AFTER_TROUBLE;
    }
    const bool bSay = m_nFailedSyncs == 1;
    lock.unlock();
    if (bSay) {
        Say(1, __LINE__, "the disk can't keep reports safe from a power cut at the moment");
    }
    return bSynced;
}

void Desk::CallBackStored() noexcept
{
    const bool bSynced = Sync();
    std::list<Owed> lstStored;
    std::list<Owed> lstFailed;
    {
        const Lock lock(m_mutex);
        for (auto it = m_lstStored.begin(); it != m_lstStored.end();) {
            const auto itThis = it++;
            if (IsSynced(itThis->nAdded)) {
                lstStored.splice(lstStored.end(), m_lstStored, itThis);
            } else if (!bSynced && (m_bStopped || m_nFailedSyncs >= SYNC_TRIES)) {
                lstFailed.splice(lstFailed.end(), m_lstStored, itThis);
            }
        }
    }
    const auto fnHandBack = [this](const Owed& owed, const std::string& strBody, int nError) {
        try {
            m_means.pPost->HandBack(owed.nType, strBody, owed.pUserData, nError);
        } catch (...) { // of the receiver: it was called
            Say(1, __LINE__, "the receiver of a stored report threw");
        }
    };
    for (const Owed& owed : lstStored) {
        fnHandBack(owed, StoredBody(), 0);
    }
    for (const Owed& owed : lstFailed) {
        fnHandBack(owed, std::string(), CHttpOutcome::NotRunning);
    }
}

void Desk::Stop()
{
    {
        const Lock lock(m_mutex);
        m_bStopped = true;
    }
    m_wake.notify_all();
}

void Desk::NoteClerkGone() noexcept
{
    const Lock lock(m_mutex);
    m_bClerkGone = true;
    m_change.notify_all();
}

bool Desk::AwaitClerk(Milliseconds patience)
{
    Lock lock(m_mutex);
    return m_change.wait_for(lock, patience, [this] { return m_bClerkGone; });
}

void Desk::GiveUpFlights() noexcept
{
    {
        const Lock lock(m_mutex);
        for (auto& [id, flight] : m_courier.AllFlights()) {
            m_lstStored.splice(m_lstStored.end(), flight.lstOwed);
        }
    }
    CallBackStored();
}

bool Desk::AwaitFlights(Milliseconds patience)
{
    Lock lock(m_mutex);
    return m_change.wait_for(lock, patience, [this] { return m_courier.InFlight() == 0; });
}

bool Desk::HasFlights() const
{
    const Lock lock(m_mutex);
    return m_courier.InFlight() > 0;
}

} // namespace outbox
