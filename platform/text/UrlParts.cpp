#include "UrlParts.h"

#include <algorithm>

namespace chttpclient
{
namespace
{

// Compares bytes and does not use <cctype>: the host's locale must not affect what counts as a URL.
bool IsLetter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool IsOfScheme(char c)
{
    return IsLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
}

bool IsScheme(std::string_view strText)
{
    return !strText.empty() && IsLetter(strText.front()) &&
           std::all_of(strText.begin(), strText.end(), &IsOfScheme);
}

bool EndsWith(std::string_view strText, std::string_view strEnd)
{
    return strText.size() >= strEnd.size() && strText.substr(strText.size() - strEnd.size()) == strEnd;
}

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
    constexpr std::string_view AUTHORITY_MARK = "://";
    const std::size_t nScheme = std::min(strUrl.find_first_of("/?#:"), strUrl.size());
    if (!IsScheme(strUrl.substr(0, nScheme)) ||
        strUrl.substr(nScheme, AUTHORITY_MARK.size()) != AUTHORITY_MARK) {
        return std::nullopt;
    }
    const std::string_view strRest = strUrl.substr(nScheme + AUTHORITY_MARK.size());
    return UrlParts{strUrl.substr(0, nScheme), strRest.substr(0, strRest.find_first_of("/?#"))};
}

std::string LaneKey(std::string_view strUrl)
{
    const std::optional<UrlParts> parts = SplitUrl(strUrl);
    if (!parts) {
        return {};
    }
    const std::string strScheme = LowerCase(parts->strScheme);
    const std::size_t nUser = parts->strAuthority.rfind('@');
    std::string strHost =
        LowerCase(parts->strAuthority.substr(nUser == std::string_view::npos ? 0 : nUser + 1));
    const std::string_view strImplied = strScheme == "https" ? ":443" : ":80";
    if (EndsWith(strHost, strImplied)) {
        strHost.resize(strHost.size() - strImplied.size());
    } else if (EndsWith(strHost, ":")) {
        strHost.pop_back();
    }
    return strScheme + "://" + strHost;
}

} // namespace chttpclient
