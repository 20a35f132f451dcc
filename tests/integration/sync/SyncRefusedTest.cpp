// Blocking calls when nothing can be sent. A separate program, which has no QCoreApplication unless a test
// creates one.

#include "SyncInterface.h"

#include <QCoreApplication>

#include <string>
#include <thread>
#include <vector>

namespace
{

class SyncRefused : public SyncInterface
{
protected:
    void ExpectRefused(const SBlockingOutcome& outcome, const char* szError)
    {
        EXPECT_EQ(outcome.eEnd, EBlockingEnd::Refused);
        EXPECT_EQ(outcome.nType, 3109);
        EXPECT_EQ(outcome.strError, szError);
        EXPECT_EQ(outcome.strUrl, "");
        EXPECT_FALSE(outcome.bSucc);
    }
};

TEST_F(SyncRefused, WithoutAnApplicationACallSaysSo)
{
    const ScriptedServer server(Ok());
    EXPECT_FALSE(Check(server));
    ExpectRefused(m_request.LastOutcome(), "there is no QCoreApplication");
    EXPECT_TRUE(server.Requests().empty());
}

std::vector<std::string> g_vecMessages;

void KeepMessage(QtMsgType /*eType*/, const QMessageLogContext& /*context*/, const QString& strText)
{
    g_vecMessages.push_back(strText.toStdString());
}

TEST(InstanceWithoutAnApplication, IsMadeWithoutAnyUseOfTheNetwork)
{
    qInstallMessageHandler(&KeepMessage);
    CUIAgentReq::Instance();
    qInstallMessageHandler(nullptr);
    // For the event loops of the six wait records. Requests would need further event loops, and timers.
    const std::string strOfALoop = "QEventLoop: Cannot be used without QApplication";
    EXPECT_EQ(g_vecMessages, std::vector<std::string>(6, strOfALoop));
}

TEST_F(SyncRefused, OnTwoThreadsAtOnceEachCallSaysSo)
{
    constexpr int CALLS = 200;
    int argc = 0;
    const QCoreApplication application(argc, nullptr);
    const auto Call = [&] {
        for (int nCall = 0; nCall < CALLS; ++nCall) {
            bool bAllow = true;
            QString strReason;
            EXPECT_FALSE(m_request.SendGetChannelCheckDataEx(m_strHost, 1, ENOUGH_MS, {}, bAllow, strReason));
            ExpectRefused(m_request.LastOutcome(), "this is not the thread of CUIAgentReq");
        }
    };
    std::thread one(Call);
    std::thread other(Call);
    one.join();
    other.join();
}

SBlockingOutcome g_outcomeAtEnd;

void CallAtTheEndOfTheApplication()
{
    bool bAllow = true;
    QString strReason;
    EXPECT_FALSE(
        CUIAgentReq::Instance()->SendGetChannelCheckDataEx("127.0.0.1", 1, ENOUGH_MS, {}, bAllow, strReason));
    g_outcomeAtEnd = CUIAgentReq::Instance()->LastOutcome();
}

TEST_F(SyncRefused, WhenTheApplicationIsEndingACallSaysSo)
{
    const ScriptedServer server(Ok());
    {
        int argc = 0;
        const QCoreApplication application(argc, nullptr);
        qAddPostRoutine(&CallAtTheEndOfTheApplication); // runs after those that the call below registers
        EXPECT_FALSE(Check(server));
        EXPECT_EQ(m_request.LastOutcome().eEnd, EBlockingEnd::Answered);
    }
    ExpectRefused(g_outcomeAtEnd, "the process or its QCoreApplication is ending");
}

} // namespace
