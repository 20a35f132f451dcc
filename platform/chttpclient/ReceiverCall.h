#pragma once

#include "HttpExchange.h"

#include <ktshttpagent/chttpclient.h>

namespace chttpclient
{

/// Calls the receiver with the outcome of an exchange. What it throws is logged, and so is that there is
/// none.
/// @param pReceiver  may be null, or an empty function
void CallReceiver(const CHttpClientResponse* pReceiver, const HttpExchange& exchange) noexcept;

/// Logs that no thread could be started to call the receiver on.
void LogNoThread(const char* szWhy) noexcept;

} // namespace chttpclient
