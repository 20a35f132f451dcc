#pragma once

#include "Exchange.h"

#include "labserver/LabFault.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// The time-out of a call that is expected to time out.
inline constexpr int SHORT_TIMEOUT_MS = 300;

/// The expected status of a call that sends nothing.
inline constexpr int NO_REQUEST = 0;

/// One call of the demo and its expected result.
struct DemoCall {
    std::string strOperation;
    std::function<void(Arguments&)> fnFill; ///< sets the arguments other than the server's address
    Outcome eExpected;
    int nExpectedStatus; ///< the server's HTTP status; `NO_REQUEST` if no request is expected
    /// The fault that the server causes for this call; the call's path replaces that of the fault.
    std::optional<LabFault> optFault = std::nullopt;
};

/// Every asynchronous sender once, in the order of the ids, then two calls that are expected to fail.
std::vector<DemoCall> AsyncCalls();

/// Every blocking sender once. The one that times out on purpose is not a report, because reports pause after
/// a failure.
std::vector<DemoCall> SyncCalls();
