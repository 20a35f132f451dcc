#pragma once

#include <optional>
#include <string>

/// The proxy that libcurl takes from the environment.
struct CurlProxy {
    std::string strVariable; ///< which names it
    std::string strHost;     ///< without brackets
    int nPort = 0;
    std::string strShown; ///< for users, without user name and password
};

/// The proxy of libcurl for a server, by the same rules as libcurl's, which can't be asked.
/// @param strScheme  "http" or "https"
/// @param strHost    the server's name or address, without brackets
std::optional<CurlProxy> CurlProxyFor(const std::string& strScheme, const std::string& strHost);

/// Whether a list like the one in no_proxy names a host.
bool IsInNoProxy(const std::string& strList, const std::string& strHost);
