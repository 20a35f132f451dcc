// The calls with which the layers above send a report again safely: a POST with several header lines, what
// the reply says about another try, and a reply that the caller brings.

#include "ServerSteps.h"
#include "TransportTest.h"

#include <gmock/gmock.h>

#include <initializer_list>
#include <string>
#include <vector>

using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{

constexpr const char* CONTENT_TYPE = "Content-Type: application/json";
constexpr const char* KEY = "Idempotency-Key: \"0a-1\"";

class TransportReports : public TransportTest
{
protected:
    /// What the transport told within a callback.
    struct Told {
        int nHttpError;
        long long nRetryAfter;
        int nBodySent;
    };

    void StartListening()
    {
        CHttpClientSetResponseCallBack([this, fnKeep = Keeper()](const std::string& strBody, int nType,
                                                                 void* pUserData, int nHttpError) {
            m_vecTold.push_back({nHttpError, CHttpClientExchangeRetryAfter(), CHttpClientExchangeBodySent()});
            fnKeep(strBody, nType, pUserData, nHttpError);
        });
        ASSERT_TRUE(CHttpClientInit());
    }

    static bool Report(const std::string& strUrl, const std::string& strBody,
                       std::initializer_list<const char*> headers, void* pUserData = nullptr)
    {
        std::vector<const char*> vecHeaders(headers);
        vecHeaders.push_back(nullptr);
        return CHttpClientSendReport(TYPE, strUrl.c_str(), strBody.data(), strBody.size(), pUserData,
                                     vecHeaders.data());
    }

    /// What is told about the one report that a server answers in this way.
    Told ToldAbout(const ServerStep& step)
    {
        const ScriptedServer server(step);
        StartListening();
        EXPECT_TRUE(Report(server.Url("/"), "{}", {}));
        EXPECT_THAT(RepliesAfterShutdown(1), SizeIs(1));
        return m_vecTold.at(0);
    }

    std::vector<Told> m_vecTold;
};

TEST_F(TransportReports, CarryAllTheirHeaderLines)
{
    const ScriptedServer server(Ok());
    Tokens tokens(1);
    Start();
    ASSERT_TRUE(Report(server.Url("/x"), "{\"a\":1}", {CONTENT_TYPE, KEY}, tokens.At(0)));
    const std::vector<ReceivedReply> vecReplies = RepliesAfterShutdown(1);
    ASSERT_THAT(server.Requests(), SizeIs(1));
    const WireRequest request = server.Requests().front();
    EXPECT_EQ(request.Line(), "POST /x HTTP/1.1");
    EXPECT_EQ(request.strBody, "{\"a\":1}");
    EXPECT_THAT(request.Header("Content-Type"), ElementsAre(CONTENT_TYPE));
    EXPECT_THAT(request.Header("Idempotency-Key"), ElementsAre(KEY));
    EXPECT_THAT(request.Header("Expect"), IsEmpty());
    EXPECT_THAT(vecReplies, ElementsAre(AllOf(Field(&ReceivedReply::nType, TYPE),
                                              Field(&ReceivedReply::pUserData, tokens.At(0)),
                                              Field(&ReceivedReply::nHttpError, 0))));
}

TEST_F(TransportReports, HaveNoContentTypeUnlessOneOfTheirLinesIs)
{
    const ScriptedServer server(Ok());
    Start();
    ASSERT_TRUE(Report(server.Url("/"), "{}", {KEY}));
    ASSERT_TRUE(Report(server.Url("/"), "{}", {KEY, CONTENT_TYPE}));
    ASSERT_TRUE(m_replies.WaitFor(2));
    std::vector<std::string> vecLines;
    for (const WireRequest& request : server.Requests()) {
        for (const std::string& strLine : request.Header("Content-Type")) {
            vecLines.push_back(strLine);
        }
    }
    EXPECT_THAT(vecLines, ElementsAre(CONTENT_TYPE));
}

TEST_F(TransportReports, WithAnInvalidLineAnywhereAreNotSent)
{
    const ScriptedServer server(Ok());
    Start();
    ASSERT_TRUE(Report(server.Url("/"), "{}", {CONTENT_TYPE, "no colon"}));
    ASSERT_TRUE(Report(server.Url("/"), "{}", {"X: a\r\nY: b", KEY}));
    ASSERT_TRUE(m_replies.WaitFor(2));
    EXPECT_THAT(m_replies.Errors(),
                ElementsAre(CHttpOutcome::InvalidHeaderLine, CHttpOutcome::InvalidHeaderLine));
    EXPECT_THAT(server.Requests(), IsEmpty());
}

TEST_F(TransportReports, TellHowLongTheServerAsksToWait)
{
    const Told told = ToldAbout(Step(HttpReply(503, "", "Retry-After: 120\r\n")));
    EXPECT_EQ(told.nHttpError, 503);
    EXPECT_EQ(told.nRetryAfter, 120);
    EXPECT_EQ(told.nBodySent, 1);
}

TEST_F(TransportReports, TellNothingAboutWaitingIfTheServerDoesNotAskForIt)
{
    EXPECT_EQ(ToldAbout(Step(HttpReply(503, ""))).nRetryAfter, -1);
}

TEST_F(TransportReports, TellNothingAboutWaitingAfterASuccess)
{
    EXPECT_EQ(ToldAbout(Step(HttpReply(200, "", "Retry-After: 120\r\n"))).nRetryAfter, -1);
}

TEST_F(TransportReports, TellThatTheServerMayHaveSeenABodyThatItDoesNotAnswer)
{
    const Told told = ToldAbout(Step("", ServerStep::Ending::Close));
    EXPECT_LT(told.nHttpError, 0);
    EXPECT_EQ(told.nBodySent, 1);
}

TEST_F(TransportReports, TellThatNobodyHasSeenTheBodyWhereNobodyListens)
{
    const RefusingPort port;
    StartListening();
    ASSERT_TRUE(Report("http://127.0.0.1:" + std::to_string(port.Port()) + "/", "{}", {}));
    RepliesAfterShutdown(1);
    ASSERT_THAT(m_vecTold, SizeIs(1));
    EXPECT_EQ(m_vecTold[0].nHttpError, CHttpOutcome::ConnectionRefused);
    EXPECT_EQ(m_vecTold[0].nBodySent, 0);
}

TEST_F(TransportReports, TellThatNobodyHasSeenTheBodyOfARefusedOne)
{
    StartListening();
    CHttpClientUnInit();
    ASSERT_TRUE(Report("http://127.0.0.1:9/", "{}", {}));
    ASSERT_TRUE(m_replies.WaitFor(1));
    EXPECT_EQ(m_vecTold[0].nHttpError, CHttpOutcome::NotRunning);
    EXPECT_EQ(m_vecTold[0].nBodySent, 0);
}

TEST_F(TransportReports, TellThatNobodyHasSeenTheBodyOfOneTooMany)
{
    Set("CHTTPCLIENT_MAX_OUTSTANDING", 1);
    Set("CHTTPCLIENT_DRAIN_MS", 100);
    const ScriptedServer server(Silent());
    StartListening();
    ASSERT_TRUE(Report(server.Url("/"), "{}", {}));
    ASSERT_TRUE(Report(server.Url("/"), "{}", {}));
    ASSERT_TRUE(m_replies.WaitFor(1));
    EXPECT_EQ(m_vecTold[0].nHttpError, CHttpOutcome::TooManyOutstanding);
    EXPECT_EQ(m_vecTold[0].nBodySent, 0);
    ASSERT_TRUE(server.WaitForRequests(1));
    CHttpClientUnInit();
}

TEST_F(TransportReports, ThatEndedTellNothingOutsideOfTheirCallback)
{
    EXPECT_EQ(CHttpClientExchangeRetryAfter(), -1);
    EXPECT_EQ(CHttpClientExchangeBodySent(), -1);
}

TEST_F(TransportReports, HandedBackComeOnTheDeliveringThread)
{
    Tokens tokens(1);
    const char* szUrl = "not asked";
    const char* szStory = "not asked";
    CHttpClientSetResponseCallBack(
        [&, fnKeep = Keeper()](const std::string& strBody, int nType, void* pUserData, int nHttpError) {
            szUrl = CHttpClientExchangeUrl();
            szStory = CHttpClientExchangeStory();
            fnKeep(strBody, nType, pUserData, nHttpError);
        });
    ASSERT_TRUE(CHttpClientInit());
    const std::string strBody = "{\"success\":true}";
    ASSERT_TRUE(CHttpClientHandBack(TYPE, strBody.data(), strBody.size(), tokens.At(0), 7));
    const std::vector<ReceivedReply> vecReplies = RepliesAfterShutdown(1);
    ASSERT_THAT(vecReplies, SizeIs(1));
    EXPECT_EQ(vecReplies[0].strBody, strBody);
    EXPECT_EQ(vecReplies[0].nType, TYPE);
    EXPECT_EQ(vecReplies[0].pUserData, tokens.At(0));
    EXPECT_EQ(vecReplies[0].nHttpError, 7);
    EXPECT_NE(vecReplies[0].idThread, std::this_thread::get_id());
    EXPECT_EQ(szUrl, nullptr) << "there was no exchange";
    EXPECT_EQ(szStory, nullptr);
}

TEST_F(TransportReports, HandedBackComeOneAtATimeWithTheOthers)
{
    const ScriptedServer server(Ok());
    Gate gate;
    std::atomic<int> nWithin = 0;
    std::atomic<bool> bTwoAtATime = false;
    CHttpClientSetResponseCallBack(
        [&, fnKeep = Keeper()](const std::string& strBody, int nType, void* pUserData, int nHttpError) {
            bTwoAtATime = ++nWithin > 1 || bTwoAtATime;
            gate.Wait();
            --nWithin;
            fnKeep(strBody, nType, pUserData, nHttpError);
        });
    ASSERT_TRUE(CHttpClientInit());
    Get(server.Url("/"));
    for (int nReply = 0; nReply < 20; ++nReply) {
        ASSERT_TRUE(CHttpClientHandBack(TYPE, "", 0, nullptr, 0));
        Get(server.Url("/"));
    }
    ASSERT_TRUE(server.WaitForRequests(21));
    gate.Open();
    EXPECT_THAT(RepliesAfterShutdown(41), SizeIs(41));
    EXPECT_FALSE(bTwoAtATime);
}

TEST_F(TransportReports, HandedBackWhileTheTransportIsStoppedComeToo)
{
    Start();
    CHttpClientUnInit();
    ASSERT_TRUE(CHttpClientHandBack(TYPE, "", 0, nullptr, 0));
    ASSERT_TRUE(m_replies.WaitFor(1));
    EXPECT_THAT(m_replies.Errors(), ElementsAre(0));
}

TEST_F(TransportReports, HandedBackAreAllThereAfterAStop)
{
    Start();
    for (int nReply = 0; nReply < 100; ++nReply) {
        ASSERT_TRUE(CHttpClientHandBack(TYPE, "", 0, nullptr, 0));
    }
    CHttpClientUnInit();
    EXPECT_EQ(m_replies.Count(), 100U);
}

} // namespace
