#pragma once

#include <curl/curl.h>

namespace chttpclient
{

/// Closes the kept connections of a multi handle that have idled for so many whole seconds, and those that
/// their servers closed. Other transfers of the handle move on meanwhile.
void CloseIdleConnections(CURLM* pMulti, long nSeconds);

} // namespace chttpclient
