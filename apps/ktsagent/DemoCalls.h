#pragma once

#include "Exchange.h"

#include "labserver/LabFault.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// The patience of a call that is to run into its time-out.
inline constexpr int SHORT_TIMEOUT_MS = 300;

/// The expected status of a call that sends nothing.
inline constexpr int NO_REQUEST = 0;

/// One call of the demo and what is to come of it.
struct DemoCall {
    std::string strOperation;
    std::function<void(Arguments&)> fnFill; ///< the arguments beside the server's address
    Outcome eExpected;
    int nExpectedStatus; ///< the server's HTTP status; `NO_REQUEST` when none is to arrive
    std::optional<LabFault> optFault = std::nullopt; ///< what is to befall it; the path is that of the call
};

/// Every asynchronous sender once, in the order of the ids, and then two calls that are meant to fail.
std::vector<DemoCall> AsyncCalls();

/// Every blocking sender once. The one that is to run into its time-out is none of the reports, which pause
/// when they fail.
std::vector<DemoCall> SyncCalls();
