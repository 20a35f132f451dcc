// A host's own network access for the blocking senders.

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/KtsNetworkAccess.h>
#include <ktshttpagent/testing/KtsLabServer.h>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QPointer>
#include <QTcpServer>
#include <QTest>
#include <QThread>

#include <memory>
#include <stdexcept>
#include <vector>

namespace
{

constexpr int LONG = 60'000;

/// A host's manager, which logs in.
class LoggingIn : public QNetworkAccessManager
{
public:
    using QNetworkAccessManager::QNetworkAccessManager;

protected:
    QNetworkReply* createRequest(Operation eOperation, const QNetworkRequest& request,
                                 QIODevice* pBody) override
    {
        QNetworkRequest own(request);
        own.setRawHeader("Authorization", "Basic eDp5");
        own.setUrl(QUrl(request.url().toString().replace("login.invalid", "127.0.0.1")));
        return QNetworkAccessManager::createRequest(eOperation, own, pBody);
    }
};

class NetworkAccess : public ::testing::Test
{
protected:
    ~NetworkAccess() override { KtsSetNetworkAccess({}); }

    SBlockingOutcome Ask(const QString& strHost, int nPort, int nTimeout = LONG)
    {
        bool bCommon = false;
        m_request.SendGetWhetherInCommonEx(strHost, nPort, nTimeout, "CELL-0002", bCommon);
        return m_request.LastOutcome();
    }

    static CUIAgentReq& Request()
    {
        qputenv("CHTTPCLIENT_TIMEOUT_MS", "2000"); // a request that is left behind is cancelled then
        return *CUIAgentReq::Instance();
    }

    CUIAgentReq& m_request = Request();
};

TEST_F(NetworkAccess, OfTheHostCarriesBlockingCalls)
{
    KtsLabServer lab;
    ASSERT_TRUE(lab.Start()) << lab.Error().toStdString();
    std::vector<QPointer<QNetworkAccessManager>> vecMade;
    const QThread* pThread = nullptr;
    KtsSetNetworkAccess([&](QObject* pParent) {
        pThread = QThread::currentThread();
        vecMade.emplace_back(std::make_unique<LoggingIn>(pParent).release());
        return vecMade.back().data();
    });
    for (int nCall = 0; nCall < 2; ++nCall) {
        EXPECT_EQ(Ask("login.invalid", lab.Port()).eEnd, EBlockingEnd::Answered)
            << m_request.LastOutcome().strError.toStdString();
    }
    EXPECT_EQ(pThread, QThread::currentThread());
    ASSERT_EQ(vecMade.size(), 2U) << "one for each call";
    EXPECT_TRUE(QTest::qWaitFor([&] { return vecMade[0].isNull() && vecMade[1].isNull(); }, LONG))
        << "they are deleted with their exchanges";
}

TEST_F(NetworkAccess, OfTheHostIsDeletedWithARequestThatIsLeftBehind)
{
    QTcpServer silent; // the system accepts the connection, and nobody answers
    ASSERT_TRUE(silent.listen(QHostAddress(QHostAddress::LocalHost)));
    QPointer<QNetworkAccessManager> pMade;
    KtsSetNetworkAccess([&](QObject* /*pParent*/) { // without a parent: the library becomes its parent
        pMade = std::make_unique<QNetworkAccessManager>().release();
        return pMade.data();
    });
    EXPECT_EQ(Ask("127.0.0.1", silent.serverPort(), 1).eEnd, EBlockingEnd::TimedOut)
        << m_request.LastOutcome().strError.toStdString();
    EXPECT_TRUE(QTest::qWaitFor([&] { return pMade.isNull(); }, LONG));
}

TEST_F(NetworkAccess, IsQtsOwnIfTheHostMakesNone)
{
    KtsLabServer lab;
    ASSERT_TRUE(lab.Start()) << lab.Error().toStdString();
    int nAsked = 0;
    KtsSetNetworkAccess([&](QObject*) -> QNetworkAccessManager* {
        ++nAsked;
        return nullptr;
    });
    EXPECT_EQ(Ask(lab.Host(), lab.Port()).eEnd, EBlockingEnd::Answered);
    KtsSetNetworkAccess({});
    EXPECT_EQ(Ask(lab.Host(), lab.Port()).eEnd, EBlockingEnd::Answered);
    EXPECT_EQ(nAsked, 1);
}

TEST_F(NetworkAccess, ThatThrowsLeavesTheSender)
{
    KtsSetNetworkAccess(
        [](QObject*) -> QNetworkAccessManager* { throw std::runtime_error("no manager today"); });
    EXPECT_THROW(Ask("server", 80), std::runtime_error);
    KtsSetNetworkAccess({});
    EXPECT_EQ(Ask("127.0.0.1", 0).eEnd, EBlockingEnd::Failed) << "the next call works as always";
}

} // namespace
