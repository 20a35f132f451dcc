// The transport's own part of a test's double: CHttpClientSetDouble.

#include "Receiver.h"

#include <ktshttpagent/CHttpClientDouble.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

namespace
{

constexpr int TYPE = 7;

class Double : public ::testing::Test
{
protected:
    ~Double() override { CHttpClientSetDouble({}); }

    /// A double that keeps its answers for the test.
    void KeepAnswers()
    {
        CHttpClientSetDouble([this](const CHttpClientRequest&, CHttpClientAnswer fnAnswer) {
            m_vecAnswers.push_back(std::move(fnAnswer));
        });
    }

    std::vector<CHttpClientAnswer> m_vecAnswers;
    Receiver m_receiver; // destroyed first: the transport stops while the answers exist
};

// A host's own test makes such records, and sets only what it needs.
TEST(DoubleDefaults, AreAGetRequestAndASuccess)
{
    const CHttpClientRequest request;
    EXPECT_EQ(request.nType, 0);
    EXPECT_FALSE(request.bPost);
    const CHttpClientReply reply;
    EXPECT_EQ(reply.nHttpError, 0);
    EXPECT_EQ(reply.nRetryAfter, 0);
}

TEST_F(Double, GetsTheRequestAsItWasHandedIn)
{
    std::vector<CHttpClientRequest> vecRequests;
    CHttpClientSetDouble([&](CHttpClientRequest request, const CHttpClientAnswer& fnAnswer) {
        vecRequests.push_back(std::move(request));
        fnAnswer({"body", 0, "", 0});
    });
    int nUser = 0;
    Receiver::Get(TYPE, "http://a b/?x=ä", &nUser);
    Receiver::Post(TYPE + 1, "{}");
    const auto vecCalls = m_receiver.Wait(2);
    ASSERT_EQ(vecCalls.size(), 2U);
    EXPECT_EQ(vecCalls[0].strBody, "body");
    EXPECT_EQ(vecCalls[0].nType, TYPE);
    EXPECT_EQ(vecCalls[0].pUserData, &nUser);
    EXPECT_EQ(vecCalls[0].nHttpError, 0);
    EXPECT_THAT(vecCalls[0].strStory, ::testing::HasSubstr("outcome 0: HTTP status 200; "));
    ASSERT_EQ(vecRequests.size(), 2U);
    EXPECT_EQ(vecRequests[0].strUrl, "http://a b/?x=ä");
    EXPECT_FALSE(vecRequests[0].bPost);
    EXPECT_TRUE(vecRequests[1].bPost);
    EXPECT_EQ(vecRequests[1].nType, TYPE + 1);
    EXPECT_EQ(vecRequests[1].strBody, "{}");
    EXPECT_THAT(vecRequests[1].vecHeaders, ::testing::ElementsAre("X-Header: y"));
}

TEST_F(Double, AnswersOnAThreadOfTheTransport)
{
    CHttpClientSetDouble([](const CHttpClientRequest&, const CHttpClientAnswer& fnAnswer) {
        fnAnswer({"", 0, "", 0});
    });
    Receiver::Get(TYPE);
    const auto vecCalls = m_receiver.Wait(1);
    ASSERT_EQ(vecCalls.size(), 1U);
    EXPECT_NE(vecCalls[0].idThread, std::this_thread::get_id());
}

TEST_F(Double, AnswersEachRequestOnce)
{
    KeepAnswers();
    Receiver::Get(TYPE);
    Receiver::Get(TYPE + 1);
    m_vecAnswers.at(0)({"first", 0, "", 0});
    m_vecAnswers.at(0)({"second", 0, "", 0});
    m_vecAnswers.at(1)({"last", 0, "", 0});
    CHttpClientUnInit();
    const auto vecCalls = m_receiver.Wait(2);
    ASSERT_EQ(vecCalls.size(), 2U);
    EXPECT_EQ(vecCalls[0].strBody, "first");
    EXPECT_EQ(vecCalls[1].strBody, "last");
}

TEST_F(Double, ThatForgetsARequestCancelsIt)
{
    CHttpClientSetDouble([](const CHttpClientRequest&, const CHttpClientAnswer&) {});
    Receiver::Get(TYPE);
    const auto vecCalls = m_receiver.Wait(1);
    ASSERT_EQ(vecCalls.size(), 1U);
    EXPECT_EQ(vecCalls[0].nHttpError, CHttpOutcome::Cancelled);
}

TEST_F(Double, ThatThrowsCancelsTheRequest)
{
    CHttpClientSetDouble(
        [](const CHttpClientRequest&, const CHttpClientAnswer&) { throw std::runtime_error("no"); });
    EXPECT_NO_THROW(Receiver::Get(TYPE));
    const auto vecCalls = m_receiver.Wait(1);
    ASSERT_EQ(vecCalls.size(), 1U);
    EXPECT_EQ(vecCalls[0].nHttpError, CHttpOutcome::Cancelled);
}

TEST_F(Double, HasItsRequestsCancelledAtTheStopInTheirOrder)
{
    KeepAnswers();
    Receiver::Get(TYPE);
    Receiver::Get(TYPE + 1);
    CHttpClientUnInit();
    const auto vecCalls = m_receiver.Wait(2);
    ASSERT_EQ(vecCalls.size(), 2U);
    EXPECT_EQ(vecCalls[0].nType, TYPE);
    EXPECT_EQ(vecCalls[0].nHttpError, CHttpOutcome::Cancelled);
    EXPECT_EQ(vecCalls[1].nType, TYPE + 1);
    EXPECT_EQ(vecCalls[1].nHttpError, CHttpOutcome::Cancelled);
    m_vecAnswers.at(0)({"too late", 0, "", 0});
    EXPECT_EQ(m_receiver.Wait(2).size(), 2U);
}

TEST_F(Double, GetsNothingWhileTheTransportIsStopped)
{
    KeepAnswers();
    CHttpClientUnInit();
    Receiver::Get(TYPE);
    EXPECT_EQ(m_receiver.Wait(1).at(0).nHttpError, CHttpOutcome::NotRunning);
    EXPECT_TRUE(m_vecAnswers.empty());
    CHttpClientInit();
    Receiver::Get(TYPE);
    EXPECT_EQ(m_vecAnswers.size(), 1U);
}

TEST_F(Double, GetsNothingOnceItIsRemoved)
{
    KeepAnswers();
    CHttpClientSetDouble({});
    Receiver::Get(TYPE, "http://127.0.0.1:0/"); // a port on which nothing can listen
    EXPECT_LT(m_receiver.Wait(1).at(0).nHttpError, 0);
    EXPECT_TRUE(m_vecAnswers.empty());
}

TEST_F(Double, TellsWhichFailuresSentNothing)
{
    const std::vector<int> vecUnsent = {CHttpOutcome::UnsupportedProtocol, CHttpOutcome::NotRunning,
                                        CHttpOutcome::InvalidUrl,          CHttpOutcome::NameNotFound,
                                        CHttpOutcome::ConnectionRefused,   CHttpOutcome::TlsFailed,
                                        CHttpOutcome::UntrustedCertificate};
    const std::vector<int> vecSent = {CHttpOutcome::NoReply, CHttpOutcome::ConnectionReset,
                                      CHttpOutcome::TimedOut, 502};
    std::vector<int> vecOutcomes = vecUnsent;
    vecOutcomes.insert(vecOutcomes.end(), vecSent.begin(), vecSent.end());
    CHttpClientSetDouble([&](const CHttpClientRequest& request, const CHttpClientAnswer& fnAnswer) {
        fnAnswer({"", vecOutcomes.at(static_cast<std::size_t>(request.nType)), "", 0});
    });
    for (std::size_t nType = 0; nType < vecOutcomes.size(); ++nType) {
        Receiver::Post(static_cast<int>(nType), "{}");
    }
    const auto vecCalls = m_receiver.Wait(vecOutcomes.size());
    ASSERT_EQ(vecCalls.size(), vecOutcomes.size());
    for (const ReceivedCall& call : vecCalls) {
        EXPECT_EQ(call.nHttpError, vecOutcomes.at(static_cast<std::size_t>(call.nType)));
        EXPECT_EQ(call.nBodySent, call.nType < static_cast<int>(vecUnsent.size()) ? 0 : 1) << call.nHttpError;
    }
}

TEST_F(Double, TellsWhyThereIsNoReplyInTheTransportsWords)
{
    CHttpClientSetDouble([](const CHttpClientRequest& request, const CHttpClientAnswer& fnAnswer) {
        fnAnswer(request.bPost ? CHttpClientReply{"busy", 503, "", 30}
                               : CHttpClientReply{"not passed on", CHttpOutcome::ConnectionRefused,
                                                  "the plug is out", 30});
    });
    Receiver::Get(TYPE);
    Receiver::Post(TYPE, "{}");
    const auto vecCalls = m_receiver.Wait(2);
    ASSERT_EQ(vecCalls.size(), 2U);
    EXPECT_EQ(vecCalls[0].strBody, "");
    EXPECT_EQ(vecCalls[0].nRetryAfter, -1);
    EXPECT_THAT(
        vecCalls[0].strStory,
        ::testing::HasSubstr("GET http://server/x?t=1, type 7, outcome -7: the plug is out; no peer"));
    EXPECT_EQ(vecCalls[1].nHttpError, 503);
    EXPECT_EQ(vecCalls[1].strBody, "busy");
    EXPECT_EQ(vecCalls[1].nRetryAfter, 30);
    EXPECT_THAT(vecCalls[1].strStory, ::testing::HasSubstr("outcome 503: HTTP status 503; "));
}

} // namespace
