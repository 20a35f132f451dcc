#include "Escaping.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace
{

struct Range {
    char32_t first;
    char32_t last;
};

constexpr Range UNSAFE[] = {
    {0x00, 0x1f},       {0x7f, 0x9f},                       // control characters
    {0xad, 0xad},                                           // soft hyphen
    {0x061c, 0x061c},   {0x200b, 0x200b}, {0x200e, 0x200f}, // Arabic letter mark, zero width space, LRM, RLM
    {0x2028, 0x202e},                                       // separators, embeddings and overrides
    {0x2060, 0x206f},                                       // invisible operators, isolates
    {0xfeff, 0xfeff},   {0xfff9, 0xfffb},                   // byte order mark, annotations
    {0xe0000, 0xe007f},                                     // tags
};

constexpr char32_t REPLACEMENT = 0xfffd;
constexpr char32_t FIRST_BEYOND_BMP = 0x10000;

bool IsUnsafe(char32_t character)
{
    return std::any_of(std::begin(UNSAFE), std::end(UNSAFE), [character](const Range& range) {
        return character >= range.first && character <= range.last;
    });
}

/// How a UTF-8 character of that many bytes begins, and the first character that needs that many.
struct Form {
    unsigned nMask;
    unsigned nLead;
    std::size_t nBytes;
    char32_t first;
};

constexpr Form FORMS[] = {
    {0x80, 0x00, 1, 0}, {0xe0, 0xc0, 2, 0x80}, {0xf0, 0xe0, 3, 0x800}, {0xf8, 0xf0, 4, FIRST_BEYOND_BMP}};

unsigned Byte(char c)
{
    return static_cast<unsigned char>(c);
}

bool IsInUnicode(char32_t character)
{
    return character <= 0x10ffff && (character < 0xd800 || character > 0xdfff);
}

/// Reads the character at the beginning of a text that is not empty.
/// @return how many bytes it takes; 0 if the text does not begin with a valid UTF-8 character
std::size_t ReadCharacter(std::string_view text, char32_t& character)
{
    const unsigned nLead = Byte(text.front());
    const auto* const pForm = std::find_if(std::begin(FORMS), std::end(FORMS), [nLead](const Form& form) {
        return (nLead & form.nMask) == form.nLead;
    });
    if (pForm == std::end(FORMS)) {
        return 0;
    }
    character = nLead & ~pForm->nMask; // if bytes are missing, it stays below the first of its form
    for (const char c : text.substr(1, pForm->nBytes - 1)) {
        if ((Byte(c) & 0xc0U) != 0x80U) {
            return 0;
        }
        character = character << 6U | (Byte(c) & 0x3fU);
    }
    return character >= pForm->first && IsInUnicode(character) ? pForm->nBytes : 0;
}

/// How many characters of printable ASCII the text begins with: most texts hold nothing else.
std::size_t CountPlain(std::string_view text)
{
    const auto itEnd = std::find_if(text.begin(), text.end(), [](char c) { return c < 0x20 || c > 0x7e; });
    return static_cast<std::size_t>(itEnd - text.begin());
}

/// @param fnEscape  appends the escape of an unsafe character, given its bytes; for a byte that is not valid
///                  UTF-8 the character is the replacement character
template <class Escape>
std::string Escaped(std::string_view text, Escape fnEscape)
{
    std::string strOut;
    strOut.reserve(text.size());
    while (true) {
        const std::size_t nPlain = CountPlain(text);
        strOut.append(text.substr(0, nPlain));
        text.remove_prefix(nPlain);
        if (text.empty()) {
            return strOut;
        }
        char32_t character = REPLACEMENT;
        const std::size_t nBytes = ReadCharacter(text, character);
        const std::string_view bytes = text.substr(0, std::max<std::size_t>(nBytes, 1));
        if (nBytes == 0) {
            fnEscape(strOut, REPLACEMENT, bytes);
        } else if (IsUnsafe(character)) {
            fnEscape(strOut, character, bytes);
        } else {
            strOut.append(bytes);
        }
        text.remove_prefix(bytes.size());
    }
}

void AppendHex(std::string& strOut, unsigned nValue, unsigned nDigits)
{
    static constexpr char HEX_DIGITS[] = "0123456789abcdef";
    while (nDigits-- > 0) {
        strOut += HEX_DIGITS[nValue >> (4U * nDigits) & 0xfU];
    }
}

void AppendByteEscape(std::string& strOut, char c)
{
    switch (c) {
    case '\n':
        strOut += "\\n";
        break;
    case '\r':
        strOut += "\\r";
        break;
    case '\t':
        strOut += "\\t";
        break;
    default:
        strOut += "\\x";
        AppendHex(strOut, Byte(c), 2);
    }
}

void AppendJsonEscape(std::string& strOut, unsigned nUnit)
{
    strOut += "\\u";
    AppendHex(strOut, nUnit, 4);
}

} // namespace

std::string EscapeUnsafe(std::string_view text)
{
    return Escaped(text, [](std::string& strOut, char32_t /*character*/, std::string_view bytes) {
        for (const char c : bytes) {
            AppendByteEscape(strOut, c);
        }
    });
}

std::string EscapeUnsafeInJson(std::string_view json)
{
    return Escaped(json, [](std::string& strOut, char32_t character, std::string_view bytes) {
        if (character < 0x20) { // in valid JSON never within a string
            strOut.append(bytes);
        } else if (character < FIRST_BEYOND_BMP) {
            AppendJsonEscape(strOut, character);
        } else { // a surrogate pair
            AppendJsonEscape(strOut, 0xd800U + ((character - FIRST_BEYOND_BMP) >> 10U));
            AppendJsonEscape(strOut, 0xdc00U + (character & 0x3ffU));
        }
    });
}
