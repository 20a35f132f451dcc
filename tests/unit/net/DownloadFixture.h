#pragma once

#include "Enough.h"

#include "net/NAMDownload.h"

#include <QDir>
#include <QFile>
#include <QList>
#include <QPointer>
#include <QSignalSpy>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>
#include <QVariant>

#include <gtest/gtest.h>

/// Downloads into the test's own folder.
class Download : public ::testing::Test
{
protected:
    /// Runs one download to its end.
    /// @return whether it reported success
    bool Run(const QString& strUrl, NAMDownload* pDownload = new NAMDownload(nullptr))
    {
        const QPointer<NAMDownload> pWatched(pDownload);
        const QSignalSpy finished(pDownload, &NAMDownload::signal_NReply_finished);
        const QSignalSpy progress(pDownload, &NAMDownload::signal_NReply_downloadProgress);
        if (!pDownload->Start(strUrl, Target())) {
            delete pDownload;
            ADD_FAILURE() << "the download did not start";
            return false;
        }
        EXPECT_TRUE(QTest::qWaitFor([&] { return pWatched.isNull(); }, ENOUGH_MS))
            << "the object deletes itself";
        EXPECT_EQ(finished.count(), 1);
        m_lstProgress = progress;
        return finished.count() == 1 && finished.front().front().toBool();
    }

    QString Target() const { return m_folder.filePath("file.bin"); }

    QByteArray Content() const
    {
        QFile file(Target());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
    }

    QStringList Files() const { return QDir(m_folder.path()).entryList(QDir::Files); }

    QTemporaryDir m_folder;
    QList<QList<QVariant>> m_lstProgress;
};
