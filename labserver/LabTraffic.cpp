#include "labserver/LabTraffic.h"

#include <algorithm>

namespace
{

constexpr std::size_t MAX_ENTRIES = 10'000;
constexpr std::size_t MAX_BYTES = std::size_t{64} * 1024 * 1024;

std::size_t BytesOf(const LabSeen& seen)
{
    std::size_t nBytes = sizeof seen + seen.strPath.size() + seen.strTarget.size() +
                         seen.strRequestBody.size() + seen.strReplyHead.size() + seen.strReplyBody.size();
    for (const auto& [strName, strValue] : seen.vecRequestHeaders) {
        nBytes += strName.size() + strValue.size();
    }
    return nBytes;
}

} // namespace

void LabTraffic::Add(LabSeen seen)
{
    const std::size_t nBytes = BytesOf(seen);
    const auto pSeen = std::make_shared<LabSeen>(std::move(seen));
    std::vector<Entry> vecGone; // destroyed after the lock is free
    const std::lock_guard lock(m_mutex);
    pSeen->nId = ++m_nLastId;
    m_lstEntries.push_back(pSeen);
    m_nBytes += nBytes;
    while (m_lstEntries.size() > MAX_ENTRIES || m_nBytes > MAX_BYTES) {
        m_nBytes -= BytesOf(*m_lstEntries.front());
        vecGone.push_back(std::move(m_lstEntries.front()));
        m_lstEntries.pop_front();
    }
}

std::uint64_t LabTraffic::LastId() const
{
    const std::lock_guard lock(m_mutex);
    return m_nLastId;
}

LabTraffic::Entry LabTraffic::Find(std::uint64_t nId) const
{
    const std::lock_guard lock(m_mutex);
    if (m_lstEntries.empty() || nId < m_lstEntries.front()->nId || nId > m_nLastId) {
        return nullptr;
    }
    return m_lstEntries[static_cast<std::size_t>(nId - m_lstEntries.front()->nId)];
}

std::vector<LabTraffic::Entry> LabTraffic::Before(std::uint64_t nBefore, std::size_t nMost,
                                                  const std::function<bool(const LabSeen&)>& fnWanted) const
{
    std::vector<Entry> vecFound;
    const std::lock_guard lock(m_mutex);
    for (auto it = m_lstEntries.rbegin(); it != m_lstEntries.rend() && vecFound.size() < nMost; ++it) {
        if ((*it)->nId < nBefore && fnWanted(**it)) {
            vecFound.push_back(*it);
        }
    }
    return vecFound;
}

std::vector<LabTraffic::Entry> LabTraffic::After(std::uint64_t nId, std::size_t nMost) const
{
    const std::lock_guard lock(m_mutex);
    const auto first = std::partition_point(m_lstEntries.begin(), m_lstEntries.end(),
                                            [nId](const Entry& pEntry) { return pEntry->nId <= nId; });
    const auto nFound = std::min<std::size_t>(nMost, static_cast<std::size_t>(m_lstEntries.end() - first));
    return {first, first + static_cast<std::ptrdiff_t>(nFound)};
}
