#include "IniLines.h"

#include <utility>

namespace
{

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

} // namespace

IniLines::IniLines(QByteArray baText) : m_baText(std::move(baText)) {}

bool IniLines::Next()
{
    m_nBegin = m_nEnd;
    while (m_nBegin < m_baText.size() && IsBlank(m_baText.at(m_nBegin))) {
        ++m_nBegin;
    }
    m_nNumber = m_baText.left(m_nBegin).count('\n') + 1;
    m_nEnd = m_nBegin;
    GoToTheEnd();
    return m_nBegin < m_baText.size();
}

void IniLines::GoToTheEnd()
{
    const bool bComment = m_nEnd < m_baText.size() && m_baText.at(m_nEnd) == ';';
    bool bQuoted = false;
    for (; m_nEnd < m_baText.size(); ++m_nEnd) {
        const char c = m_baText.at(m_nEnd);
        const bool bLineEnd = c == '\n' || c == '\r';
        if (!bQuoted && (bLineEnd || (c == ';' && !bComment))) {
            return;
        }
        if (!bComment && c == '"') {
            bQuoted = !bQuoted;
        } else if (!bComment && c == '\\') { // the next character has no meaning of its own
            m_nEnd += m_baText.mid(m_nEnd + 1, 2) == "\r\n" ? 2 : 1;
        }
    }
    m_nEnd = m_baText.size();
}
