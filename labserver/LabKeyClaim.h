#pragma once

#include "labserver/LabKey.h"

#include <mutex>
#include <set>
#include <string>

/// The keys of the reports that this server is working on. Thread-safe.
class LabKeysInWork
{
public:
    /// @return false when the key is there already
    bool Add(const std::string& strKey);
    void Remove(const std::string& strKey);

private:
    std::mutex m_mutex;
    std::set<std::string> m_setKeys;
};

/// One request's claim to its key, for as long as it is being answered.
class LabKeyClaim
{
public:
    /// @param keys must outlive this object
    /// @param key one without a text claims nothing
    LabKeyClaim(LabKeysInWork& keys, LabKey key);
    ~LabKeyClaim() { Release(); }
    LabKeyClaim(const LabKeyClaim&) = delete;
    LabKeyClaim& operator=(const LabKeyClaim&) = delete;

    const LabKey& Key() const { return m_key; }

    /// Whether this request may store its report: no other one with this key was being answered when it came.
    bool IsHeld() const { return m_bHeld; }

    void Release(); ///< ends the claim before the object

private:
    LabKeysInWork& m_keys;
    const LabKey m_key;
    bool m_bHeld;
};
