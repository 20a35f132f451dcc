#pragma once

#include "DemoCalls.h"
#include "Exchange.h"

#include "labserver/LabServer.h"

#include <vector>

/// A call of the demo and its result.
struct DemoRow {
    DemoCall call;
    Exchange exchange;
    std::vector<LabExchange> vecSeen; ///< what the server received from the call
    bool bAsExpected;
};

/// Prints a JSON array with an object for each call.
void PrintRowsAsJson(const std::vector<DemoRow>& vecRows);

/// Prints a line for each call, below it what came back and what the server received, and at the end how many
/// calls had the expected result.
void PrintRowsAsTable(const std::vector<DemoRow>& vecRows);
