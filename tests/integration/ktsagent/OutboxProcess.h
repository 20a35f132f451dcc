#pragma once

#include "KtsagentProcess.h"

#include "outbox/Store.h"

#include <json/json.h>

#include <QString>
#include <QStringList>

#include <cstdint>
#include <memory>
#include <string>

/// Runs "ktsagent outbox", with an outbox that the test fills.
class OutboxProcess : public KtsagentProcess
{
protected:
    OutboxProcess();

    /// What a host has open.
    /// @param nStoredMs  when its reports are stored, milliseconds since 1970 (UTC); 0 for now
    std::unique_ptr<outbox::Store> Open(std::int64_t nStoredMs = 0) const;

    /// Stores a report.
    /// @return its key
    static std::string Add(outbox::Store& store, const std::string& strBody,
                           const std::string& strUrl = "http://10.0.0.5:8080/saveData");

    /// Stores a report that is dead at once.
    /// @return its key
    static std::string Bury(outbox::Store& store, const std::string& strBody,
                            outbox::Ending eEnding = outbox::Ending::Dead,
                            const std::string& strWhy = "the server said no");

    KtsagentRun Outbox(const QString& strCommand, const QStringList& lstMore = {}) const;
    Json::Value JsonOf(const QString& strCommand, const QStringList& lstMore = {}) const;

    /// Changes a byte of the folder's segments, where a text stands.
    /// @return the segment, from the folder on
    std::string Damage(const std::string& strText) const;

    const QString m_strFolder;
};
