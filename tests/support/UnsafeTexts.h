#pragma once

#include <gtest/gtest.h>

#include <array>
#include <ostream>
#include <string>
#include <vector>

/// A range of characters that must reach neither a terminal nor a log unescaped.
struct UnsafeRange {
    const char* szName;
    char32_t first;
    char32_t last;

    friend void PrintTo(const UnsafeRange& range, std::ostream* pOut) { *pOut << range.szName; }
};

inline const std::vector<UnsafeRange> UNSAFE_RANGES{
    {"C0", 0x01, 0x1f}, // a printf text can't hold U+0000; it has a test of its own
    {"DeleteAndC1", 0x7f, 0x9f},
    {"SoftHyphen", 0xad, 0xad},
    {"ArabicLetterMark", 0x61c, 0x61c},
    {"ZeroWidthSpace", 0x200b, 0x200b},
    {"DirectionMarks", 0x200e, 0x200f},
    {"SeparatorsEmbeddingsAndOverrides", 0x2028, 0x202e},
    {"InvisibleOperatorsAndIsolates", 0x2060, 0x206f},
    {"ByteOrderMark", 0xfeff, 0xfeff},
    {"Annotations", 0xfff9, 0xfffb},
    {"Tags", 0xe0000, 0xe007f},
};

/// Valid texts that are left unchanged.
inline const std::vector<std::string> SAFE_TEXTS{
    "plain ASCII, ~ and \\n and {} and %s",
    "电池 60℃存储7天",
    "Użytkownik, naïve, Ωmega, привет",
    "\u05e9\u05dc\u05d5\u05dd \u0645\u0631\u062d\u0628\u0627", // letters written right to left
    "\U0001F50B \U0001F469\u200d\U0001F52C \u2764\ufe0f \U0001F1E8\U0001F1F3", // joined and paired emoji
    "\u200c\u0915\u094d\u200d\u0937",
    "\ud7ff\ue000\ufffd\uffff\U00010000\U0010ffff",
};

/// Bytes none of which belongs to a valid character.
inline const std::vector<std::string> INVALID_BYTES{
    "\x80",
    "\xbf",
    "\xff",
    "\xfe",
    "\xc0\x80",
    "\xc1\xbf",
    "\xe0\x80\x80",
    "\xe0\x9f\xbf",
    "\xed\xa0\x80",
    "\xed\xbf\xbf",
    "\xf0\x80\x80\x80",
    "\xf0\x8f\xbf\xbf",
    "\xf4\x90\x80\x80",
    "\xf5\x80\x80\x80",
    "\xc2",
    "\xe7\x94",
    "\xe7",
    "\xf0\x9f\x94",
    "\xf0\x9f",
    "\xf0",
    "\x9b",
    "\xf8\x88\x80\x80\x80",
};

/// The character in UTF-8.
inline std::string Utf8(char32_t c)
{
    const auto Next = [c](unsigned nShift) { return static_cast<char>(0x80U | (c >> nShift & 0x3fU)); };
    if (c < 0x80) {
        return {static_cast<char>(c)};
    }
    if (c < 0x800) {
        return {static_cast<char>(0xc0U | c >> 6U), Next(0)};
    }
    if (c < 0x10000) {
        return {static_cast<char>(0xe0U | c >> 12U), Next(6), Next(0)};
    }
    return {static_cast<char>(0xf0U | c >> 18U), Next(12), Next(6), Next(0)};
}

/// The escape of the bytes: \n, \r, \t, and \xNN for each other byte.
inline std::string EscapeOf(const std::string& strBytes)
{
    std::string strEscape;
    for (const char c : strBytes) {
        constexpr const char* HEX = "0123456789abcdef";
        const auto nByte = static_cast<unsigned char>(c);
        strEscape += c == '\n'   ? "\\n"
                     : c == '\r' ? "\\r"
                     : c == '\t' ? "\\t"
                                 : std::string{'\\', 'x', HEX[nByte >> 4U], HEX[nByte & 0xfU]};
    }
    return strEscape;
}

/// All of these characters, each between two letters.
inline std::string EachOf(const UnsafeRange& range)
{
    std::string strText = "<";
    for (char32_t c = range.first; c <= range.last; ++c) {
        strText += Utf8(c) + '>';
    }
    return strText;
}

inline std::string EscapedEachOf(const UnsafeRange& range)
{
    std::string strText = "<";
    for (char32_t c = range.first; c <= range.last; ++c) {
        strText += EscapeOf(Utf8(c)) + '>';
    }
    return strText;
}

/// Whether a text, an output of any number of lines, holds something unsafe.
inline ::testing::AssertionResult HoldsUnsafe(const std::string& strOutput)
{
    for (const UnsafeRange& range : UNSAFE_RANGES) {
        for (char32_t c = range.first; c <= range.last; ++c) {
            if (c != U'\n' && strOutput.find(Utf8(c)) != std::string::npos) {
                return ::testing::AssertionSuccess() << EscapeOf(Utf8(c));
            }
        }
    }
    return ::testing::AssertionFailure() << "nothing unsafe";
}
