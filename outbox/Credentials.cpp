#include "Credentials.h"

#include "Url.h"

namespace outbox
{

bool Credentials::Remember(const std::string& strServer, const std::string& strUserInfo)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool bHasRoom = m_mapUserInfo.size() < MOST_SERVERS || m_mapUserInfo.count(strServer) > 0;
    if (strUserInfo.empty() || !bHasRoom || m_mapUserInfo[strServer] == strUserInfo) {
        return false;
    }
    m_mapUserInfo[strServer] = strUserInfo;
    return true;
}

std::string Credentials::Complete(const std::string& strBareUrl) const
{
    const std::optional<Address> address = ReadAddress(strBareUrl);
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = address ? m_mapUserInfo.find(address->strServer) : m_mapUserInfo.end();
    return found == m_mapUserInfo.end() ? strBareUrl : WithUserInfo(strBareUrl, found->second);
}

} // namespace outbox
