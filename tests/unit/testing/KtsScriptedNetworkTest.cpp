// The scripted network under the blocking senders.

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/RequestType.h>
#include <ktshttpagent/testing/KtsScriptedNetwork.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

#include <optional>

using namespace std::chrono_literals;
using ::testing::HasSubstr;
namespace RequestType = VelCSDK::RequestType;

namespace
{

constexpr int ENOUGH = 60'000;

class ScriptedNetwork : public ::testing::Test
{
protected:
    ScriptedNetwork() { m_request.SetStrictWaits(true); }

    /// Asks whether a barcode is in common.
    SBlockingOutcome Ask(int nTimeout = ENOUGH)
    {
        m_bSucc = m_request.SendGetWhetherInCommonEx("no.such.server", 8080, nTimeout, "CELL 1", m_bCommon);
        return m_request.LastOutcome();
    }

    KtsScriptedNetwork m_network;
    CUIAgentReq& m_request = *CUIAgentReq::Instance();
    bool m_bSucc = false;
    bool m_bCommon = false;
};

TEST_F(ScriptedNetwork, AnswersABlockingCall)
{
    m_network.On(RequestType::GetWhetherInCommon, KtsReply::Body(R"({"success":true,"common":true})"));
    EXPECT_EQ(Ask().eEnd, EBlockingEnd::Answered) << m_request.LastOutcome().strError.toStdString();
    EXPECT_TRUE(m_bSucc);
    EXPECT_EQ(m_request.LastOutcome().nHttpStatus, 200);
    ASSERT_EQ(m_network.Sent().size(), 1U);
    EXPECT_EQ(m_network.Sent()[0].nType, RequestType::GetWhetherInCommon);
    EXPECT_EQ(m_network.Sent()[0].strUrl,
              "http://no.such.server:8080/vomd/system/whetherInCommon.action?dxtm=CELL%201");
    EXPECT_FALSE(m_network.Sent()[0].bPost);
    EXPECT_TRUE(m_network.Unscripted().empty());
}

TEST_F(ScriptedNetwork, ShowsTheBodyOfAReport)
{
    m_network.OnPath("kostrel/cycle", KtsReply::Body(R"({"code":"0","success":true})"));
    m_request.SendPostReportCycleDataEx("http://server/", ENOUGH, R"({"n":1})");
    ASSERT_EQ(m_network.Sent(RequestType::ReportCycleData).size(), 1U);
    const SKtsSent sent = m_network.Sent()[0];
    EXPECT_TRUE(sent.bPost);
    EXPECT_EQ(sent.strBody, R"([{"n":1}])");
    EXPECT_THAT(sent.vecHeaders, ::testing::Contains("Content-Type: application/json"));
}

TEST_F(ScriptedNetwork, KnowsTheTypeOfEachBlockingSender)
{
    m_network.OnAny(KtsReply::Body("{}"));
    bool bAllow = false;
    QString strReason;
    tagBatteryTestData data;
    m_request.SendGetChannelCheckDataEx("server", 1, ENOUGH, {}, bAllow, strReason);
    Ask();
    m_request.SendPostUploadDataEx("server", 1, ENOUGH, data);
    m_request.SendPostReportCycleDataEx("http://server/", ENOUGH, "1");
    m_request.SendPostReportStepDataEx("http://server/base/", ENOUGH, "1");
    m_request.SendPostReportStepData_ORN("http://server/", ENOUGH, "1");
    std::vector<int> vecTypes;
    for (const SKtsSent& sent : m_network.Sent()) {
        vecTypes.push_back(sent.nType);
    }
    EXPECT_THAT(vecTypes, ::testing::ElementsAre(3109, 3110, 3112, 3113, 3114, 3115));
}

TEST_F(ScriptedNetwork, FailsWithAStatus)
{
    for (const int nStatus : {400, 401, 403, 404, 405, 407, 409, 410, 418, 422, 500, 501, 502, 503}) {
        m_network.OnAny(KtsReply::Body("<html>", nStatus).Times(1));
        EXPECT_EQ(Ask().eEnd, EBlockingEnd::Failed) << nStatus;
        EXPECT_EQ(m_request.LastOutcome().nHttpStatus, nStatus);
        EXPECT_THAT(m_request.LastOutcome().strError.toStdString(), HasSubstr(std::to_string(nStatus)));
    }
}

TEST_F(ScriptedNetwork, FailsInTheWordsOfEachFault)
{
    for (const auto& [eFault, szWords] : {std::make_pair(EKtsFault::NameNotFound, "Host not found"),
                                          std::make_pair(EKtsFault::ConnectionRefused, "Connection refused"),
                                          std::make_pair(EKtsFault::ConnectionReset, "reset by peer"),
                                          std::make_pair(EKtsFault::NoReply, "Connection closed"),
                                          std::make_pair(EKtsFault::TlsFailed, "SSL handshake failed"),
                                          std::make_pair(EKtsFault::UntrustedCertificate, "can't be trusted"),
                                          std::make_pair(EKtsFault::TimedOut, "timed out")}) {
        m_network.OnAny(KtsReply::Failure(eFault).Times(1));
        EXPECT_EQ(Ask().eEnd, EBlockingEnd::Failed) << szWords;
        EXPECT_EQ(m_request.LastOutcome().nHttpStatus, 0);
        EXPECT_THAT(m_request.LastOutcome().strError.toStdString(), HasSubstr(szWords));
    }
}

TEST_F(ScriptedNetwork, SaysInTheOutcomeThatNoReplyIsScripted)
{
    EXPECT_EQ(Ask().eEnd, EBlockingEnd::Failed);
    EXPECT_EQ(m_request.LastOutcome().strError,
              "no reply is scripted for it in the test's KtsScriptedNetwork");
    EXPECT_EQ(m_network.Unscripted().size(), 1U);
}

TEST_F(ScriptedNetwork, GivesABodyThatCantBeRead)
{
    m_network.OnAny(KtsReply::Body("not JSON"));
    EXPECT_EQ(Ask().eEnd, EBlockingEnd::Unreadable);
}

TEST_F(ScriptedNetwork, GivesAnEmptyBody)
{
    m_network.OnAny(KtsReply::Body(""));
    EXPECT_EQ(Ask().eEnd, EBlockingEnd::Unreadable);
}

TEST_F(ScriptedNetwork, DelaysAReply)
{
    m_network.OnAny(KtsReply::Body("{}").After(50ms));
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(Ask().eEnd, EBlockingEnd::Answered);
    EXPECT_GE(timer.elapsed(), 50);
}

TEST_F(ScriptedNetwork, LetsACallTimeOut)
{
    m_network.OnAny(KtsReply::Never());
    EXPECT_EQ(Ask(20).eEnd, EBlockingEnd::TimedOut);
    EXPECT_GE(m_request.LastOutcome().nMilliseconds, 20);
    EXPECT_FALSE(m_bSucc);
}

std::string g_strSaidAboutADelay;

TEST_F(ScriptedNetwork, TakesADelayThatIsTooLongForQtsTimers)
{
    m_network.OnAny(KtsReply::Body("{}").After(24h * 365));
    const auto fnBefore =
        qInstallMessageHandler([](QtMsgType /*eType*/, const QMessageLogContext&, const QString& strText) {
            g_strSaidAboutADelay += strText.toStdString();
        });
    EXPECT_EQ(Ask(1).eEnd, EBlockingEnd::TimedOut);
    qInstallMessageHandler(fnBefore);
    EXPECT_EQ(g_strSaidAboutADelay, "");
}

TEST_F(ScriptedNetwork, SendsALateReplyToNobodyElse)
{
    m_network.OnAny(KtsReply::Body(R"({"success":true})").After(100ms).Times(1));
    m_network.OnAny(KtsReply::Body(R"({"success":false})").After(300ms));
    EXPECT_EQ(Ask(1).eEnd, EBlockingEnd::TimedOut);
    EXPECT_EQ(Ask().eEnd, EBlockingEnd::Answered);
    EXPECT_FALSE(m_bSucc) << "that is the answer to the second call";
}

TEST_F(ScriptedNetwork, AnswersCallsWithinCalls)
{
    m_network.On(RequestType::GetWhetherInCommon, KtsReply::Body("{}").After(50ms));
    m_network.On(RequestType::GetChannelCheckData,
                 KtsReply::Body(R"({"success":true,"result":{"allowBoot":"yes","reason":"r"}})"));
    bool bAllow = false;
    QString strReason;
    bool bInner = false;
    QTimer::singleShot(
        0, [&] { bInner = m_request.SendGetChannelCheckDataEx("server", 1, ENOUGH, {}, bAllow, strReason); });
    EXPECT_EQ(Ask().eEnd, EBlockingEnd::Answered);
    EXPECT_TRUE(bInner);
    EXPECT_TRUE(bAllow);
    EXPECT_EQ(strReason, "r");
}

TEST(KtsScriptedNetwork, IsInForceAsLongAsItExists)
{
    CUIAgentReq& request = *CUIAgentReq::Instance();
    bool bCommon = false;
    std::optional<KtsScriptedNetwork> network(std::in_place);
    network->OnAny(KtsReply::Never());
    request.SendGetWhetherInCommonEx("127.0.0.1", 0, 1, "C", bCommon);
    network.reset(); // while a request waits
    request.SendGetWhetherInCommonEx("127.0.0.1", 0, ENOUGH, "C", bCommon);
    EXPECT_EQ(request.LastOutcome().eEnd, EBlockingEnd::Failed);
    EXPECT_THAT(request.LastOutcome().strError.toStdString(), ::testing::Not(HasSubstr("scripted")));
}

} // namespace
