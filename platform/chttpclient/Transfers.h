#pragma once

#include "HttpExchange.h"
#include "HttpTransfer.h"
#include "KeptConnections.h"
#include "TransportSettings.h"

#include <curl/curl.h>

#include <atomic>
#include <chrono>
#include <list>
#include <map>
#include <memory>
#include <string>

namespace chttpclient
{

/// All exchanges that were begun and have not ended. Requests wait in one lane per host; as many requests of
/// a lane are in progress at once as a host may have connections. A request's time-out starts when it leaves
/// its lane.
///
/// Used by one thread at a time, except for `Wake`, `Waiting` and `Settings`, which any thread may call.
class Transfers
{
public:
    using Clock = std::chrono::steady_clock;

    /// @throws std::bad_alloc when libcurl can't create a handle
    explicit Transfers(const TransportSettings& settings);
    ~Transfers();
    Transfers(const Transfers&) = delete;
    Transfers& operator=(const Transfers&) = delete;

    /// Begins requests, goes on with those in flight, and returns what ended. If nothing did, it waits until
    /// the network has something for the next round, until `Wake`, or until `tpCancel`. From that time on it
    /// cancels everything.
    ExchangeList Round(ExchangeList& incoming, Clock::time_point tpCancel);

    /// Whether any exchange has not ended.
    bool AreInFlight() const { return !m_mapLane.empty(); }

    /// How many requests wait in their lanes. From any thread.
    std::size_t Waiting() const { return m_nWaiting.load(std::memory_order_relaxed); }

    /// When a round must close idle connections; `time_point::max()` if there are none.
    Clock::time_point CloseIdleAt() const { return m_tpCloseIdle; }

    /// Ends the waiting of the present round, or else that of the next one.
    void Wake() { curl_multi_wakeup(m_pMulti.get()); }

    const TransportSettings& Settings() const { return m_settings; }

private:
    struct Lane {
        ExchangeList lstWaiting;
        std::size_t nActive = 0;
    };
    using Lanes = std::map<std::string, Lane>; // an iterator stays valid until its own element is erased
    struct Slot;
    using Slots = std::list<Slot>;
    /// A transfer, with its lane and its place in the list of active ones.
    struct Slot : HttpTransfer {
        using HttpTransfer::HttpTransfer;
        Lanes::iterator lane;
        Slots::iterator place;
    };
    struct ShareCleanup {
        void operator()(CURLSH* pShare) const { curl_share_cleanup(pShare); }
    };
    struct MultiCleanup {
        void operator()(CURLM* pMulti) const { curl_multi_cleanup(pMulti); }
    };

    void Perform();
    void Queue(ExchangeList& exchange);
    void FillLane(Lanes::iterator lane);
    void Begin(ExchangeList& exchange, Lanes::iterator lane);
    Slots MakeSlot();
    void CollectFinished();
    CURLcode BeginAgain(Slot& slot);
    void End(Slot& slot, CURLcode eResult);
    void Refuse(ExchangeList& exchanges, CURLcode eReason);
    void CancelAll(CURLcode eReason);
    void PrepareNext();
    void CloseIdle();
    void Wait(Clock::time_point tpEnd);

    const TransportSettings m_settings;
    std::unique_ptr<CURLSH, ShareCleanup> m_pShare; ///< TLS sessions, for the next connection to their server
    std::unique_ptr<CURLM, MultiCleanup> m_pMulti;

    KeptConnections m_kept;
    Clock::time_point m_tpCloseIdle = Clock::time_point::max(); ///< when to close idle connections

    Lanes m_mapLane;                         ///< the keys are made by `LaneKey`
    std::atomic<std::size_t> m_nWaiting = 0; ///< the requests in the lists of all lanes
    Slots m_lstActive;
    Slots m_lstSpare;           ///< at most one, which was never used
    Slots m_lstUsed;            ///< to be destroyed
    ExchangeList m_lstFinished; ///< since the last round
};

} // namespace chttpclient
