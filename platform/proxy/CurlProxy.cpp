#include "CurlProxy.h"

#include "ExemptHosts.h"

#include "platform/system/Environment.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <initializer_list>
#include <string_view>
#include <utility>

namespace
{

constexpr int DEFAULT_PORT = 1080; // libcurl's
constexpr int DEFAULT_HTTPS_PORT = 443;
constexpr std::string_view SCHEME_MARK = "://";

/// The first of the variables that is set and not empty, with its value.
std::optional<std::pair<std::string, std::string>> FirstSet(std::initializer_list<const char*> lstNames)
{
    for (const char* const szName : lstNames) {
        std::string strValue = EnvironmentVariable(szName).value_or("");
        if (!strValue.empty()) {
            return std::pair<std::string, std::string>(szName, std::move(strValue));
        }
    }
    return std::nullopt;
}

/// A text with its escapes, "%40", decoded.
std::string Decoded(std::string_view strText)
{
    std::string strPlain;
    while (!strText.empty()) {
        unsigned char nByte = 0;
        const char* const pEnd = strText.data() + std::min<std::size_t>(strText.size(), 3);
        if (strText.size() >= 3 && strText.front() == '%' &&
            std::from_chars(strText.data() + 1, pEnd, nByte, 16).ptr == pEnd) {
            strPlain += static_cast<char>(nByte);
            strText.remove_prefix(3);
        } else {
            strPlain += strText.front();
            strText.remove_prefix(1);
        }
    }
    return strPlain;
}

/// Takes the part before a mark, and the mark itself, off a text; nothing if the mark is not there.
std::optional<std::string_view> TakeBefore(std::string_view& strText, std::size_t nMark, std::size_t nSize)
{
    if (nMark == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view strBefore = strText.substr(0, nMark);
    strText.remove_prefix(nMark + nSize);
    return strBefore;
}

/// Host and port; the host may be an IPv6 address in brackets.
void ReadAddress(std::string_view strAddress, CurlProxy& proxy)
{
    const std::size_t nBracket = strAddress.find(']');
    const std::size_t nColon = strAddress.find(':', nBracket == std::string_view::npos ? 0 : nBracket);
    std::string_view strHost = strAddress.substr(0, nColon);
    if (strHost.size() >= 2 && strHost.front() == '[' && strHost.back() == ']') {
        strHost = strHost.substr(1, strHost.size() - 2);
    }
    proxy.strHost = strHost;
    proxy.nPort = proxy.strScheme == "https" ? DEFAULT_HTTPS_PORT : DEFAULT_PORT;
    if (nColon != std::string_view::npos) {
        const std::string_view strPort = strAddress.substr(nColon + 1);
        std::from_chars(strPort.data(), strPort.data() + strPort.size(), proxy.nPort);
    }
}

CurlProxy Read(std::string strVariable, std::string_view strValue)
{
    CurlProxy proxy;
    proxy.strVariable = std::move(strVariable);
    proxy.strScheme = TakeBefore(strValue, strValue.find(SCHEME_MARK), SCHEME_MARK.size()).value_or("http");
    std::transform(proxy.strScheme.begin(), proxy.strScheme.end(), proxy.strScheme.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    strValue = strValue.substr(0, strValue.find_first_of("/?#"));
    if (const auto optUser = TakeBefore(strValue, strValue.rfind('@'), 1)) {
        const std::size_t nColon = optUser->find(':');
        proxy.strUser = Decoded(optUser->substr(0, nColon));
        proxy.strPassword = nColon == std::string_view::npos ? "" : Decoded(optUser->substr(nColon + 1));
    }
    ReadAddress(strValue, proxy);
    return proxy;
}

} // namespace

std::string CurlProxy::Shown() const
{
    const bool bColons = strHost.find(':') != std::string::npos;
    return strScheme + "://" + (bColons ? '[' + strHost + ']' : strHost) + ':' + std::to_string(nPort);
}

std::optional<CurlProxy> CurlProxyFor(const std::string& strScheme, const std::string& strHost)
{
    const auto optExempt = FirstSet({"no_proxy", "NO_PROXY"});
    if (optExempt && IsExempt(optExempt->second, strHost)) {
        return std::nullopt;
    }
    auto optProxy = strScheme == "http" ? FirstSet({"http_proxy"}) : FirstSet({"https_proxy", "HTTPS_PROXY"});
    if (!optProxy) {
        optProxy = FirstSet({"all_proxy", "ALL_PROXY"});
    }
    if (!optProxy) {
        return std::nullopt;
    }
    return Read(std::move(optProxy->first), optProxy->second);
}
