#include "net/NAMDownload.h"

#include "ScriptedServer.h"
#include "Wine.h"

#include <QDir>
#include <QFile>
#include <QNetworkReply>
#include <QPointer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

namespace
{

constexpr int ENOUGH_MS = 30'000;

/// A reply as Qt's own is now and then when its connection breaks: it ends short of its length, and in order.
class CutOffReply : public QNetworkReply
{
public:
    explicit CutOffReply(QByteArray baContent) : m_baContent(std::move(baContent))
    {
        setHeader(QNetworkRequest::ContentLengthHeader, m_baContent.size() + 1);
        open(QIODevice::ReadOnly);
        QTimer::singleShot(0, this, [this] {
            Q_EMIT readyRead();
            setFinished(true);
            Q_EMIT finished();
        });
    }
    void abort() override {}

protected:
    qint64 readData(char* pData, qint64 nMaxSize) override
    {
        const QByteArray baRead = m_baContent.left(static_cast<int>(nMaxSize));
        m_baContent.remove(0, baRead.size());
        std::copy(baRead.begin(), baRead.end(), pData);
        return baRead.size();
    }

private:
    QByteArray m_baContent;
};

class CutOffDownload : public NAMDownload
{
public:
    using NAMDownload::NAMDownload;

protected:
    QNetworkReply* createRequest(Operation /*eOperation*/, const QNetworkRequest& /*request*/,
                                 QIODevice* /*pBody*/) override
    {
        return new CutOffReply("half of");
    }
};

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
        EXPECT_TRUE(pDownload->Start(strUrl, Target()));
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

TEST_F(Download, BringsTheWholeFileUnderItsName)
{
    const std::string strContent(3'000'000, 'x');
    const ScriptedServer server(ServerStep{HttpReply(200, strContent)});
    EXPECT_TRUE(Run(QString::fromStdString(server.Url("/file"))));
    EXPECT_EQ(Content(), QByteArray::fromStdString(strContent));
    EXPECT_EQ(Files(), QStringList{"file.bin"});
    ASSERT_FALSE(m_lstProgress.isEmpty());
    EXPECT_EQ(m_lstProgress.back().at(0).toLongLong(), 3'000'000);
    EXPECT_EQ(m_lstProgress.back().at(1).toLongLong(), 3'000'000);
}

TEST_F(Download, LeavesNothingBehindWhenItIsInterrupted)
{
    const std::string strReply = HttpReply(200, std::string(1'000'000, 'x'));
    const ScriptedServer server(
        ServerStep{strReply.substr(0, strReply.size() / 2),
                   RunsUnderWine() ? ServerStep::Ending::Close : ServerStep::Ending::Reset});
    EXPECT_FALSE(Run(QString::fromStdString(server.Url("/file"))));
    EXPECT_TRUE(Files().isEmpty()) << Files().join(' ').toStdString();
}

TEST_F(Download, LeavesNothingBehindWhenQtMissesTheInterruption)
{
    EXPECT_FALSE(Run("http://127.0.0.1/file", new CutOffDownload(nullptr)));
    EXPECT_TRUE(Files().isEmpty()) << Files().join(' ').toStdString();
}

TEST_F(Download, AsksForTheFileAsItIs)
{
    const ScriptedServer server(ServerStep{HttpReply(200, "content")});
    EXPECT_TRUE(Run(QString::fromStdString(server.Url("/file"))));
    EXPECT_THAT(server.Requests().at(0).Header("Accept-Encoding"),
                ::testing::ElementsAre("Accept-Encoding: identity"));
}

TEST_F(Download, LeavesNothingBehindWhenTheServerSaysNo)
{
    const ScriptedServer server(ServerStep{HttpReply(404, "no such file")});
    EXPECT_FALSE(Run(QString::fromStdString(server.Url("/file"))));
    EXPECT_TRUE(Files().isEmpty());
}

TEST_F(Download, FollowsARedirect)
{
    const ScriptedServer server([](const WireRequest& request) {
        return request.Target() == "/old" ? ServerStep{HttpReply(301, "moved", "Location: /new\r\n")}
                                          : ServerStep{HttpReply(200, "content")};
    });
    EXPECT_TRUE(Run(QString::fromStdString(server.Url("/old"))));
    EXPECT_EQ(Content(), "content");
}

TEST_F(Download, KeepsATargetThatIsThereAndStillReportsWhatTheNetworkDid)
{
    QFile existing(Target());
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    existing.write("earlier");
    existing.close();
    const ScriptedServer server(ServerStep{HttpReply(200, "later")});
    EXPECT_TRUE(Run(QString::fromStdString(server.Url("/file"))));
    EXPECT_EQ(Content(), "earlier");
    EXPECT_EQ(Files(), QStringList{"file.bin"});
}

TEST_F(Download, DoesNotStartWithoutAPlaceForTheFile)
{
    NAMDownload download(nullptr);
    EXPECT_FALSE(download.Start("http://127.0.0.1/file", m_folder.filePath("no/such/folder/file.bin")));
}

TEST_F(Download, StartsOnlyOnceAndItsEndInMidFlightRemovesTheFile)
{
    const ScriptedServer server(ServerStep{HttpReply(200, "x").substr(0, 30), ServerStep::Ending::Hold});
    const QString strUrl = QString::fromStdString(server.Url("/file"));
    {
        NAMDownload download(nullptr);
        const QSignalSpy finished(&download, &NAMDownload::signal_NReply_finished);
        ASSERT_TRUE(download.Start(strUrl, Target()));
        EXPECT_FALSE(download.Start(strUrl, Target()));
        ASSERT_TRUE(QTest::qWaitFor([&] { return server.Requests().size() == 1; }, ENOUGH_MS));
        EXPECT_EQ(Files().size(), 1);
    }
    EXPECT_TRUE(Files().isEmpty());
}

TEST_F(Download, ReportsOnlyProgressThatMakesSense)
{
    NAMDownload download(nullptr);
    const QSignalSpy spy(&download, &NAMDownload::signal_NReply_downloadProgress);
    const struct {
        qint64 nReceived;
        qint64 nTotal;
        int nReported;
    } cases[] = {{0, 0, 0}, {5, 4, 0}, {-1, 4, 0}, {3, -1, 0}, {0, 1, 1}, {4, 4, 1}};
    for (const auto& progress : cases) {
        const int nBefore = spy.count();
        ASSERT_TRUE(QMetaObject::invokeMethod(&download, "slot_NReply_downloadProgress",
                                              Q_ARG(qint64, progress.nReceived),
                                              Q_ARG(qint64, progress.nTotal)));
        EXPECT_EQ(spy.count() - nBefore, progress.nReported);
    }
}

} // namespace
