#pragma once

#include <string>

/// Bytes as a text in UTF-8 in which each character has the number of a byte. So JSON can hold any bytes.
inline std::string FromLatin1(const std::string& strBytes)
{
    std::string strText;
    for (const char c : strBytes) {
        const auto nByte = static_cast<unsigned char>(c);
        if (nByte < 0x80) {
            strText += c;
        } else {
            strText += static_cast<char>(0xC0 | (nByte >> 6));
            strText += static_cast<char>(0x80 | (nByte & 0x3F));
        }
    }
    return strText;
}

/// The bytes that FromLatin1() was given. Other texts in UTF-8 lose their characters above U+00FF.
inline std::string ToLatin1(const std::string& strText)
{
    std::string strBytes;
    for (std::size_t n = 0; n < strText.size(); ++n) {
        const auto nByte = static_cast<unsigned char>(strText[n]);
        if (nByte < 0x80) {
            strBytes += strText[n];
        } else if ((nByte == 0xC2 || nByte == 0xC3) && n + 1 < strText.size()) {
            const auto nNext = static_cast<unsigned char>(strText[++n]);
            strBytes += static_cast<char>(((nByte & 0x03) << 6) | (nNext & 0x3F));
        }
    }
    return strBytes;
}
