#include "labserver/LabKeyClaim.h"

#include <utility>

bool LabKeysInWork::Add(const std::string& strKey)
{
    const std::lock_guard lock(m_mutex);
    return m_setKeys.insert(strKey).second;
}

void LabKeysInWork::Remove(const std::string& strKey)
{
    const std::lock_guard lock(m_mutex);
    m_setKeys.erase(strKey);
}

LabKeyClaim::LabKeyClaim(LabKeysInWork& keys, LabKey key)
    : m_keys(keys), m_key(std::move(key)), m_bHeld(!m_key.strText.empty() && keys.Add(m_key.strText))
{
}

void LabKeyClaim::Release()
{
    if (m_bHeld) {
        m_keys.Remove(m_key.strText);
    }
    m_bHeld = false;
}
