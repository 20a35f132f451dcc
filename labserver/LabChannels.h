#pragma once

#include "labserver/LabHandler.h"

/// The latest status of each channel of each device: {"count", "channels"}, each with its members and the
/// "time" at which it came.
Json::Value ListChannels(LabContext& context, const LabRequest& request);
