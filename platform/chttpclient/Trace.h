#pragma once

#include "HttpExchange.h"

#include <ktshttpagent/chttpclient.h>

namespace chttpclient
{

/// Sets the receiver of the trace; null for none. From any thread.
void SetTrace(CHttpClientTrace fnTrace) noexcept;

/// The receiver of the trace; null for none.
CHttpClientTrace TraceInForce() noexcept;

/// Tells the trace, if there is one, how an exchange ended: the body of its reply, then its story.
void TraceEnd(const HttpExchange& exchange) noexcept;

} // namespace chttpclient
