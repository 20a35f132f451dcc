#pragma once

#include "DemoCalls.h"
#include "DemoOutbox.h"
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

/// Prints a JSON array with an object for each call, and one for the outbox.
void PrintAsJson(const std::vector<DemoRow>& vecRows, const OutboxDemo& outbox);

/// Prints a line for each call, below it what came back and what the server received; then what happened to
/// the reports in the outbox; and at the end how much had the expected result.
void PrintAsTable(const std::vector<DemoRow>& vecRows, const OutboxDemo& outbox);
