#include "ReplyLimits.h"

#include "platform/system/Environment.h"

#include <cstdint>
#include <limits>

namespace
{

void ReadCount(const char* szName, std::size_t& nCount, std::vector<std::string>& vecComplaints)
{
    constexpr NumberRange RANGE{1, std::numeric_limits<std::int32_t>::max()};
    constexpr ComplaintWords WORDS{" is \"", "\", not a number from ", " stays in force"};
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

/// Returns 1 or 0 without a branch, so that the compiler can test many characters at once.
constexpr unsigned MayBringAValue(char c)
{
    return static_cast<unsigned>(c == ',') + static_cast<unsigned>(c == '[') +
           static_cast<unsigned>(c == '{');
}

/// Counts commas and opening brackets wherever they occur: a text holds at most one value for each of them,
/// and the root.
std::size_t CountAtMost(std::string_view body) noexcept
{
    constexpr std::size_t BLOCK = 128; // its count fits into a byte, and the compiler knows the length
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
class Structure
{
public:
    explicit Structure(std::string_view text) : m_text(text) {}

    /// The next character outside of strings, comments and white space; for a string, its opening quote. At
    /// the end a NUL, with which no value begins.
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
            SkipPast(m_text.find("*/", m_nPos + 1), 2);
        } else if (cKind == '/') {
            SkipPast(m_text.find_first_of("\r\n", m_nPos), 1);
        }
    }

    void SkipPast(std::size_t nFound, std::size_t nLength) noexcept
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
    for (Structure structure(body); !structure.AtEnd() && nValues <= nMost;) {
        const char c = structure.Next();
        const bool bFirstElement = bOpened && c != '\0' && !IsClosing(c);
        nValues += (bFirstElement ? 1U : 0U) + (c == ',' ? 1U : 0U);
        bOpened = IsOpening(c);
    }
    return nValues > nMost;
}

} // namespace

ReplyLimits ReadReplyLimits(std::vector<std::string>& vecComplaints)
{
    ReplyLimits limits;
    ReadCount(REPLY_VALUES_VARIABLE, limits.nValues, vecComplaints);
    ReadCount(LIST_ELEMENTS_VARIABLE, limits.nListElements, vecComplaints);
    return limits;
}

const ReplyLimits& ReplyLimitsInForce()
{
    static const ReplyLimits limits = [] {
        std::vector<std::string> vecComplaints; // logged when the client is created
        return ReadReplyLimits(vecComplaints);
    }();
    return limits;
}

// A value takes at least one byte. Most replies are so short, or hold so few commas, that an exact count is
// not needed.
bool HoldsMoreValues(std::string_view body, std::size_t nMost) noexcept
{
    return body.size() > nMost && CountAtMost(body) > nMost && CountExceeds(body, nMost);
}
