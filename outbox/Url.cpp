#include "Url.h"

#include "platform/text/UrlParts.h"

#include <algorithm>

namespace outbox
{
namespace
{

constexpr std::string_view AFTER_SCHEME = "://";

} // namespace

std::optional<Address> ReadAddress(std::string_view strUrl)
{
    const std::optional<UrlParts> parts = SplitUrl(strUrl);
    if (!parts) {
        return std::nullopt;
    }
    Address address;
    address.strServer.append(LowerCase(parts->strScheme))
        .append(AFTER_SCHEME)
        .append(LowerCase(parts->strHost));
    address.strPlace = address.strServer;
    const std::string_view strRest = parts->strRest;
    const auto itQuery =
        std::find_if(strRest.begin(), strRest.end(), [](char c) { return c == '?' || c == '#'; });
    address.strPlace.append(strRest.begin(), itQuery);
    address.strBare.append(parts->strScheme)
        .append(AFTER_SCHEME)
        .append(parts->strHost)
        .append(parts->strRest);
    address.strUserInfo = parts->strUserInfo;
    return address;
}

bool IsHttp(std::string_view strUrl)
{
    const std::optional<UrlParts> parts = SplitUrl(strUrl);
    const std::string strScheme = parts ? LowerCase(parts->strScheme) : std::string();
    return strScheme == "http" || strScheme == "https";
}

std::string WithUserInfo(const std::string& strBareUrl, std::string_view strUserInfo)
{
    const std::size_t nMark = strBareUrl.find(AFTER_SCHEME);
    if (strUserInfo.empty() || nMark == std::string::npos) {
        return strBareUrl;
    }
    std::string strUrl = strBareUrl;
    return strUrl.insert(nMark + AFTER_SCHEME.size(), std::string(strUserInfo) + '@');
}

} // namespace outbox
