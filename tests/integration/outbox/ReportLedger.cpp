#include "ReportLedger.h"

#include <algorithm>

void ReportLedger::Note(std::string strName, const std::string& strKey)
{
    strName.resize(std::min(strName.size(), strName.find(' ')));
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (strKey.empty()) {
        ++m_nWithoutKey;
        m_mapKeyOf.try_emplace(strName, strKey);
        return;
    }
    const bool bNewReport = m_mapKeyOf.try_emplace(strName, strKey).second;
    const bool bNewKey = m_mapReportOf.try_emplace(strKey, strName).second;
    m_nRepeats += !bNewReport && !bNewKey ? 1 : 0;
    m_nTwice += !bNewReport && m_mapKeyOf[strName] != strKey ? 1 : 0;
    m_nMixed += !bNewKey && m_mapReportOf[strKey] != strName ? 1 : 0;
}

bool ReportLedger::Has(const std::string& strName) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_mapKeyOf.count(strName) > 0;
}

std::uint64_t ReportLedger::Missing(const std::string& strMark, std::uint64_t nTold) const
{
    std::uint64_t nMissing = 0;
    for (std::uint64_t n = 0; n < nTold; ++n) {
        nMissing += Has(strMark + "-" + std::to_string(n)) ? 0 : 1;
    }
    return nMissing;
}

std::uint64_t ReportLedger::Reports() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_mapKeyOf.size();
}

std::uint64_t ReportLedger::Repeats() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_nRepeats;
}

std::uint64_t ReportLedger::Twice() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_nTwice;
}

std::uint64_t ReportLedger::Mixed() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_nMixed;
}

std::uint64_t ReportLedger::WithoutKey() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_nWithoutKey;
}

std::string NameInBody(const std::string& strBody)
{
    static const std::string BEFORE = "\"name\":\"";
    const std::size_t nBegin = strBody.find(BEFORE);
    if (nBegin == std::string::npos) {
        return {};
    }
    const std::size_t nName = nBegin + BEFORE.size();
    return strBody.substr(nName, strBody.find('"', nName) - nName);
}
