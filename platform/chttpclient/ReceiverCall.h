#pragma once

#include "HttpExchange.h"
#include "TransportSettings.h"

#include <ktshttpagent/chttpclient.h>

namespace chttpclient
{

/// Ends the trace of an exchange; logs the cause if it failed, and at level 4 every exchange; then calls the
/// receiver with the outcome. A reply that did not come from the network is neither traced nor logged. What
/// the receiver throws is logged, and so is that there is none.
/// @param pReceiver  may be null, or an empty function
/// @param nLogLevel  lines above it are not made
void CallReceiver(const CHttpClientResponse* pReceiver, const HttpExchange& exchange, int nLogLevel) noexcept;

/// Logs that the transport has started, with its settings.
void LogStart(const TransportSettings& settings) noexcept;

/// Logs that it has stopped.
void LogStop() noexcept;

/// Logs that no thread could be started to call the receiver on.
void LogNoThread(const char* szWhy) noexcept;

} // namespace chttpclient
