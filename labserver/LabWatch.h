#pragma once

#include "labserver/LabEvents.h"
#include "labserver/LabHandler.h"
#include "labserver/LabRates.h"
#include "labserver/LabTraffic.h"

#include <atomic>

/// What the operator can watch.
struct LabWatch {
    LabTraffic traffic;
    LabRates rates;
    LabEvents events;
    std::atomic<int> nStreams{0}; ///< how many clients GET /lab/events has now

    /// Keeps a request, and counts it in its second.
    void Add(LabSeen seen);
};

/// Handlers of GET /lab/exchanges, /lab/exchanges/ID, /lab/rates and /lab/events.
Json::Value ListExchanges(LabContext& context, const LabRequest& request);
Json::Value ShowExchange(LabContext& context, const LabRequest& request);
Json::Value ListRates(LabContext& context, const LabRequest& request);
Json::Value StreamEvents(LabContext& context, const LabRequest& request);
