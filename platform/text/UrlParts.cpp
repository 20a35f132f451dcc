#include "UrlParts.h"

#include <algorithm>

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

// std::string_view::find_first_of calls a function for each character, which cost more than all else here.
std::size_t FindAny(std::string_view strText, std::string_view strAnyOf, std::size_t nFrom)
{
    const auto fnIsOne = [strAnyOf](char c) {
        return std::any_of(strAnyOf.begin(), strAnyOf.end(), [c](char cOne) { return cOne == c; });
    };
    const auto itFound =
        std::find_if(strText.begin() + static_cast<std::ptrdiff_t>(nFrom), strText.end(), fnIsOne);
    return static_cast<std::size_t>(itFound - strText.begin());
}

bool IsScheme(std::string_view strText)
{
    return !strText.empty() && IsLetter(strText.front()) &&
           std::all_of(strText.begin(), strText.end(), &IsOfScheme);
}

} // namespace

std::optional<UrlParts> SplitUrl(std::string_view strUrl)
{
    constexpr std::string_view AUTHORITY_MARK = "://";
    const std::size_t nScheme = FindAny(strUrl, "/?#:", 0);
    if (!IsScheme(strUrl.substr(0, nScheme)) ||
        strUrl.substr(nScheme, AUTHORITY_MARK.size()) != AUTHORITY_MARK) {
        return std::nullopt;
    }
    const std::size_t nAuthority = nScheme + AUTHORITY_MARK.size();
    const std::size_t nRest = FindAny(strUrl, "/?#", nAuthority);
    UrlParts parts;
    parts.strScheme = strUrl.substr(0, nScheme);
    parts.strAuthority = strUrl.substr(nAuthority, nRest - nAuthority);
    parts.strRest = strUrl.substr(nRest);
    const std::size_t nAt = parts.strAuthority.rfind('@');
    const bool bUser = nAt != std::string_view::npos;
    parts.strUserInfo = parts.strAuthority.substr(0, bUser ? nAt : 0);
    parts.strHost = parts.strAuthority.substr(bUser ? nAt + 1 : 0);
    return parts;
}

std::string LowerCase(std::string_view strText)
{
    std::string strLower(strText);
    for (char& c : strLower) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return strLower;
}
