#pragma once

#include <curl/curl.h>

#include <string>

namespace chttpclient
{

/// Makes a handle trust the authorities of a file and nobody else: for servers, and for proxies that are
/// reached over TLS. The file is read for each connection.
/// @param strCaFile  empty to leave libcurl's own in force
CURLcode SetAuthorities(CURL* pEasy, const std::string& strCaFile);

} // namespace chttpclient
