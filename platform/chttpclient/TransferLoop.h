#pragma once

#include "Delivery.h"
#include "HttpExchange.h"
#include "HttpTransfer.h"
#include "KeptConnections.h"
#include "TransportSettings.h"

#include <curl/curl.h>

#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace chttpclient
{

/// The loop of the I/O thread. Requests wait in one lane per host; as many requests of a lane are in progress
/// at once as a host may have connections. A request's time-out starts when it leaves its lane.
///
/// `Submit` and `Drain` may be called from any thread; everything else belongs to the thread that calls
/// `Run`.
class TransferLoop
{
public:
    /// @param delivery  gets every exchange when it is over; must outlive the loop
    /// @throws std::bad_alloc when libcurl can't create a handle
    TransferLoop(const TransportSettings& settings, Delivery& delivery);
    ~TransferLoop();
    TransferLoop(const TransferLoop&) = delete;
    TransferLoop& operator=(const TransferLoop&) = delete;

    /// Takes an exchange over and wakes the loop.
    /// @return false when the loop is draining and accepts no more exchanges; the list is then unchanged
    bool Submit(ExchangeList& exchange);

    /// Makes `Run` return once every request has its outcome. Requests without one when the drain time is
    /// over are cancelled.
    void Drain();

    /// Processes requests until the loop is drained.
    void Run();

    const TransportSettings& Settings() const { return m_settings; }

private:
    using Clock = std::chrono::steady_clock;

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

    ExchangeList TakeIncoming();
    void Queue(ExchangeList& exchange);
    void FillLane(Lanes::iterator lane);
    void Begin(ExchangeList& exchange, Lanes::iterator lane);
    Slots MakeSlot();
    bool CollectFinished();
    CURLcode BeginAgain(Slot& slot);
    void End(Slot& slot, CURLcode eResult);
    void Refuse(ExchangeList& exchanges, CURLcode eReason);
    void CancelAll(CURLcode eReason);
    bool Drained();
    void Wait();
    int WaitMilliseconds();

    const TransportSettings m_settings;
    Delivery& m_delivery;
    std::unique_ptr<CURLSH, ShareCleanup> m_pShare; ///< TLS sessions, for the next connection to their server
    std::unique_ptr<CURLM, MultiCleanup> m_pMulti;

    std::mutex m_mutex; ///< guards the next three members
    ExchangeList m_lstIncoming;
    bool m_bDraining = false;
    Clock::time_point m_tpDrainEnd;

    KeptConnections m_kept;
    Clock::time_point m_tpCloseIdle = Clock::time_point::max(); ///< when to close idle connections

    Lanes m_mapLane; ///< the keys are made by `LaneKey`
    Slots m_lstActive;
};

} // namespace chttpclient
