#pragma once

#include <array>
#include <optional>
#include <string>

/// The variables that libcurl reads for http and https. It ignores HTTP_PROXY: a web server passes a
/// request's header "Proxy" to its programs as that.
inline constexpr std::array<const char*, 7> PROXY_VARIABLES{
    "http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY"};

/// The proxy that libcurl takes from the environment.
struct CurlProxy {
    std::string strVariable; ///< which names it
    std::string strScheme;   ///< "http" if it names none; in lower case
    std::string strHost;     ///< without brackets
    int nPort = 0;
    std::string strUser; ///< decoded, as is the password; both empty for none
    std::string strPassword;

    /// The proxy for users, without user name and password: "http://HOST:PORT".
    std::string Shown() const;

    /// Whether Qt knows such proxies: HTTP and SOCKS 5.
    bool IsKnownToQt() const { return strScheme == "http" || IsSocks5(); }
    bool IsSocks5() const { return strScheme == "socks5" || strScheme == "socks5h"; }
};

/// The host that stands for a proxy that Qt does not know, so that no request goes another way than it
/// should: no host has this name.
inline constexpr const char* NO_PROXY_OF_QT = "unsupported-kind-of-proxy.invalid";

/// The proxy of libcurl for a server, by the same rules as libcurl's, which can't be asked. Nothing if there
/// is none, or if the process has raised rights.
/// @param strScheme  "http" or "https"
/// @param strHost    the server's name or address, without brackets
std::optional<CurlProxy> CurlProxyFor(const std::string& strScheme, const std::string& strHost);
