#pragma once

#include "labserver/LabFaults.h"
#include "labserver/LabKeyClaim.h"
#include "labserver/LabStore.h"

#include <functional>
#include <httplib.h>
#include <json/json.h>
#include <string>

class LabScenarios;
class LabTls;
struct LabWatch;

/// What a handler works on.
struct LabContext {
    LabStore& store;
    LabFaults& faults;
    LabScenarios& scenarios;
    LabTls& tls;
    LabWatch& watch;
    const LabKeyClaim& claim; ///< to the request's key, if it brings a report and a key
};

/// A request as passed to its handler.
struct LabRequest {
    const httplib::Request& http;
    std::string strTail; ///< what follows the route's path
};

/// Answers a request with the body of a reply of status 200: JSON, or if the value is a string, this string
/// as plain text. Runs on many threads at a time.
/// @throws LabError for any other status, SqliteError when the store fails
using LabHandler = std::function<Json::Value(LabContext&, const LabRequest&)>;
