#pragma once

#include "labserver/LabHandler.h"

/// Handlers of GET /lab/exchanges, /lab/exchanges/ID, /lab/rates and /lab/events.
Json::Value ListExchanges(LabContext& context, const LabRequest& request);
Json::Value ShowExchange(LabContext& context, const LabRequest& request);
Json::Value ListRates(LabContext& context, const LabRequest& request);
Json::Value StreamEvents(LabContext& context, const LabRequest& request);
