#pragma once

#include "LogFolder.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <string>

/// The result of one run of the program.
struct KtsagentRun {
    int nExit = -1; ///< -1 when it crashed, or did not end in time and was killed
    std::string strOut;
    std::string strErr;

    /// Standard output as a JSON object or list; the test fails if it is anything else.
    QJsonObject Object() const;
    QJsonArray List() const;
    /// The arguments of the signal of that object.
    QJsonObject Signal() const { return Object()["signal"].toObject(); }
};

/// Runs the program, with a log and settings of its own.
class KtsagentProcess : public testing::Test
{
protected:
    KtsagentProcess();

    /// Runs the program to its end.
    KtsagentRun Run(const QStringList& lstArguments) const;

    /// Writes a file of this test.
    /// @return its path
    QString WriteFile(const QString& strName, const std::string& strText) const;

    /// Sets a value in a profile, which is a registry path with "/" as the separator.
    void SetEndpoint(const QString& strProfile, const QString& strValue, const QString& strPath) const;

    LogFolder m_log;
    QTemporaryDir m_folder; ///< settings root and files
};

/// "127.0.0.1:PORT"
QString Loopback(int nPort);
