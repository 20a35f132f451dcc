#include "DownloadFixture.h"
#include "ScriptedServer.h"
#include "Wine.h"

#include <QDir>
#include <QElapsedTimer>
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
#include <chrono>
#include <cstddef>
#include <string>
#include <utility>

#if !defined(_WIN32)
#include <csignal>
#include <sys/resource.h>
#endif

namespace
{

/// A reply like Qt's own sometimes is when its connection breaks: it ends normally, but short of its length.
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

TEST_F(Download, FollowsARedirectToAnotherPort)
{
    const ScriptedServer other(ServerStep{HttpReply(200, "content")});
    const ScriptedServer server(
        ServerStep{HttpReply(302, "moved", "Location: " + other.Url("/new") + "\r\n")});
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

TEST_F(Download, IsOfHttpOnly)
{
    QFile secret(m_folder.filePath("secret"));
    ASSERT_TRUE(secret.open(QIODevice::WriteOnly));
    secret.close();
    for (const QString& strUrl :
         {"file://" + secret.fileName(), secret.fileName(), QString("ftp://127.0.0.1/x"),
          QString("data:text/plain,x"), QString("qrc:/x"), QString("127.0.0.1/x"), QString()}) {
        NAMDownload download(nullptr);
        EXPECT_FALSE(download.Start(strUrl, Target())) << strUrl.toStdString();
        EXPECT_EQ(Files(), QStringList{"secret"});
    }
}

TEST_F(Download, BeginsByHttpsToo)
{
    NAMDownload download(nullptr);
    EXPECT_TRUE(download.Start("https://127.0.0.1:0/x", Target())); // nobody listens on this port
}

TEST_F(Download, FollowsARedirectToHttpOnly)
{
    QTemporaryDir elsewhere;
    QFile secret(elsewhere.filePath("secret"));
    ASSERT_TRUE(secret.open(QIODevice::WriteOnly));
    secret.write("content");
    secret.close();
    for (const QString& strUrl : {"file://" + secret.fileName(), QString("ftp://127.0.0.1/x"),
                                  QString("data:text/plain,x"), QString("qrc:/x")}) {
        const ScriptedServer server(
            ServerStep{HttpReply(302, "moved", "Location: " + strUrl.toStdString() + "\r\n")});
        EXPECT_FALSE(Run(QString::fromStdString(server.Url("/old")))) << strUrl.toStdString();
        EXPECT_TRUE(Files().isEmpty()) << Files().join(' ').toStdString();
    }
}

TEST_F(Download, HasTheLargestSizeOfAReply)
{
    constexpr std::size_t MOST = 1'000'000;
    qputenv("CHTTPCLIENT_MAX_REPLY_BYTES", "1000000");
    for (const char* const szEnd : {"", "x"}) {
        const std::string strContent = std::string(MOST, 'x') + szEnd;
        for (const ServerStep& step :
             {ServerStep{HttpReply(200, strContent)},
              ServerStep{"HTTP/1.1 200 OK\r\n\r\n" + strContent, ServerStep::Ending::Close}}) {
            const ScriptedServer server(step);
            const bool bFits = strContent.size() == MOST;
            EXPECT_EQ(Run(QString::fromStdString(server.Url("/file"))), bFits);
            EXPECT_EQ(Files().size(), bFits ? 1 : 0);
            QFile::remove(Target());
        }
    }
}

TEST_F(Download, WithoutEndIsCutOff)
{
    qputenv("CHTTPCLIENT_MAX_REPLY_BYTES", "1000000");
    ServerStep step{"HTTP/1.1 200 OK\r\n\r\n", ServerStep::Ending::Close};
    step.strEndless = std::string(100'000, 'x');
    step.pause = std::chrono::milliseconds(10);
    const ScriptedServer server(step);
    EXPECT_FALSE(Run(QString::fromStdString(server.Url("/file"))));
    EXPECT_TRUE(Files().isEmpty());
}

// What comes faster than it can be written does not pile up.
TEST_F(Download, IsHeldInMemoryToSomeMegabytesOnly)
{
    NAMDownload download(nullptr);
    ASSERT_TRUE(download.Start("http://127.0.0.1:0/x", Target()));
    const auto* const pReply = download.findChild<QNetworkReply*>();
    ASSERT_NE(pReply, nullptr);
    EXPECT_GT(pReply->readBufferSize(), 0) << "0 is for no limit";
    EXPECT_LE(pReply->readBufferSize(), 16'000'000);
}

TEST_F(Download, HasTheTimeOfARequestForTheWhole)
{
    qputenv("CHTTPCLIENT_TIMEOUT_MS", "300");
    ServerStep step{"HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n", ServerStep::Ending::Close};
    step.strEndless = "x";
    step.pause = std::chrono::milliseconds(20);
    const ScriptedServer server(step);
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(Run(QString::fromStdString(server.Url("/file"))));
    EXPECT_GE(clock.elapsed(), 300);
    EXPECT_LT(clock.elapsed(), ENOUGH_MS);
    EXPECT_TRUE(Files().isEmpty());
}

#if !defined(_WIN32)

/// Limits the size of this process's files, as if the disk were full.
class SmallDisk
{
public:
    explicit SmallDisk(rlim_t nBytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{nBytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~SmallDisk() { ::setrlimit(RLIMIT_FSIZE, &m_before); }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

private:
    rlimit m_before{};
};

TEST_F(Download, ThatTheDiskHasNoPlaceForFails)
{
    const SmallDisk disk(4'096);
    // Of the smaller one, Qt buffers everything until the file is closed.
    for (const std::size_t nBytes : {5'000U, 1'000'000U}) {
        const ScriptedServer server(ServerStep{HttpReply(200, std::string(nBytes, 'x'))});
        EXPECT_FALSE(Run(QString::fromStdString(server.Url("/file")))) << nBytes;
        EXPECT_TRUE(Files().isEmpty()) << Files().join(' ').toStdString();
    }
    const ScriptedServer server(ServerStep{HttpReply(200, std::string(4'096, 'x'))});
    EXPECT_TRUE(Run(QString::fromStdString(server.Url("/file"))));
}

#endif

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
