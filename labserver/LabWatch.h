#pragma once

#include "labserver/LabEvents.h"
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
