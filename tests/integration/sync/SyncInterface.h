#pragma once

#include "Enough.h"
#include "ScriptedServer.h"

#include <ktshttpagent/CUIAgentReq.h>

#include <gtest/gtest.h>

#include <QString>

/// A host that calls blocking senders. Each test is a process of its own, so its wait records are new.
class SyncInterface : public ::testing::Test
{
protected:
    SyncInterface() { qputenv("KTSHTTPAGENT_SETTINGS_ROOT", "/nonexistent"); }

    bool Check(const ScriptedServer& server, int nTimeout = ENOUGH_MS)
    {
        return m_request.SendGetChannelCheckDataEx(m_strHost, server.Port(), nTimeout,
                                                   {12, 7, "X", "D1", "3", "p"}, m_bAllow, m_strReason);
    }

    bool InCommon(const ScriptedServer& server, int nTimeout = ENOUGH_MS)
    {
        return m_request.SendGetWhetherInCommonEx(m_strHost, server.Port(), nTimeout, "X", m_bCommon);
    }

    static QString Base(const ScriptedServer& server) { return QString::fromStdString(server.Url("/")); }

    const QString m_strHost = QStringLiteral("127.0.0.1");
    CUIAgentReq& m_request = *CUIAgentReq::Instance();
    bool m_bAllow = false;
    bool m_bCommon = false;
    QString m_strReason;
};
