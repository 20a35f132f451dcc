#include "Url.h"

#include <algorithm>

namespace outbox
{
namespace
{

constexpr std::string_view MARK = "://";

// Compares bytes: the host's locale must not affect what counts as a URL.
std::string LowerCase(std::string_view strText)
{
    std::string strLower(strText);
    for (char& c : strLower) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return strLower;
}

} // namespace

std::optional<UrlParts> SplitUrl(std::string_view strUrl)
{
    const std::size_t nMark = strUrl.find(MARK);
    if (nMark == 0 || nMark == std::string_view::npos || strUrl.find_first_of("/?#@") < nMark) {
        return std::nullopt;
    }
    const std::size_t nAuthority = nMark + MARK.size();
    const std::size_t nPath = std::min(strUrl.find_first_of("/\\?#", nAuthority), strUrl.size());
    const std::string_view strAuthority = strUrl.substr(nAuthority, nPath - nAuthority);
    const std::size_t nAt = strAuthority.rfind('@');
    const std::size_t nUserInfo = nAt == std::string_view::npos ? 0 : nAt + 1; // with the @
    const std::size_t nQuery = std::min(strUrl.find_first_of("?#", nPath), strUrl.size());

    UrlParts parts;
    const std::string_view strScheme = strUrl.substr(0, nAuthority);
    parts.strServer = LowerCase(strScheme) + LowerCase(strAuthority.substr(nUserInfo));
    parts.strPlace = parts.strServer + std::string(strUrl.substr(nPath, nQuery - nPath));
    parts.strBare = std::string(strScheme) + std::string(strUrl.substr(nAuthority + nUserInfo));
    parts.strUserInfo = strAuthority.substr(0, nUserInfo == 0 ? 0 : nAt);
    parts.bHttp = parts.strServer.rfind("http://", 0) == 0 || parts.strServer.rfind("https://", 0) == 0;
    return parts;
}

std::string WithUserInfo(const std::string& strBareUrl, std::string_view strUserInfo)
{
    const std::size_t nMark = strBareUrl.find(MARK);
    if (strUserInfo.empty() || nMark == std::string::npos) {
        return strBareUrl;
    }
    std::string strUrl = strBareUrl;
    return strUrl.insert(nMark + MARK.size(), std::string(strUserInfo) + '@');
}

} // namespace outbox
