#include "ReplyLimits.h"

#include "platform/system/Environment.h"

#include <cstdint>
#include <limits>

namespace
{

void ReadCount(const char* szName, std::size_t& nCount, std::vector<std::string>& vecComplaints)
{
    constexpr SNumberRange RANGE{1, std::numeric_limits<std::int32_t>::max()};
    constexpr SComplaintWords WORDS{" is \"", "\", not a number from ", " stays in force"};
    nCount = EnvironmentNumber(szName, nCount, RANGE, vecComplaints, WORDS);
}

bool IsOpening(char c)
{
    return c == '[' || c == '{';
}

bool IsClosing(char c)
{
    return c == ']' || c == '}';
}

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/// 1 or 0, without a branch, so that many characters can be asked at once.
constexpr unsigned MayBringAValue(char c)
{
    return static_cast<unsigned>(c == ',') + static_cast<unsigned>(c == '[') +
           static_cast<unsigned>(c == '{');
}

/// Commas and opening brackets, wherever they stand: there is at most one value for each, and the root.
std::size_t CountAtMost(std::string_view body) noexcept
{
    constexpr std::size_t BLOCK = 128; // so short that a byte holds its count, and known to the compiler
    std::size_t nCount = 1;
    while (body.size() >= BLOCK) {
        std::uint8_t nInBlock = 0;
        for (std::size_t i = 0; i < BLOCK; ++i) {
            nInBlock = static_cast<std::uint8_t>(nInBlock + MayBringAValue(body[i]));
        }
        nCount += nInBlock;
        body.remove_prefix(BLOCK);
    }
    for (const char c : body) {
        nCount += MayBringAValue(c);
    }
    return nCount;
}

/// Steps through the characters of a JSON text that belong to its structure.
class CStructure
{
public:
    explicit CStructure(std::string_view text) : m_text(text) {}

    /// The next character outside of texts, comments and blanks; of a text its opening quote. A NUL at the
    /// end: no value begins with one.
    char Next() noexcept
    {
        while (m_nPos < m_text.size()) {
            const char c = m_text[m_nPos++];
            if (c == '"') {
                SkipText();
                return c;
            }
            if (c == '/') {
                SkipComment();
            } else if (!IsBlank(c)) {
                return c;
            }
        }
        return '\0';
    }

    bool AtEnd() const noexcept { return m_nPos >= m_text.size(); }

private:
    void SkipText() noexcept
    {
        while (m_nPos < m_text.size() && m_text[m_nPos] != '"') {
            m_nPos += m_text[m_nPos] == '\\' ? 2 : 1;
        }
        ++m_nPos;
    }

    void SkipComment() noexcept
    {
        const char cKind = m_nPos < m_text.size() ? m_text[m_nPos] : '\0';
        if (cKind == '*') {
            SkipBehind(m_text.find("*/", m_nPos + 1), 2);
        } else if (cKind == '/') {
            SkipBehind(m_text.find_first_of("\r\n", m_nPos), 1);
        }
    }

    void SkipBehind(std::size_t nFound, std::size_t nLength) noexcept
    {
        m_nPos = nFound == std::string_view::npos ? m_text.size() : nFound + nLength;
    }

    std::string_view m_text;
    std::size_t m_nPos = 0;
};

bool CountExceeds(std::string_view body, std::size_t nMost) noexcept
{
    std::size_t nValues = 1; // the root
    bool bOpened = false;
    for (CStructure structure(body); !structure.AtEnd() && nValues <= nMost;) {
        const char c = structure.Next();
        const bool bFirstElement = bOpened && c != '\0' && !IsClosing(c);
        nValues += (bFirstElement ? 1U : 0U) + (c == ',' ? 1U : 0U);
        bOpened = IsOpening(c);
    }
    return nValues > nMost;
}

} // namespace

SReplyLimits ReadReplyLimits(std::vector<std::string>& vecComplaints)
{
    SReplyLimits limits;
    ReadCount(REPLY_VALUES_VARIABLE, limits.nValues, vecComplaints);
    ReadCount(LIST_ELEMENTS_VARIABLE, limits.nListElements, vecComplaints);
    return limits;
}

const SReplyLimits& ReplyLimits()
{
    static const SReplyLimits limits = [] {
        std::vector<std::string> vecComplaints; // whoever starts up first has logged them
        return ReadReplyLimits(vecComplaints);
    }();
    return limits;
}

// A value takes a byte at least, and most replies are so short, or so poor in commas, that nothing has to be
// looked at closely.
bool HoldsMoreValues(std::string_view body, std::size_t nMost) noexcept
{
    return body.size() > nMost && CountAtMost(body) > nMost && CountExceeds(body, nMost);
}
