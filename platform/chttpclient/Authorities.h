#pragma once

#include <curl/curl.h>

#include <string>

namespace chttpclient
{

/// Makes a handle trust only the certificate authorities in a file, both for servers and for proxies that are
/// reached over TLS. The file is read for each connection.
/// @param strCaFile  empty to keep libcurl's default
CURLcode SetAuthorities(CURL* pEasy, const std::string& strCaFile);

} // namespace chttpclient
