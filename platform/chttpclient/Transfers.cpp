#include "Transfers.h"

#include "IdleConnections.h"
#include "LaneKey.h"

#include <ktshttpagent/clog.h>

#include <algorithm>
#include <new>
#include <thread>
#include <utility>

namespace chttpclient
{
namespace
{

constexpr long MAX_KEPT_CONNECTIONS = 64;
#if defined(_WIN32)
// Windows reports only once that a socket is writable. If that is missed, as happens with large bodies, a
// transfer continues only when all transfers are checked.
constexpr int LONGEST_WAIT_MS = 50;
#else
constexpr int LONGEST_WAIT_MS = 3'600'000; // libcurl knows when it has something to do
#endif

} // namespace

Transfers::Transfers(const TransportSettings& settings)
    : m_settings(settings),
      m_pShare(curl_share_init()),
      m_pMulti(curl_multi_init()),
      m_kept(settings.postIdle, MAX_KEPT_CONNECTIONS)
{
    // With no descriptors left, libcurl creates a handle that can't be woken, and reports that only here.
    if (m_pMulti == nullptr || curl_multi_wakeup(m_pMulti.get()) != CURLM_OK || m_pShare == nullptr ||
        curl_share_setopt(m_pShare.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION) != CURLSHE_OK) {
        throw std::bad_alloc();
    }
    curl_multi_setopt(m_pMulti.get(), CURLMOPT_MAXCONNECTS, MAX_KEPT_CONNECTIONS);
}

Transfers::~Transfers() = default;

ExchangeList Transfers::Round(ExchangeList& incoming, Clock::time_point tpCancel)
{
    if (Clock::now() >= tpCancel) {
        CancelAll(CURLE_ABORTED_BY_CALLBACK);
        Refuse(incoming, CURLE_ABORTED_BY_CALLBACK);
        return std::exchange(m_lstFinished, {});
    }
    while (!incoming.empty()) {
        ExchangeList exchange = TakeFirst(incoming);
        Queue(exchange);
    }
    CloseIdle();
    Perform();
    if (m_lstFinished.empty() && AreInFlight()) { // if any ended, others may have begun: perform them first
        PrepareNext();
        Wait(std::min(tpCancel, m_tpCloseIdle));
    }
    return std::exchange(m_lstFinished, {});
}

void Transfers::Perform()
{
    int nRunning = 0;
    if (const CURLMcode eError = curl_multi_perform(m_pMulti.get(), &nRunning); eError != CURLM_OK) {
        Log_Write(1, "chttpclient::CTransferLoop::Run", __LINE__, "curl_multi_perform: %s",
                  curl_multi_strerror(eError));
        CancelAll(CURLE_FAILED_INIT);
    }
    CollectFinished();
}

void Transfers::Queue(ExchangeList& exchange)
{
    try {
        const auto lane = m_mapLane.try_emplace(LaneKey(exchange.front().strUrl)).first;
        lane->second.lstWaiting.splice(lane->second.lstWaiting.end(), exchange);
        m_nWaiting.fetch_add(1, std::memory_order_relaxed);
        FillLane(lane);
    } catch (const std::bad_alloc&) {
        Refuse(exchange, CURLE_OUT_OF_MEMORY);
    }
}

/// Starts as many requests as the lane has room for, and removes the lane when it is empty.
void Transfers::FillLane(Lanes::iterator lane)
{
    Lane& requests = lane->second;
    while (!requests.lstWaiting.empty() && requests.nActive < m_settings.nHostConnections) {
        ExchangeList exchange = TakeFirst(requests.lstWaiting);
        m_nWaiting.fetch_sub(1, std::memory_order_relaxed);
        Begin(exchange, lane);
    }
    if (requests.lstWaiting.empty() && requests.nActive == 0) {
        m_mapLane.erase(lane);
    }
}

void Transfers::Begin(ExchangeList& exchange, Lanes::iterator lane)
{
    Slots slot = m_lstSpare.empty() ? MakeSlot() : std::exchange(m_lstSpare, {});
    if (slot.empty()) {
        Refuse(exchange, CURLE_OUT_OF_MEMORY);
        return;
    }
    Slot& transfer = slot.front();
    CURLcode eBegin = transfer.Begin(std::move(exchange));
    if (eBegin == CURLE_OK && curl_multi_add_handle(m_pMulti.get(), transfer.Handle()) != CURLM_OK) {
        eBegin = CURLE_FAILED_INIT;
    }
    if (eBegin != CURLE_OK) {
        m_lstFinished.splice(m_lstFinished.end(), transfer.Finish(eBegin));
        return;
    }
    ++lane->second.nActive;
    transfer.lane = lane;
    transfer.place = slot.begin();
    m_lstActive.splice(m_lstActive.end(), slot);
}

/// A list of one new transfer; empty if there is no memory for it.
Transfers::Slots Transfers::MakeSlot()
{
    Slots slot;
    try {
        slot.emplace_back(m_settings, m_pShare.get(), m_kept);
    } catch (const std::bad_alloc&) {
        slot.clear();
    }
    return slot;
}

/// Ends every exchange that libcurl reports as done.
void Transfers::CollectFinished()
{
    int nLeft = 0;
    while (const CURLMsg* const pMessage = curl_multi_info_read(m_pMulti.get(), &nLeft)) {
        if (pMessage->msg != CURLMSG_DONE) {
            continue;
        }
        CURLcode eResult = pMessage->data.result; // removing the handle invalidates the message
        Slot& slot = *static_cast<Slot*>(HttpTransfer::Of(pMessage->easy_handle));
        if (slot.NeedsNewConnection()) {
            eResult = BeginAgain(slot);
            if (eResult == CURLE_OK) {
                continue;
            }
        }
        const Lanes::iterator lane = slot.lane;
        End(slot, eResult);
        FillLane(lane);
    }
}

/// Starts a request again on a new connection.
CURLcode Transfers::BeginAgain(Slot& slot)
{
    curl_multi_remove_handle(m_pMulti.get(), slot.Handle());
    const CURLcode eBegin = slot.BeginOnNewConnection();
    const bool bAdded =
        eBegin == CURLE_OK && curl_multi_add_handle(m_pMulti.get(), slot.Handle()) == CURLM_OK;
    return bAdded || eBegin != CURLE_OK ? eBegin : CURLE_FAILED_INIT;
}

void Transfers::End(Slot& slot, CURLcode eResult)
{
    slot.NoteIdleConnection();
    m_tpCloseIdle = Clock::now() + std::chrono::seconds(MAX_IDLE_SECONDS);
    curl_multi_remove_handle(m_pMulti.get(), slot.Handle());
    --slot.lane->second.nActive;
    m_lstFinished.splice(m_lstFinished.end(), slot.Finish(eResult));
    m_lstUsed.splice(m_lstUsed.end(), m_lstActive, slot.place);
}

/// Destroys the handles of exchanges that ended, and makes one for the next exchange. While the loop waits
/// for the network this costs no exchange any time.
void Transfers::PrepareNext()
{
    m_lstUsed.clear();
    if (m_lstSpare.empty()) {
        m_lstSpare = MakeSlot();
    }
}

void Transfers::Refuse(ExchangeList& exchanges, CURLcode eReason)
{
    for (HttpExchange& exchange : exchanges) {
        exchange.nHttpError = -static_cast<int>(eReason);
    }
    m_lstFinished.splice(m_lstFinished.end(), exchanges);
}

void Transfers::CancelAll(CURLcode eReason)
{
    while (!m_lstActive.empty()) {
        End(m_lstActive.front(), eReason);
    }
    for (auto& [strKey, lane] : m_mapLane) {
        Refuse(lane.lstWaiting, eReason);
    }
    m_mapLane.clear();
    m_nWaiting = 0;
}

/// Closes idle connections if their time has come.
void Transfers::CloseIdle()
{
    if (Clock::now() >= m_tpCloseIdle) {
        m_tpCloseIdle = Clock::time_point::max();
        m_lstUsed.clear();
        CloseIdleConnections(m_pMulti.get(), MAX_IDLE_SECONDS - 1); // minus a tolerance between two clocks
    }
}

void Transfers::Wait(Clock::time_point tpEnd)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(tpEnd - Clock::now());
    const auto nMilliseconds = std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, LONGEST_WAIT_MS);
    const CURLMcode eError =
        curl_multi_poll(m_pMulti.get(), nullptr, 0, static_cast<int>(nMilliseconds), nullptr);
    if (eError != CURLM_OK) {
        Log_Write(1, "chttpclient::CTransferLoop::Wait", __LINE__, "curl_multi_poll: %s",
                  curl_multi_strerror(eError));
        CancelAll(CURLE_FAILED_INIT);
        std::this_thread::sleep_for(std::chrono::milliseconds(100)); // no busy loop, whatever is wrong
    }
}

} // namespace chttpclient
