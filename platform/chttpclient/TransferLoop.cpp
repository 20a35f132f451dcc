#include "TransferLoop.h"

#include "IdleConnections.h"
#include "UrlParts.h"

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
constexpr int IDLE_WAIT_MS = 3'600'000; // a request or the drain wakes the loop sooner

#if defined(_WIN32)
// Windows reports only once that a socket is writable. If that is missed, as happens with large bodies, a
// transfer continues only when all transfers are checked.
constexpr int ACTIVE_WAIT_MS = 50;
#else
constexpr int ACTIVE_WAIT_MS = IDLE_WAIT_MS;
#endif

/// Takes the first exchange off a list, as a list of its own.
ExchangeList TakeFirst(ExchangeList& exchanges)
{
    ExchangeList first;
    first.splice(first.end(), exchanges, exchanges.begin());
    return first;
}

} // namespace

TransferLoop::TransferLoop(const TransportSettings& settings, Delivery& delivery)
    : m_settings(settings),
      m_delivery(delivery),
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

TransferLoop::~TransferLoop() = default;

bool TransferLoop::Submit(ExchangeList& exchange)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_bDraining) {
        return false;
    }
    const bool bFirst = m_lstIncoming.empty();
    m_lstIncoming.splice(m_lstIncoming.end(), exchange);
    lock.unlock(); // so that the loop does not wake up only to wait for it
    if (bFirst) {  // the loop takes all waiting exchanges at once
        curl_multi_wakeup(m_pMulti.get());
    }
    return true;
}

void TransferLoop::Drain()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_bDraining = true;
    m_tpDrainEnd = Clock::now() + m_settings.drain;
    curl_multi_wakeup(m_pMulti.get());
}

void TransferLoop::Run()
{
    while (!Drained()) {
        for (ExchangeList incoming = TakeIncoming(); !incoming.empty();) {
            ExchangeList exchange = TakeFirst(incoming);
            Queue(exchange);
        }
        int nRunning = 0;
        if (const CURLMcode eError = curl_multi_perform(m_pMulti.get(), &nRunning); eError != CURLM_OK) {
            Log_Write(1, "chttpclient::CTransferLoop::Run", __LINE__, "curl_multi_perform: %s",
                      curl_multi_strerror(eError));
            CancelAll(CURLE_FAILED_INIT);
        }
        if (!CollectFinished()) { // if any finished, others may have begun: perform them first
            Wait();
        }
    }
    CancelAll(CURLE_ABORTED_BY_CALLBACK);
}

ExchangeList TransferLoop::TakeIncoming()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::exchange(m_lstIncoming, {});
}

void TransferLoop::Queue(ExchangeList& exchange)
{
    try {
        const auto lane = m_mapLane.try_emplace(LaneKey(exchange.front().strUrl)).first;
        lane->second.lstWaiting.splice(lane->second.lstWaiting.end(), exchange);
        FillLane(lane);
    } catch (const std::bad_alloc&) {
        Refuse(exchange, CURLE_OUT_OF_MEMORY);
    }
}

/// Starts as many requests as the lane has room for, and removes the lane when it is empty.
void TransferLoop::FillLane(Lanes::iterator lane)
{
    Lane& requests = lane->second;
    while (!requests.lstWaiting.empty() && requests.nActive < m_settings.nHostConnections) {
        ExchangeList exchange = TakeFirst(requests.lstWaiting);
        Begin(exchange, lane);
    }
    if (requests.lstWaiting.empty() && requests.nActive == 0) {
        m_mapLane.erase(lane);
    }
}

void TransferLoop::Begin(ExchangeList& exchange, Lanes::iterator lane)
{
    Slots slot = MakeSlot();
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
        ExchangeList refused = transfer.Finish(eBegin);
        m_delivery.Post(refused);
        return;
    }
    ++lane->second.nActive;
    transfer.lane = lane;
    transfer.place = slot.begin();
    m_lstActive.splice(m_lstActive.end(), slot);
}

/// A list of one new transfer; empty if there is no memory for it.
TransferLoop::Slots TransferLoop::MakeSlot()
{
    Slots slot;
    try {
        slot.emplace_back(m_settings, m_pShare.get(), m_kept);
    } catch (const std::bad_alloc&) {
        slot.clear();
    }
    return slot;
}

/// Ends every exchange that libcurl reports as done. Returns whether there was any.
bool TransferLoop::CollectFinished()
{
    bool bAny = false;
    int nLeft = 0;
    while (const CURLMsg* const pMessage = curl_multi_info_read(m_pMulti.get(), &nLeft)) {
        if (pMessage->msg != CURLMSG_DONE) {
            continue;
        }
        CURLcode eResult = pMessage->data.result; // removing the handle invalidates the message
        Slot& slot = *static_cast<Slot*>(HttpTransfer::Of(pMessage->easy_handle));
        bAny = true;
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
    return bAny;
}

/// Starts a request again on a new connection.
CURLcode TransferLoop::BeginAgain(Slot& slot)
{
    curl_multi_remove_handle(m_pMulti.get(), slot.Handle());
    const CURLcode eBegin = slot.BeginOnNewConnection();
    const bool bAdded =
        eBegin == CURLE_OK && curl_multi_add_handle(m_pMulti.get(), slot.Handle()) == CURLM_OK;
    return bAdded || eBegin != CURLE_OK ? eBegin : CURLE_FAILED_INIT;
}

void TransferLoop::End(Slot& slot, CURLcode eResult)
{
    slot.NoteIdleConnection();
    m_tpCloseIdle = Clock::now() + std::chrono::seconds(MAX_IDLE_SECONDS);
    curl_multi_remove_handle(m_pMulti.get(), slot.Handle());
    --slot.lane->second.nActive;
    ExchangeList finished = slot.Finish(eResult);
    m_lstActive.erase(slot.place);
    m_delivery.Post(finished);
}

void TransferLoop::Refuse(ExchangeList& exchanges, CURLcode eReason)
{
    for (HttpExchange& exchange : exchanges) {
        exchange.nHttpError = -static_cast<int>(eReason);
    }
    m_delivery.Post(exchanges);
}

void TransferLoop::CancelAll(CURLcode eReason)
{
    while (!m_lstActive.empty()) {
        End(m_lstActive.front(), eReason);
    }
    for (auto& [strKey, lane] : m_mapLane) {
        Refuse(lane.lstWaiting, eReason);
    }
    m_mapLane.clear();
    ExchangeList incoming = TakeIncoming();
    Refuse(incoming, eReason);
}

/// Whether the loop must end: it is draining, and nothing is left or the drain time is over.
bool TransferLoop::Drained()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool bNothingLeft = m_lstIncoming.empty() && m_mapLane.empty();
    return m_bDraining && (bNothingLeft || Clock::now() >= m_tpDrainEnd);
}

int TransferLoop::WaitMilliseconds()
{
    Clock::time_point tpWake = m_tpCloseIdle;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        tpWake = m_bDraining ? std::min(tpWake, m_tpDrainEnd) : tpWake;
    }
    const int nLongest = m_lstActive.empty() ? IDLE_WAIT_MS : ACTIVE_WAIT_MS;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(tpWake - Clock::now());
    return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, nLongest));
}

void TransferLoop::Wait()
{
    const CURLMcode eError = curl_multi_poll(m_pMulti.get(), nullptr, 0, WaitMilliseconds(), nullptr);
    if (eError != CURLM_OK) {
        Log_Write(1, "chttpclient::CTransferLoop::Wait", __LINE__, "curl_multi_poll: %s",
                  curl_multi_strerror(eError));
        CancelAll(CURLE_FAILED_INIT);
        std::this_thread::sleep_for(std::chrono::milliseconds(100)); // no busy loop, whatever is wrong
    }
    if (Clock::now() >= m_tpCloseIdle) {
        m_tpCloseIdle = Clock::time_point::max();
        CloseIdleConnections(m_pMulti.get(), MAX_IDLE_SECONDS - 1); // minus a tolerance between two clocks
    }
}

} // namespace chttpclient
