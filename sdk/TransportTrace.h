#pragma once

#include <cstddef>

namespace VelCSDK
{

/// Receives a part of an exchange of the transport's; chttpclient.h describes it (`CHttpClientTrace`).
using TransportTrace = void (*)(int nPart, const char* pBytes, std::size_t nBytes,
                                const void* pExchange) noexcept;

/// Sets the receiver; null for none.
/// @return false if the transport is a site's own that has no trace
bool SetTransportTrace(TransportTrace fnTrace);

} // namespace VelCSDK
