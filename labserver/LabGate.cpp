#include "labserver/LabGate.h"

#include "labserver/HostAndPort.h"
#include "labserver/LabText.h"

#include <algorithm>
#include <string_view>

namespace
{

constexpr int DEFAULT_PORTS[] = {80, 443}; ///< which clients omit from the header Host

/// A content type without its parameters.
std::string MediaType(const std::string& strContentType)
{
    std::string strType = strContentType.substr(0, strContentType.find(';'));
    strType.erase(strType.find_last_not_of(" \t") + 1);
    return LowerCase(strType);
}

bool IsCalledJson(const httplib::Request& request)
{
    return request.get_header_value_count("Content-Type") == 1 &&
           MediaType(request.get_header_value("Content-Type")) == "application/json";
}

bool HasBody(const httplib::Request& request)
{
    return request.has_header("Transfer-Encoding") ||
           request.get_header_value<uint64_t>("Content-Length") > 0;
}

/// Whether the request comes from the browser's user or from a page of the same origin, if the browser says
/// so at all.
bool IsAskedByUs(const httplib::Request& request)
{
    if (!request.has_header("Sec-Fetch-Site")) {
        return true;
    }
    const std::string strSite = request.get_header_value("Sec-Fetch-Site");
    return strSite == "same-origin" || strSite == "none";
}

} // namespace

bool IsOperatorPath(const std::string& strPath)
{
    constexpr std::string_view OPERATORS_ROOT = "/lab";
    return strPath.compare(0, OPERATORS_ROOT.size(), OPERATORS_ROOT) == 0 &&
           (strPath.size() == OPERATORS_ROOT.size() || strPath[OPERATORS_ROOT.size()] == '/');
}

LabGate::LabGate(const std::string& strAddress, int nPort)
{
    const std::vector<std::string> vecNames = {LowerCase(strAddress), "localhost", "127.0.0.1", "::1"};
    for (const std::string& strName : vecNames) {
        const std::string strWithPort = HostAndPort(strName, nPort);
        m_vecOwn.push_back(strWithPort);
        if (nPort == DEFAULT_PORTS[0] || nPort == DEFAULT_PORTS[1]) {
            m_vecOwn.push_back(strWithPort.substr(0, strWithPort.rfind(':')));
        }
    }
}

LabRefusal LabGate::RefusalOf(const httplib::Request& request, bool bTls) const
{
    // Neither header may occur twice: the browser and this server might use different ones.
    if (request.get_header_value_count("Host") != 1 || !IsOwn(request.get_header_value("Host"))) {
        return {403, "The operator's paths want a header Host that names this server, such as " +
                         m_vecOwn.front() + "; another name may be that of a web page."};
    }
    const size_t nOrigins = request.get_header_value_count("Origin");
    if (nOrigins > 1 || (nOrigins == 1 && !IsOwnOrigin(request.get_header_value("Origin"), bTls))) {
        return {403, "The header Origin names another site: its pages may not use the operator's paths."};
    }
    if (!IsAskedByUs(request)) {
        return {403, "The header Sec-Fetch-Site tells that a page of another site asks: it may not use the "
                     "operator's paths."};
    }
    if (HasBody(request) && !IsCalledJson(request)) {
        return {415, "A body for the operator's paths must be JSON and be called so: Content-Type: "
                     "application/json."};
    }
    return {};
}

bool LabGate::IsOwn(const std::string& strHost) const
{
    return std::find(m_vecOwn.begin(), m_vecOwn.end(), LowerCase(strHost)) != m_vecOwn.end();
}

bool LabGate::IsOwnOrigin(const std::string& strOrigin, bool bTls) const
{
    const std::string_view strScheme = bTls ? "https://" : "http://";
    return strOrigin.compare(0, strScheme.size(), strScheme) == 0 &&
           IsOwn(strOrigin.substr(strScheme.size()));
}

void ProtectReply(httplib::Response& response)
{
    response.set_header("Cache-Control", "no-store");
    if (!response.has_header("Content-Security-Policy")) { // the page has its own
        response.set_header(
            "Content-Security-Policy",
            "default-src 'none'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
    }
    response.set_header("Cross-Origin-Resource-Policy", "same-origin");
    response.set_header("X-Content-Type-Options", "nosniff");
}
