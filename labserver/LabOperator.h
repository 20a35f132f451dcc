#pragma once

#include "labserver/LabHandler.h"

// Handlers for the data that the server's operator sets, and for the faults that a test asks for.

/// Lists a table: {"count", "items"}, oldest first, each with its "id".
LabHandler ListHandler(const LabTable& table);

/// Adds to a table the row that is the body, or the rows when the body is an array: all of them or none. A
/// row replaces the one with the same key.
LabHandler AddHandler(const LabTable& table);

/// Deletes the row whose id follows the route's path. @throws LabError (404) if there is none
LabHandler RemoveHandler(const LabTable& table);

Json::Value ListFaults(LabContext& context, const LabRequest& request); ///< {"count", "faults"}
Json::Value AddFault(LabContext& context, const LabRequest& request);   ///< body: as FaultFromJson() reads it
Json::Value RemoveFault(LabContext& context, const LabRequest& request); ///< its id follows the route's path
Json::Value ListScenarios(LabContext& context, const LabRequest& request); ///< {"count", "scenarios"}
Json::Value StartScenario(LabContext& context,
                          const LabRequest& request); ///< body: as LabScenarios::Start() reads it
Json::Value EndScenario(LabContext& context,
                        const LabRequest& request); ///< its name follows the route's path
Json::Value EndScenarios(LabContext& context, const LabRequest& request); ///< all of them
Json::Value ShowAuthority(LabContext& context,
                          const LabRequest& request); ///< a string: as LabTls::Authority()
Json::Value ClearFaults(LabContext& context, const LabRequest& request);
