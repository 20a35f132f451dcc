// The input is a text for the log or a terminal: whatever it contains, it stays one line, moves no cursor,
// does not change the text direction and hides nothing.

#include "Require.h"

#include "platform/text/Escaping.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace
{

/// Unsafe characters in UTF-8, as ranges from the first to the last character.
constexpr std::array<std::array<std::string_view, 2>, 9> UNSAFE{{{"\xc2\x80", "\xc2\x9f"},
                                                                 {"\xc2\xad", "\xc2\xad"},
                                                                 {"\xd8\x9c", "\xd8\x9c"},
                                                                 {"\xe2\x80\x8b", "\xe2\x80\x8b"},
                                                                 {"\xe2\x80\x8e", "\xe2\x80\x8f"},
                                                                 {"\xe2\x80\xa8", "\xe2\x80\xae"},
                                                                 {"\xe2\x81\xa0", "\xe2\x81\xaf"},
                                                                 {"\xef\xbb\xbf", "\xef\xbb\xbf"},
                                                                 {"\xef\xbf\xb9", "\xef\xbf\xbb"}}};
constexpr std::array<std::string_view, 2> TAGS{"\xf3\xa0\x80\x80", "\xf3\xa0\x81\xbf"};

bool IsIn(std::string_view character, const std::array<std::string_view, 2>& range)
{
    return character.size() == range[0].size() && character >= range[0] && character <= range[1];
}

bool IsUnsafe(std::string_view character)
{
    if (character.size() == 1) {
        return character[0] < 0x20 || character[0] == 0x7f;
    }
    return IsIn(character, TAGS) || std::any_of(UNSAFE.begin(), UNSAFE.end(), [character](const auto& range) {
               return IsIn(character, range);
           });
}

/// @param cNext  the byte after the lead byte; it shows overlong forms, surrogates and numbers that are too
///               large
bool IsPairOfLeadAndNext(unsigned char cLead, unsigned char cNext)
{
    switch (cLead) {
    case 0xe0:
        return cNext >= 0xa0;
    case 0xed:
        return cNext < 0xa0;
    case 0xf0:
        return cNext >= 0x90;
    case 0xf4:
        return cNext < 0x90;
    default:
        return true;
    }
}

/// The length of the first character in bytes, by the Unicode standard's table; 0 if it is not valid.
std::size_t LengthOf(std::string_view text)
{
    const auto cLead = static_cast<unsigned char>(text.front());
    const std::size_t nLength = cLead < 0x80                    ? 1
                                : cLead >= 0xc2 && cLead < 0xe0 ? 2
                                : cLead >= 0xe0 && cLead < 0xf0 ? 3
                                : cLead >= 0xf0 && cLead < 0xf5 ? 4
                                                                : 0;
    if (nLength > text.size()) {
        return 0;
    }
    for (std::size_t i = 1; i < nLength; ++i) {
        const auto cNext = static_cast<unsigned char>(text[i]);
        if (cNext < 0x80 || cNext > 0xbf || (i == 1 && !IsPairOfLeadAndNext(cLead, cNext))) {
            return 0;
        }
    }
    return nLength;
}

/// Whether a text is valid UTF-8 without unsafe characters.
bool IsSafe(std::string_view text)
{
    while (!text.empty()) {
        const std::size_t nLength = LengthOf(text);
        if (nLength == 0 || IsUnsafe(text.substr(0, nLength))) {
            return false;
        }
        text.remove_prefix(nLength);
    }
    return true;
}

bool IsBlankOrNotJson(char c)
{
    return static_cast<unsigned char>(c) < 0x20;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    const std::string strText(reinterpret_cast<const char*>(pData), nSize);
    const std::string strEscaped = EscapeUnsafe(strText);
    Require(IsSafe(strEscaped), "nothing unsafe is left");
    Require((strEscaped == strText) == IsSafe(strText), "nothing but what is unsafe is escaped");
    Require(EscapeUnsafe(strEscaped) == strEscaped, "an escaped text is left alone");
    Require(EscapeUnsafeInJson(strEscaped) == strEscaped, "the same is unsafe in JSON");
    std::string strJson = strText;
    strJson.erase(std::remove_if(strJson.begin(), strJson.end(), IsBlankOrNotJson), strJson.end());
    Require(IsSafe(EscapeUnsafeInJson(strJson)), "nothing unsafe is left in JSON");
    return 0;
}
