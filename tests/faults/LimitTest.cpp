#include "TransportTest.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <deque>

using namespace std::chrono_literals;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;

/// What happens at the transport's own limits.
class TransportLimit : public TransportTest
{
};

TEST_F(TransportLimit, OfOutstandingRequestsRefusesTheOneAboveItAndSendsNothing)
{
    Set("CHTTPCLIENT_MAX_OUTSTANDING", 10);
    Set("CHTTPCLIENT_HOST_CONNECTIONS", 20);
    Set("CHTTPCLIENT_DRAIN_MS", 100);
    Start();
    const ScriptedServer server(Silent());
    Tokens tokens(15);
    for (void* const pToken : tokens.All()) {
        Get(server.Url("/"), pToken);
    }
    ASSERT_TRUE(m_replies.WaitFor(5));
    EXPECT_THAT(m_replies.Errors(), ElementsAre(-1000, -1000, -1000, -1000, -1000));
    EXPECT_THAT(m_replies.UserData(),
                ElementsAre(tokens.At(10), tokens.At(11), tokens.At(12), tokens.At(13), tokens.At(14)));
    ASSERT_TRUE(server.WaitForRequests(10));
    CHttpClientUnInit();
    EXPECT_THAT(m_replies.All(), SizeIs(15));
    EXPECT_THAT(m_replies.Errors(), Contains(-42).Times(10));
    EXPECT_THAT(server.Requests(), SizeIs(10));
    EXPECT_THAT(m_replies.UserData(), testing::UnorderedElementsAreArray(tokens.All()));
}

// Neither refused nor answered requests count towards the limit.
TEST_F(TransportLimit, OfOutstandingRequestsIsTheSameEachTimeThatItIsReached)
{
    constexpr std::size_t LIMIT = 10;
    constexpr std::size_t TOO_MANY = 5;
    constexpr std::size_t ROUNDS = 4;
    Set("CHTTPCLIENT_MAX_OUTSTANDING", LIMIT);
    Set("CHTTPCLIENT_HOST_CONNECTIONS", LIMIT);
    std::deque<Gate> gates(ROUNDS);
    std::atomic<std::size_t> nRound{0};
    const ScriptedServer server([&](const WireRequest&) {
        EXPECT_TRUE(gates.at(nRound).Wait());
        return Ok();
    });
    for (; nRound < ROUNDS; ++nRound) {
        if (nRound % 2 == 0) { // twice in each life
            CHttpClientUnInit();
            Start();
        }
        const std::size_t nBefore = m_replies.Count();
        for (std::size_t nRequest = 0; nRequest < LIMIT + TOO_MANY; ++nRequest) {
            Get(server.Url("/"));
        }
        ASSERT_TRUE(m_replies.WaitFor(nBefore + TOO_MANY));
        EXPECT_THAT(m_replies.Errors(), Contains(-1000).Times((nRound + 1) * TOO_MANY));
        gates.at(nRound).Open();
        ASSERT_TRUE(m_replies.WaitFor(nBefore + LIMIT + TOO_MANY));
        EXPECT_THAT(m_replies.Errors(), Contains(0).Times((nRound + 1) * LIMIT));
    }
    RepliesAfterShutdown(ROUNDS * (LIMIT + TOO_MANY));
}

TEST_F(TransportLimit, OfOutstandingRequestsHasRoomAgainOnceTheyAreAnswered)
{
    Set("CHTTPCLIENT_MAX_OUTSTANDING", 5);
    Start();
    const ScriptedServer server(Ok());
    std::size_t nSent = 0;
    for (int nRound = 0; nRound < 20; ++nRound) {
        for (int nRequest = 0; nRequest < 5; ++nRequest) {
            Get(server.Url("/"));
            ++nSent;
        }
        CHttpClientUnInit(); // when it returns, all is answered, and counted as such
        ASSERT_EQ(m_replies.Count(), nSent);
        ASSERT_TRUE(CHttpClientInit());
    }
    RepliesAfterShutdown(nSent);
    EXPECT_THAT(m_replies.Errors(), Each(0));
}

TEST_F(TransportLimit, OfOutstandingRequestsLetsTheCallbackSendTheNextOne)
{
    constexpr std::size_t REQUESTS = 200;
    Set("CHTTPCLIENT_MAX_OUTSTANDING", 1);
    const ScriptedServer server(Ok());
    CHttpClientSetResponseCallBack(
        [&](const std::string& strBody, int nType, void* pUserData, int nHttpError) {
            m_replies.Add(strBody, nType, pUserData, nHttpError);
            if (m_replies.Count() < REQUESTS) {
                Get(server.Url("/"));
            }
        });
    ASSERT_TRUE(CHttpClientInit());
    Get(server.Url("/"));
    RepliesAfterShutdown(REQUESTS);
    EXPECT_THAT(m_replies.Errors(), Each(0));
}

TEST_F(TransportLimit, OfOutstandingRequestsIsAHundredThousandByDefault)
{
    Set("CHTTPCLIENT_DRAIN_MS", 0);
    Start();
    const ScriptedServer server(Silent());
    for (int nRequest = 0; nRequest < 100'001; ++nRequest) {
        Get(server.Url("/"));
    }
    CHttpClientUnInit(); // waits for all these callbacks, but only a few seconds
    ASSERT_TRUE(m_replies.WaitFor(100'001));
    EXPECT_THAT(m_replies.All(), SizeIs(100'001));
    EXPECT_THAT(m_replies.Errors(), Contains(-1000).Times(1));
    EXPECT_THAT(m_replies.Errors(), Contains(-42).Times(100'000));
}

/// The limits of a request's time, in milliseconds.
class TransportTimeout : public TransportTest, public testing::WithParamInterface<long>
{
};

TEST_P(TransportTimeout, ThatIsVeryLongHurtsNoRequest)
{
    Set("CHTTPCLIENT_TIMEOUT_MS", GetParam());
    Set("CHTTPCLIENT_CONNECT_TIMEOUT_MS", GetParam());
    Start();
    const ScriptedServer server(Ok());
    Post(server.Url("/"), "{}");
    RepliesAfterShutdown(1);
    EXPECT_THAT(m_replies.Errors(), ElementsAre(0));
}

INSTANTIATE_TEST_SUITE_P(Milliseconds, TransportTimeout, testing::Values(86'400'000, 2'147'483'647),
                         testing::PrintToStringParamName());

TEST_F(TransportTest, ATimeoutOfAMillisecondEndsEveryRequestOnce)
{
    Set("CHTTPCLIENT_TIMEOUT_MS", 1);
    Start();
    const ScriptedServer server(Silent());
    for (int nRequest = 0; nRequest < 100; ++nRequest) {
        Post(server.Url("/"), "{}");
    }
    RepliesAfterShutdown(100);
    EXPECT_THAT(m_replies.Errors(), Each(-28));
}
