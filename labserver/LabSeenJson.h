#pragma once

#include "labserver/LabRates.h"
#include "labserver/LabSeen.h"

#include <json/json.h>

/// A time as "2026-11-23T14:30:00.123Z".
std::string TimeText(std::chrono::system_clock::time_point time);

/// An exchange without headers and bodies.
Json::Value SummaryToJson(const LabSeen& seen);
/// An exchange with headers and bodies. A body of more than 64 KiB is cut, and "requestBodyCut" or
/// "replyBodyCut" is true. What is no UTF-8 is shown as U+FFFD.
Json::Value SeenToJson(const LabSeen& seen);

Json::Value SecondToJson(const LabSecond& second);
