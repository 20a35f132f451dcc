#pragma once

#include <curl/curl.h>

namespace chttpclient
{

/// Closes the kept connections of a multi handle that have been idle for that many whole seconds, and those
/// that their servers have closed. Meanwhile the handle's other transfers may progress.
void CloseIdleConnections(CURLM* pMulti, long nSeconds);

} // namespace chttpclient
