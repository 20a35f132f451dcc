// The asynchronous interface as a host uses it: a sender, a real socket, a server, a signal.

#include "AnswerSpy.h"
#include "Enough.h"
#include "ScriptedServer.h"

#include "labserver/LabServer.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>
#include <ktshttpagent/ResultVariants.h>

#include <QCoreApplication>
#include <QTest>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <string>

namespace
{

class AsyncInterface : public ::testing::Test
{
protected:
    AsyncInterface()
    {
        qputenv("KTSHTTPAGENT_SETTINGS_ROOT", "/nonexistent");
        m_nPort = m_server.Start();
    }

    LabServer m_server;
    int m_nPort = 0;
    const QString m_strHost = QStringLiteral("127.0.0.1");
    CUIAgentRsp& m_response = *CUIAgentRsp::Instance();
    CUIAgentReq& m_request = *CUIAgentReq::Instance();
};

TEST_F(AsyncInterface, ASupportedVersionComesBackAsASignal)
{
    const AnswerSpy spy(&CUIAgentRsp::SigGetSupportVerRet);
    m_request.SendGetSupportVer(m_strHost, m_nPort, "1.1.0");
    ASSERT_TRUE(spy.Wait(1));
    EXPECT_EQ(spy[0], (QList<QVariant>{true, QStringLiteral("1.1.0")}));
    ASSERT_EQ(m_server.Exchanges().size(), 1U);
    EXPECT_EQ(m_server.Exchanges().front().strTarget, "/vomd/system/GetSupportVer.action?t=1.1.0");
    EXPECT_EQ(m_server.Exchanges().front().strBody, "");
}

TEST_F(AsyncInterface, AnUnsupportedVersionIsAFailure)
{
    const AnswerSpy spy(&CUIAgentRsp::SigGetSupportVerRet);
    m_request.SendGetSupportVer(m_strHost, m_nPort, "no such version");
    ASSERT_TRUE(spy.Wait(1));
    EXPECT_EQ(spy[0], (QList<QVariant>{false, QString()}));
    EXPECT_EQ(m_server.Exchanges().front().strTarget,
              "/vomd/system/GetSupportVer.action?t=no%20such%20version");
}

TEST_F(AsyncInterface, AServerThatIsNotThereIsAFailureSoon)
{
    const AnswerSpy spy(&CUIAgentRsp::SigGetSupportVerRet);
    const RefusingPort refusing;
    m_request.SendGetSupportVer(m_strHost, refusing.Port(), "1.1.0");
    ASSERT_TRUE(spy.Wait(1));
    EXPECT_EQ(spy[0], (QList<QVariant>{false, QString()}));
}

TEST_F(AsyncInterface, ASignalIsEmittedOnTheDeliveringThreadAndQueuedOnTheReceivers)
{
    std::atomic<QThread*> pEmitting = nullptr;
    QObject receiver;
    QThread* pReceiving = nullptr;
    QObject::connect(&m_response, &CUIAgentRsp::SigGetBattStatusRet,
                     [&](bool, const QVariant&) { pEmitting = QThread::currentThread(); });
    QObject::connect(&m_response, &CUIAgentRsp::SigGetBattStatusRet, &receiver,
                     [&](bool, const QVariant&) { pReceiving = QThread::currentThread(); });
    m_request.SendGetBattStatus(m_strHost, m_nPort, "1");
    ASSERT_TRUE(QTest::qWaitFor([&] { return pReceiving != nullptr; }, ENOUGH_MS));
    EXPECT_EQ(pReceiving, QThread::currentThread());
    EXPECT_NE(pEmitting.load(), nullptr);
    EXPECT_NE(pEmitting.load(), QThread::currentThread());
    QObject::disconnect(&m_response, nullptr, nullptr, nullptr);
}

TEST_F(AsyncInterface, ARequestGoesToTheServerThatItsOwnCallNames)
{
    LabServer other;
    const int nOtherPort = other.Start();
    const AnswerSpy spy(&CUIAgentRsp::SigGetSupportVerRet);
    m_request.SendGetSupportVer(m_strHost, m_nPort, "1.1.0");
    m_request.SendGetSupportVer(m_strHost, nOtherPort, "1.1.0");
    ASSERT_TRUE(spy.Wait(2));
    EXPECT_EQ(m_server.Exchanges().size(), 1U);
    EXPECT_EQ(other.Exchanges().size(), 1U);
}

/// Counts the signals of each kind, on the thread of the test.
class SignalCounts
{
public:
    explicit SignalCounts(CUIAgentRsp& response)
    {
        Count(response, &CUIAgentRsp::SigGetUserInfoRet, "user");
        Count(response, &CUIAgentRsp::SigPostReportChlStatRet, "channel");
        Count(response, &CUIAgentRsp::SigPostReportIncubatorStatusRet, "incubator");
        Count(response, &CUIAgentRsp::SigGetProjectsRet, "projects");
        Count(response, &CUIAgentRsp::SigGetSupportVerRet, "version");
        Count(response, &CUIAgentRsp::SigGetBattStatusRet, "battery");
        Count(response, &CUIAgentRsp::SigGetAutoExportRet, "export");
        Count(response, &CUIAgentRsp::SigGetFtpFilePathRet, "ftp");
        Count(response, &CUIAgentRsp::SigGetChannelCheckDataRet, "check");
        Count(response, &CUIAgentRsp::SigGetWhetherInCommonRet, "common");
    }

    int Total() const
    {
        int nTotal = 0;
        for (const auto& [strKind, nCount] : m_mapCount) {
            nTotal += nCount;
        }
        return nTotal;
    }

    const std::map<std::string, int>& ByKind() const { return m_mapCount; }

private:
    template <class... Arguments>
    void Count(CUIAgentRsp& response, void (CUIAgentRsp::*fnSignal)(Arguments...), const char* szKind)
    {
        QObject::connect(&response, fnSignal, &m_receiver,
                         [this, szKind](Arguments...) { ++m_mapCount[szKind]; });
    }

    QObject m_receiver;
    std::map<std::string, int> m_mapCount;
};

TEST_F(AsyncInterface, EveryRequestOfABurstGetsExactlyItsOneSignal)
{
    constexpr int ROUNDS = 1'000;
    const SignalCounts counts(m_response);
    KTSStartPlugin::tagRepoIncubatorStatus incubator{"incubator", true, 25.0F};
    KTSStartPlugin::tagRepoChlStatusInfo channel;
    channel.box = "1";
    channel.chl = "2";
    std::map<std::string, int> mapExpected;
    for (int nRound = 0; nRound < ROUNDS; ++nRound) {
        m_request.SendGetUserInfo(m_strHost, m_nPort, nRound);
        m_request.SendPostReportChlStatus(m_strHost, m_nPort, "t", channel);
        m_request.SendPostReportIncubatorStatus(m_strHost, m_nPort, incubator);
        m_request.SendGetProjects(m_strHost, m_nPort, {"A", "B"}, "t");
        m_request.SendGetSupportVer(m_strHost, m_nPort, "1.1.0");
        m_request.SendGetBattStatus(m_strHost, m_nPort, "t");
        m_request.SendGetAutoExport(m_strHost, m_nPort, "a", "b", "c");
        m_request.SendGetFtpFilePath(m_strHost, m_nPort, "a", "b", "c", "d");
        m_request.SendGetChannelCheckData(m_strHost, m_nPort, {1, 2, "x", "d", "c", "p"});
        m_request.SendGetWhetherInCommon(m_strHost, m_nPort, "x");
    }
    for (const char* const szKind : {"user", "channel", "incubator", "projects", "version", "battery",
                                     "export", "ftp", "check", "common"}) {
        mapExpected[szKind] = ROUNDS;
    }
    ASSERT_TRUE(QTest::qWaitFor([&] { return counts.Total() >= 10 * ROUNDS; }, 4 * ENOUGH_MS));
    EXPECT_EQ(counts.ByKind(), mapExpected);
    QTest::qWait(0); // any surplus signal would be queued by now
    EXPECT_EQ(counts.ByKind(), mapExpected);
}

} // namespace
