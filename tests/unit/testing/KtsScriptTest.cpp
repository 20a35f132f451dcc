// Which rule of a script answers a request. Through the transport, which shows each reply's body.

#include "Receiver.h"

#include <ktshttpagent/testing/KtsScriptedTransport.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QString>
#include <QtGlobal>

using ::testing::ElementsAre;

namespace
{

class Script : public ::testing::Test
{
protected:
    /// The bodies of the replies to that many requests of a type.
    std::vector<std::string> Bodies(std::size_t nCount, int nType = 1,
                                    const std::string& strUrl = "http://server/x?t=1")
    {
        const std::size_t nBefore = m_transport.Sent().size();
        for (std::size_t nRequest = 0; nRequest < nCount; ++nRequest) {
            Receiver::Get(nType, strUrl);
        }
        const auto vecCalls = m_receiver.Wait(nBefore + nCount);
        std::vector<std::string> vecBodies;
        for (std::size_t nCall = nBefore; nCall < vecCalls.size(); ++nCall) {
            vecBodies.push_back(vecCalls[nCall].strBody);
        }
        return vecBodies;
    }

    KtsScriptedTransport m_transport;
    Receiver m_receiver;
};

TEST(ScriptDefaults, AreThoseOfAnUnscriptedGetRequest)
{
    const SKtsSent sent;
    EXPECT_EQ(sent.nType, 0);
    EXPECT_FALSE(sent.bPost);
    EXPECT_FALSE(sent.bScripted);
}

TEST(ScriptDefaults, AreThoseOfAReplyThatComesAtOnceAndAlways)
{
    const KtsReply reply = KtsReply::Body("body");
    EXPECT_EQ(reply.Delay().count(), 0);
    EXPECT_EQ(reply.MostTimes(), 0);
    EXPECT_EQ(reply.RetryAfterOrZero().count(), 0);
    EXPECT_EQ(reply.Status(), 200);
    EXPECT_EQ(KtsReply::Never().Status(), 0);
}

TEST_F(Script, AnswersATypeByItsNewestRule)
{
    m_transport.On(1, KtsReply::Body("old"));
    m_transport.On(1, KtsReply::Body("new"));
    m_transport.On(2, KtsReply::Body("other"));
    EXPECT_THAT(Bodies(2), ElementsAre("new", "new"));
    EXPECT_THAT(Bodies(1, 2), ElementsAre("other"));
}

TEST_F(Script, UsesUpCountedRulesFirstInTheirOrder)
{
    m_transport.On(1, KtsReply::Body("for ever"));
    m_transport.On(1, KtsReply::Body("first").Times(1));
    m_transport.On(1, KtsReply::Body("then").Times(2));
    EXPECT_THAT(Bodies(5), ElementsAre("first", "then", "then", "for ever", "for ever"));
}

TEST_F(Script, AnswersAPathByItsEnd)
{
    m_transport.OnPath("system/Get.action", KtsReply::Body("path"));
    m_transport.OnAny(KtsReply::Body("any"));
    EXPECT_THAT(Bodies(1, 1, "http://h:1/vomd/system/Get.action?t=/x"), ElementsAre("path"));
    EXPECT_THAT(Bodies(1, 1, "http://h:1/system/Get.action"), ElementsAre("path"));
    EXPECT_THAT(Bodies(1, 1, "http://h:1/filesystem/Get.action"), ElementsAre("any"));
    EXPECT_THAT(Bodies(1, 1, "http://h:1/system/Get.action/more"), ElementsAre("any"));
    EXPECT_THAT(Bodies(1, 1, "http://h:1?p=/system/Get.action"), ElementsAre("any"));
    EXPECT_THAT(Bodies(1, 1, "http://h:1"), ElementsAre("any"));
    EXPECT_THAT(Bodies(1, 1, "h:1/system/Get.action"), ElementsAre("path")) << "a host may forget the scheme";
}

TEST_F(Script, TakesAPathWithASlashAtItsBeginning)
{
    m_transport.OnPath("/posts/1", KtsReply::Body("path"));
    EXPECT_THAT(Bodies(1, 1, "http://h:1/posts/1"), ElementsAre("path"));
}

TEST_F(Script, AnswersAnyRequestOnlyIfNoOtherRuleDoes)
{
    m_transport.On(1, KtsReply::Body("type"));
    m_transport.OnAny(KtsReply::Body("any").Times(1));
    EXPECT_THAT(Bodies(1), ElementsAre("type"));
    EXPECT_THAT(Bodies(1, 2), ElementsAre("any"));
}

TEST_F(Script, ForgetsItsRulesButNotWhatWasSent)
{
    m_transport.OnAny(KtsReply::Body("any"));
    EXPECT_THAT(Bodies(1), ElementsAre("any"));
    m_transport.ForgetRules();
    EXPECT_THAT(Bodies(1), ElementsAre(""));
    EXPECT_EQ(m_transport.Sent().size(), 2U);
}

TEST_F(Script, KnowsWhatWasSent)
{
    m_transport.On(1, KtsReply::Body("{}"));
    Bodies(1, 1, "http://server/x?t=1");
    Receiver::Post(1, "[2]");
    Receiver::Post(3, "[4]");
    ASSERT_TRUE(m_transport.WaitForSent(3));
    const auto vecSent = m_transport.Sent(1);
    ASSERT_EQ(vecSent.size(), 2U);
    EXPECT_EQ(vecSent[0].strUrl, "http://server/x?t=1");
    EXPECT_FALSE(vecSent[0].bPost);
    EXPECT_EQ(vecSent[0].strBody, "") << "the network does not see a GET's body";
    EXPECT_TRUE(vecSent[1].bPost);
    EXPECT_EQ(vecSent[1].strBody, "[2]");
    EXPECT_THAT(vecSent[1].vecHeaders, ElementsAre("X-Header: y"));
    ASSERT_EQ(m_transport.Unscripted().size(), 1U);
    EXPECT_EQ(m_transport.Unscripted()[0].nType, 3);
}

TEST_F(Script, StopsWaitingForWhatIsNotSent)
{
    EXPECT_FALSE(m_transport.WaitForSent(1, std::chrono::milliseconds(1)));
}

std::string g_strWarnings;

TEST_F(Script, SaysThatARequestHasNoRule)
{
    const auto fnBefore =
        qInstallMessageHandler([](QtMsgType eType, const QMessageLogContext&, const QString& strText) {
            g_strWarnings += eType == QtWarningMsg ? strText.toStdString() : "";
        });
    Receiver::Get(3104, "http://server/x?t=1");
    const auto vecCalls = m_receiver.Wait(1);
    qInstallMessageHandler(fnBefore);
    ASSERT_EQ(vecCalls.size(), 1U);
    EXPECT_EQ(vecCalls[0].nHttpError, CHttpOutcome::ConnectionRefused);
    EXPECT_THAT(vecCalls[0].strStory,
                ::testing::HasSubstr("no reply is scripted for it in the test's KtsScriptedTransport"));
    EXPECT_EQ(g_strWarnings,
              "KtsScriptedTransport: no reply is scripted for GET http://server/x?t=1 (type 3104), so it "
              "fails; script one with On, OnPath or OnAny");
}

} // namespace
