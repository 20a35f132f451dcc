#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

/// The test's own settings root. Each test is a process of its own, so the singletons are new.
class SettingsRoot : public ::testing::Test
{
protected:
    SettingsRoot() { qputenv("KTSHTTPAGENT_SETTINGS_ROOT", m_root.path().toUtf8()); }

    QString FileOf(const char* szProfile) const { return m_root.path() + '/' + szProfile + ".ini"; }

    void Write(const char* szProfile, const QByteArray& text) const
    {
        QDir().mkpath(QFileInfo(FileOf(szProfile)).path());
        QFile file(FileOf(szProfile));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }

    QTemporaryDir m_root;
};
