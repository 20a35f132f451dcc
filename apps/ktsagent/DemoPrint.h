#pragma once

#include "DemoCalls.h"
#include "Exchange.h"

#include "labserver/LabServer.h"

#include <vector>

/// A call of the demo and what came of it.
struct DemoRow {
    DemoCall call;
    Exchange exchange;
    std::vector<LabExchange> vecSeen; ///< what the server saw of the call
    bool bAsExpected;
};

/// Prints a JSON list with an object for each call.
void PrintRowsAsJson(const std::vector<DemoRow>& vecRows);

/// Prints a line for each call, what came back and what the server saw below it, and at the end how many went
/// as expected.
void PrintRowsAsTable(const std::vector<DemoRow>& vecRows);
