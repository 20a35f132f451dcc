#include "labserver/LabHead.h"

#include "labserver/LabText.h"

#include <algorithm>

namespace
{

/// The name in a header line, in lower case.
std::string NameOf(const std::string& strLine)
{
    return LowerCase(strLine.substr(0, strLine.find(':')));
}

/// Whether a header line asks for ranges of the reply's body.
bool AsksForRanges(const std::string& strLine)
{
    const std::string strName = NameOf(strLine);
    return strName == "range" || strName == "if-range";
}

/// Changes the line with a report's key, so that httplib passes the key on as it came. httplib would decode
/// percent signs, and then two keys could be taken for one; and it would drop a line without a value.
void ProtectKey(std::string& strLine)
{
    if (NameOf(strLine) != "idempotency-key") {
        return;
    }
    const std::size_t nValue = strLine.find(':') + 1;
    if (strLine.find_first_not_of(" \t\r\n", nValue) == std::string::npos) {
        strLine.insert(nValue, "\"\"");
    }
    for (std::size_t i = nValue; (i = strLine.find('%', i)) != std::string::npos; i += 3) {
        strLine.replace(i, 1, "%25");
    }
}

} // namespace

std::size_t LabHead::Take(const char* pBytes, std::size_t nSize)
{
    const char* const pEnd = std::find(pBytes, pBytes + nSize, '\n');
    const std::size_t nLine = static_cast<std::size_t>(pEnd - pBytes) + (pEnd == pBytes + nSize ? 0 : 1);
    const std::size_t nTaken = std::min(nLine, MAX_LINE + 1 - m_strTaking.size());
    m_strTaking.append(pBytes, nTaken);
    m_nSize += nTaken;
    if (m_strTaking.size() > MAX_LINE || (!m_strTaking.empty() && m_strTaking.back() == '\n')) {
        EndLine();
    }
    return nTaken;
}

std::size_t LabHead::Give(char* pBytes, std::size_t nSize)
{
    const std::size_t nGiven = std::min(nSize, m_strLine.size() - m_nGiven);
    std::copy_n(m_strLine.data() + m_nGiven, nGiven, pBytes);
    m_nGiven += nGiven;
    return nGiven;
}

void LabHead::EndLine()
{
    m_strLine.clear();
    m_nGiven = 0;
    if (m_nLines++ < 0) {
        EndRequestLine();
    } else {
        EndHeaderLine();
    }
    m_strTaking.clear();
}

void LabHead::EndRequestLine()
{
    m_strLine.swap(m_strTaking);
    if (m_strLine.size() <= MAX_LINE) {
        return;
    }
    m_refusal = {414, "The request target is too long."};
    m_strLine.back() = '\n'; // a line end, without which httplib would see no request
}

void LabHead::EndHeaderLine()
{
    if (m_nSize > MAX_SIZE) {
        m_refusal = {431, "The request's header is larger than " + std::to_string(MAX_SIZE) + " bytes."};
    } else if (m_strTaking == "\r\n") {
        m_bBlankTaken = true;
        m_strLine.swap(m_strTaking);
    } else if (m_strTaking.size() > MAX_LINE) {
        m_refusal = {431,
                     "A line of the request's header is longer than " + std::to_string(MAX_LINE) + " bytes."};
    } else if (m_nLines > MAX_LINES) {
        m_refusal = {431, "The request's header has more than " + std::to_string(MAX_LINES) + " lines."};
    } else if (!AsksForRanges(m_strTaking)) {
        ProtectKey(m_strTaking);
        m_strLine.swap(m_strTaking);
    }
}
