#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <system_error>

namespace outbox
{

/// What can be made of bytes that should be a record.
enum class Reading {
    Whole,
    Cut, ///< they end before the record does
    None ///< they are no record
};

/// Reads the words of a line whose rest may be missing.
class LineReader
{
public:
    explicit LineReader(std::string_view line) : m_line(line) {}

    /// How many bytes were read.
    std::size_t At() const { return m_nAt; }

    /// Reads these bytes and nothing else.
    Reading Skip(std::string_view strWord)
    {
        const std::string_view strHere = m_line.substr(m_nAt, strWord.size());
        if (strHere != strWord.substr(0, strHere.size())) {
            return Reading::None;
        }
        m_nAt += strHere.size();
        return strHere.size() == strWord.size() ? Reading::Whole : Reading::Cut;
    }

    /// Reads a number, and the blank behind it.
    /// @param nMostDigits  so few that the type has room for the number
    template <class Number>
    Reading ReadNumber(Number& nNumber, int nBase, std::size_t nLeastDigits, std::size_t nMostDigits)
    {
        const std::string_view strHere = m_line.substr(m_nAt, nMostDigits + 1);
        const auto [pEnd, error] =
            std::from_chars(strHere.data(), strHere.data() + strHere.size(), nNumber, nBase);
        const auto nDigits = static_cast<std::size_t>(pEnd - strHere.data());
        if (nDigits == strHere.size() && nDigits <= nMostDigits) {
            return Reading::Cut;
        }
        if (error != std::errc() || nDigits < nLeastDigits || nDigits > nMostDigits ||
            strHere[nDigits] != ' ') {
            return Reading::None;
        }
        m_nAt += nDigits + 1;
        return Reading::Whole;
    }

private:
    std::string_view m_line;
    std::size_t m_nAt = 0;
};

/// A checksum as it stands in the files.
inline std::string Hex8(std::uint32_t nNumber)
{
    char szHex[9];
    static_cast<void>(std::snprintf(szHex, sizeof szHex, "%08x", static_cast<unsigned>(nNumber)));
    return szHex;
}

} // namespace outbox
