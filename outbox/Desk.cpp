#include "Desk.h"

#include "Say.h"
#include "Url.h"

#include "platform/system/NeverDestroyed.h"

#include <ktshttpagent/chttpclient.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace outbox
{
namespace
{

/// Whether the sender of a first attempt gets the reply itself, and not the word that the report is stored.
bool AnswersAsItCame(Verdict eVerdict)
{
    return eVerdict == Verdict::Acknowledged || eVerdict == Verdict::SaidNo || eVerdict == Verdict::Poison ||
           eVerdict == Verdict::Hopeless;
}

} // namespace

const std::string& StoredBody()
{
    static const NeverDestroyed<const std::string> strBody(
        R"({"success":true})"); // replies come until the end
    return *strBody;
}

Desk::Desk(const OutboxSettings& settings, Means means)
    : m_eSync(settings.eSync),
      m_means(std::move(means)),
      m_courier({CourierSettings().nPerSecond, settings.bRepeatSeen}, *m_means.pRandom),
      m_bMayAdopt(m_means.bTransportRuns)
{
    static_cast<void>(StoredBody()); // made while there is memory
}

bool Desk::Send(Report report, void* pUserData) noexcept
{
    try {
        const std::string strUrl = report.strUrl;
        const std::optional<Address> address = ReadAddress(strUrl);
        if (!address) {
            NoteUnprotected("its address is no URL");
            return false;
        }
        report.strUrl = address->strBare;
        if (m_credentials.Remember(address->strServer, address->strUserInfo)) {
            const Lock lock(m_mutex);
            m_courier.Hasten(address->strServer, Now());
        }
        return Store(report, *address, pUserData, strUrl);
    } catch (const std::exception& error) {
        NoteUnprotected(error.what());
        return false;
    }
}

/// Everything that can fail comes before the addition to the disk, and with it the promise.
/// @throws std::exception if the report was not added
bool Desk::Store(Report& report, const Address& address, void* pUserData, const std::string& strUrl)
{
    Tokens mapToken{{nullptr, nullptr}};
    Courier::Adding adding;
    {
        const Lock lock(m_mutex);
        if (m_bStopped) {
            return false;
        }
        adding = m_courier.Prepare(report, address, pUserData);
    }
    std::optional<ReportId> id;
    try {
        id = m_means.pShelf->Add(report);
    } catch (const std::exception&) { // not added
    }
    if (!id) {
        {
            const Lock lock(m_mutex);
            m_courier.Abandon(adding);
        }
        NoteUnprotected(m_means.pShelf->WhyNot().c_str());
        return false;
    }
    NoteProtected();
    if (Flight* const pFlight = Begin(adding, *id, mapToken)) {
        Launch(report, &strUrl, *pFlight);
    }
    return true;
}

/// Decides how a report goes that is on the disk now, and has the clerk sync it.
Flight* Desk::Begin(Courier::Adding& adding, ReportId id, Tokens& mapToken) noexcept
{
    Lock lock(m_mutex);
    std::list<Owed>& lstOwed = adding.flight.mapped().lstOwed;
    lstOwed.front().nAdded = ++m_nAdded;
    if (m_bStopped) {
        m_courier.Abandon(adding);
        Owe(lstOwed, lock);
        return nullptr;
    }
    Flight* const pFlight = m_courier.Begin(adding, id, Now());
    if (pFlight == nullptr) {
        m_lstStored.splice(m_lstStored.end(), lstOwed);
    } else {
        auto token = mapToken.extract(mapToken.begin());
        token.key() = token.mapped() = pFlight;
        m_mapToken.insert(std::move(token));
    }
    const bool bSync = !m_tpSync && (pFlight == nullptr || m_eSync != SyncMode::None);
    if (bSync) {
        m_tpSync = Now() + Milliseconds(m_eSync == SyncMode::Within50Ms ? 50 : 0);
    }
    lock.unlock();
    if (bSync) {
        Wake();
    }
    return pFlight;
}

/// Has the sender of a report called back when the report is on the disk; after a stop, on this thread.
void Desk::Owe(std::list<Owed>& lstOwed, Lock& lock) noexcept
{
    if (lstOwed.empty()) {
        return;
    }
    m_lstStored.splice(m_lstStored.end(), lstOwed);
    m_tpSync = m_tpSync.value_or(Now());
    if (m_bStopped) {
        lock.unlock();
        CallBackStored();
        lock.lock();
    }
}

/// Gives a report to the transport. From then on the flight may end at any time.
void Desk::Launch(Report& report, const std::string* pUrl, Flight& flight) noexcept
{
    try {
        report.strUrl = pUrl != nullptr ? *pUrl : m_credentials.Complete(report.strUrl);
        if (m_means.pPost->Send(report, &flight)) {
            return;
        }
    } catch (...) { // it is not accepted either
    }
    Flight* const pFlight = Claim(&flight);
    if (pFlight == nullptr) {
        return; // a transport that refuses a report and answers it all the same
    }
    {
        Lock lock(m_mutex);
        Owe(pFlight->lstOwed, lock);
    }
    Land(*pFlight, {Verdict::TryLater, false}, Fate::Waits, CHttpOutcome::NotRunning, Milliseconds(0));
}

Flight* Desk::Claim(const void* pToken)
{
    const Lock lock(m_mutex);
    const auto found = m_mapToken.find(pToken);
    if (found == m_mapToken.end()) {
        return nullptr;
    }
    Flight* const pFlight = found->second;
    m_mapToken.erase(found);
    return pFlight;
}

bool Desk::OnReply(const std::string& strBody, void* pToken, int nError, const Answer& fnAnswer)
{
    Flight* const pFlight = Claim(pToken);
    if (pFlight == nullptr) {
        return false;
    }
    Milliseconds retryAfter(0);
    const Judgement judgement = JudgeReply(strBody, *pFlight, nError, retryAfter);
    Fate eFate = Fate::Waits;
    {
        const Lock lock(m_mutex);
        eFate = m_courier.Decide(*pFlight, judgement);
    }
    eFate = CarryOut(eFate, pFlight->id, judgement.eVerdict, nError);
    const std::string strKey = std::move(pFlight->strKey);
    const int nType = pFlight->nType;
    bool bFirst = false;
    std::list<Owed> lstAnswer; // its sender is answered here, or else when the report is on the disk
    const bool bAsItCame = AnswersAsItCame(judgement.eVerdict);
    {
        Lock lock(m_mutex);
        bFirst = !pFlight->lstOwed.empty();
        if (bFirst && (bAsItCame || IsSynced(pFlight->lstOwed.front().nAdded))) {
            lstAnswer.swap(pFlight->lstOwed);
        }
        Owe(pFlight->lstOwed, lock);
    }
    Land(*pFlight, judgement, eFate, nError, retryAfter);
    if (eFate == Fate::Parked || (eFate != Fate::Waits && !bFirst)) {
        Tell(strKey, nType, eFate, judgement.eVerdict, nError);
    }
    for (const Owed& owed : lstAnswer) {
        fnAnswer(bAsItCame ? strBody : StoredBody(), owed.nType, owed.pUserData, bAsItCame ? nError : 0);
    }
    return true;
}

Judgement Desk::JudgeReply(const std::string& strBody, const Flight& flight, int nError,
                           Milliseconds& retryAfter) const noexcept
{
    try {
        const std::chrono::seconds wait = m_means.pPost->RetryAfter().value_or(std::chrono::seconds(0));
        retryAfter =
            std::min<std::chrono::seconds>(wait, std::chrono::hours(1)); // no overflow in milliseconds
        return Judge({nError, strBody, flight.pPlace->bHttp, m_means.pPost->MayHaveBeenSeen()});
    } catch (const std::exception&) { // no memory: the report is tried again
        return {Verdict::TryLater, true};
    }
}

/// Notes on the disk what became of a report.
/// @return `Waits` if a dead letter can't be written
Fate Desk::CarryOut(Fate eFate, ReportId id, Verdict eVerdict, int nError) noexcept
{
    try {
        if (eFate == Fate::Acknowledged) {
            m_means.pShelf->End(id, Ending::Acknowledged);
        } else if (eFate != Fate::Waits) {
            const Ending eEnding = eFate == Fate::Parked ? Ending::Parked : Ending::Dead;
            if (!m_means.pShelf->Bury(id, eEnding, Reason(eVerdict, nError), nError)) {
                return Fate::Waits;
            }
        }
        return eFate;
    } catch (const std::exception&) { // an acknowledged report is sent once more by the next run
        return eFate == Fate::Acknowledged ? eFate : Fate::Waits;
    }
}

/// Ends a flight.
void Desk::Land(Flight& flight, Judgement judgement, Fate eFate, int nError, Milliseconds retryAfter) noexcept
{
    const bool bAnswered = nError >= 0;
    bool bAlarm = false;
    const int nType = flight.nType;
    bool bWake = false;
    {
        const Lock lock(m_mutex);
        const bool bWasInAlarm = m_courier.IsInAlarm();
        m_courier.End(flight, judgement, eFate, bAnswered, retryAfter, Now());
        bAlarm = !bWasInAlarm && m_courier.IsInAlarm();
        const bool bAdoptsNow = !m_bMayAdopt && nError != CHttpOutcome::NotRunning;
        m_bMayAdopt = m_bMayAdopt || bAdoptsNow;
        bWake = !m_bStopped && (bAdoptsNow || m_courier.HasBacklog() || !m_lstStored.empty());
        m_change.notify_all();
    }
    if (bAlarm) {
        Say(1, __LINE__, "reports are not accepted, they wait until they are: ", nType, judgement.eVerdict,
            nError);
    }
    if (eFate == Fate::Buried || eFate == Fate::Parked) {
        Say(2, __LINE__, "a report lies among the dead letters now: ", nType, judgement.eVerdict, nError);
    }
    if (bWake) {
        Wake();
    }
}

} // namespace outbox
