#pragma once

#include "labserver/LabHandler.h"

// Handlers for the data that the server's operator sets, and for the faults that a test asks for.

/// Lists a table: {"count", "items"}, oldest first.
LabHandler ListHandler(const LabTable& table);

/// Adds to a table the row that is the body, or the rows when the body is an array: all of them or none. A
/// row replaces the one with the same key.
LabHandler AddHandler(const LabTable& table);

Json::Value ListFaults(LabContext& context, const LabRequest& request); ///< {"count", "faults"}
Json::Value AddFault(LabContext& context, const LabRequest& request);   ///< body: as FaultFromJson() reads it
Json::Value ClearFaults(LabContext& context, const LabRequest& request);
