#include "LogWords.h"

#include "Escaping.h"

#include <algorithm>
#include <unordered_set>

namespace
{

constexpr std::string_view AUTHORITY_MARK = "://";
constexpr std::string_view HIDDEN = "***";
// Fewer bytes may be the same by chance.
constexpr std::size_t REPEATED_BYTES = 24;

bool IsPort(std::string_view strText)
{
    return std::all_of(strText.begin(), strText.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// Where the user's name and password end in a text that begins with an authority: the position of the "@";
/// npos if there are none. A password may hold characters that should have been encoded, such as "/".
std::size_t EndOfUser(std::string_view strText)
{
    const std::string_view strAuthority = strText.substr(0, strText.find_first_of("/?#"));
    const std::size_t nAt = strAuthority.rfind('@');
    const std::size_t nColon = strAuthority.find(':', strAuthority.find(']') + 1);
    if (nAt != std::string_view::npos || nColon == std::string_view::npos ||
        IsPort(strAuthority.substr(nColon + 1))) {
        return nAt;
    }
    return strText.rfind('@');
}

std::string Hide(std::string_view strText)
{
    const std::size_t nAt = EndOfUser(strText);
    const std::size_t nColon = strText.substr(0, nAt).find(':');
    if (nAt == std::string_view::npos || nColon == std::string_view::npos) {
        return std::string(strText);
    }
    return std::string(strText.substr(0, nColon + 1)).append(HIDDEN).append(strText.substr(nAt));
}

/// A text without backslashes, so that one that was escaped in JSON can be compared with its original.
std::string Unescaped(std::string_view strText)
{
    std::string strPlain(strText);
    strPlain.erase(std::remove(strPlain.begin(), strPlain.end(), '\\'), strPlain.end());
    return strPlain;
}

/// Whether a text holds a part of the report that is too long to be there by chance, or all of a short
/// report.
bool Repeats(std::string_view strText, std::string_view strReport)
{
    constexpr std::size_t SAYS_NOTHING = 2; // "{}"
    const std::string strOne = Unescaped(strText);
    const std::string strOther = Unescaped(strReport);
    const std::string_view strParts = strOne;
    const std::string_view strWhole = strOther;
    if (strWhole.size() < REPEATED_BYTES) {
        return strWhole.size() > SAYS_NOTHING && strParts.find(strWhole) != std::string_view::npos;
    }
    std::unordered_set<std::string_view> setParts;
    for (std::size_t nAt = 0; nAt + REPEATED_BYTES <= strParts.size(); ++nAt) {
        setParts.insert(strParts.substr(nAt, REPEATED_BYTES));
    }
    for (std::size_t nAt = 0; nAt + REPEATED_BYTES <= strWhole.size(); ++nAt) {
        if (setParts.count(strWhole.substr(nAt, REPEATED_BYTES)) != 0) {
            return true;
        }
    }
    return false;
}

/// Cuts a text so that no character of UTF-8 is cut in two.
std::string_view Cut(std::string_view strText, std::size_t nMost)
{
    if (strText.size() <= nMost) {
        return strText;
    }
    constexpr std::size_t LONGEST = 4;
    std::size_t nEnd = nMost;
    while (nEnd > nMost - LONGEST && (static_cast<unsigned char>(strText[nEnd]) & 0xc0U) == 0x80U) {
        --nEnd;
    }
    return strText.substr(0, nEnd);
}

} // namespace

std::string WithoutPassword(std::string_view strUrl)
{
    const std::size_t nMark = strUrl.find(AUTHORITY_MARK);
    const std::size_t nBegin = nMark == std::string_view::npos ? 0 : nMark + AUTHORITY_MARK.size();
    return std::string(strUrl.substr(0, nBegin)) + Hide(strUrl.substr(nBegin));
}

std::string WithoutPasswords(std::string_view strText)
{
    std::string strWithout;
    for (;;) {
        const std::size_t nMark = strText.find(AUTHORITY_MARK);
        if (nMark == std::string_view::npos) {
            return strWithout.append(strText);
        }
        const std::size_t nBegin = nMark + AUTHORITY_MARK.size();
        const std::size_t nEnd = std::min(strText.find_first_of(" \t\r\n\"'<>", nBegin), strText.size());
        strWithout.append(strText.substr(0, nBegin)).append(Hide(strText.substr(nBegin, nEnd - nBegin)));
        strText.remove_prefix(nEnd);
    }
}

std::string BeginningOf(std::string_view strBody, std::string_view strReport)
{
    if (strBody.empty()) {
        return {};
    }
    const std::string_view strShown = Cut(strBody, SHOWN_BYTES);
    if (Repeats(strBody.substr(0, CHECKED_BYTES), strReport)) {
        return REPEATS_REPORT;
    }
    // A password is found by what follows it, and that may be behind the part that is shown.
    const std::string strSafe = WithoutPasswords(strBody.substr(0, 2 * SHOWN_BYTES));
    const std::string_view strPart = Cut(strSafe, std::min(strShown.size(), strSafe.size()));
    return '"' + EscapeUnsafe(strPart) + '"' + (strShown.size() < strBody.size() ? " and more" : "");
}
