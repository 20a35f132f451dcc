#include "TransportLife.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <tuple>

using namespace std::chrono_literals;
using testing::Each;
using testing::ElementsAre;
using testing::UnorderedElementsAreArray;

class TransportShutdown : public TransportLife, public testing::WithParamInterface<Life>
{
protected:
    void SetUp() override
    {
        if (GetParam() == Life::Later) {
            LiveBefore();
        }
    }
};

INSTANTIATE_TEST_SUITE_P(InThe, TransportShutdown, testing::Values(Life::First, Life::Later),
                         [](const auto& life) {
                             return life.param == Life::First ? "FirstLife" : "LaterLife";
                         });

/// The parameter is the number of connections to one host: with 8 most requests are still queued, with 1000
/// all are on the network.
class TransportShutdownInFlight : public TransportLife,
                                  public testing::WithParamInterface<std::tuple<long, Life>>
{
protected:
    void SetUp() override
    {
        if (std::get<1>(GetParam()) == Life::Later) {
            LiveBefore();
        }
    }
    static long Connections() { return std::get<0>(GetParam()); }
};

TEST_P(TransportShutdownInFlight, CancelsEachRequestOnceInBoundedTime)
{
    Set("CHTTPCLIENT_DRAIN_MS", 200);
    Set("CHTTPCLIENT_HOST_CONNECTIONS", Connections());
    Set("CHTTPCLIENT_CONNECT_TIMEOUT_MS", 120'000); // a busy machine may take long for a thousand
    Set("CHTTPCLIENT_TIMEOUT_MS", 120'000);
    Start();
    const ScriptedServer server(Silent());
    Tokens tokens(1000);
    for (void* const pToken : tokens.All()) {
        Get(server.Url("/"), pToken);
    }
    ASSERT_TRUE(server.WaitForRequests(static_cast<std::size_t>(Connections())));
    const auto tpBegin = std::chrono::steady_clock::now();
    CHttpClientUnInit();
    const auto duration = std::chrono::steady_clock::now() - tpBegin;
    EXPECT_GE(duration, 200ms) << "the drain time was cut short";
    EXPECT_LE(duration, 30s) << "must be less than the time-out of a request";
    EXPECT_THAT(m_replies.Errors(), Each(-42)) << "every callback must come before the call returns";
    EXPECT_THAT(m_replies.UserData(), UnorderedElementsAreArray(tokens.All()));
}

INSTANTIATE_TEST_SUITE_P(Connections, TransportShutdownInFlight,
                         testing::Combine(testing::Values(8, 1000),
                                          testing::Values(Life::First, Life::Later)),
                         [](const auto& row) {
                             return std::to_string(std::get<0>(row.param)) +
                                    (std::get<1>(row.param) == Life::First ? "" : "InALaterLife");
                         });

// If 0 were taken for the default of 3 s, the answer would arrive.
TEST_P(TransportShutdown, WithoutDrainTimeCancelsAtOnce)
{
    Set("CHTTPCLIENT_DRAIN_MS", 0);
    Start();
    const ScriptedServer server(Ok(2500ms));
    Get(server.Url("/"));
    ASSERT_TRUE(server.WaitForRequests(1));
    CHttpClientUnInit();
    EXPECT_THAT(m_replies.Errors(), ElementsAre(-42));
}

TEST_P(TransportShutdown, LeavesSlowAnswersTheTimeToArrive)
{
    Set("CHTTPCLIENT_DRAIN_MS", 30'000);
    Start();
    const ScriptedServer server(Ok(200ms));
    Tokens tokens(20);
    for (void* const pToken : tokens.All()) {
        Post(server.Url("/"), "{}", pToken);
    }
    CHttpClientUnInit();
    EXPECT_THAT(m_replies.Errors(), Each(0));
    EXPECT_THAT(m_replies.UserData(), UnorderedElementsAreArray(tokens.All()));
    EXPECT_EQ(server.Requests().size(), 20U);
}

TEST_P(TransportShutdown, TakesNoLongerThanTheAnswers)
{
    Set("CHTTPCLIENT_DRAIN_MS", 30'000);
    Start();
    const ScriptedServer server(Ok());
    Get(server.Url("/"));
    const auto tpBegin = std::chrono::steady_clock::now();
    CHttpClientUnInit();
    EXPECT_LE(std::chrono::steady_clock::now() - tpBegin, 15s);
    EXPECT_THAT(m_replies.Errors(), ElementsAre(0));
}

TEST_P(TransportShutdown, WithNothingToDoIsDoneAtOnce)
{
    Set("CHTTPCLIENT_DRAIN_MS", 30'000);
    Start();
    const auto tpBegin = std::chrono::steady_clock::now();
    CHttpClientUnInit();
    CHttpClientUnInit();
    EXPECT_LE(std::chrono::steady_clock::now() - tpBegin, 15s);
}

TEST_P(TransportShutdown, FromWithinTheCallbackDoesNotWaitForItself)
{
    std::atomic<bool> bCalled{false};
    CHttpClientSetResponseCallBack(
        [this, &bCalled](const std::string& strBody, int nType, void* pUserData, int nHttpError) {
            m_replies.Add(strBody, nType, pUserData, nHttpError);
            if (!bCalled.exchange(true)) {
                CHttpClientUnInit();
            }
        });
    ASSERT_TRUE(CHttpClientInit());
    Gate gateSent;
    std::atomic<bool> bAnswered{false};
    const ScriptedServer server([&](const WireRequest&) {
        EXPECT_TRUE(gateSent.Wait()); // all are handed in before the first answer
        return bAnswered.exchange(true) ? Silent() : Ok();
    });
    Tokens tokens(1000);
    for (void* const pToken : tokens.All()) {
        Get(server.Url("/"), pToken);
    }
    gateSent.Open();
    RepliesAfterShutdown(1000);
    EXPECT_THAT(m_replies.UserData(), UnorderedElementsAreArray(tokens.All()));
    const std::vector<int> vecErrors = m_replies.Errors();
    EXPECT_EQ(std::count(vecErrors.begin(), vecErrors.end(), 0), 1);
    EXPECT_EQ(std::count(vecErrors.begin(), vecErrors.end(), -42), 999);
}

TEST_P(TransportShutdown, CanBeFollowedByAnotherStart)
{
    const ScriptedServer server(Ok());
    for (std::size_t nRound = 1; nRound <= 5; ++nRound) {
        ASSERT_TRUE(CHttpClientInit());
        CHttpClientSetResponseCallBack(Keeper());
        Get(server.Url("/"));
        ASSERT_TRUE(m_replies.WaitFor(nRound));
        CHttpClientUnInit();
    }
    EXPECT_THAT(m_replies.Errors(), ElementsAre(0, 0, 0, 0, 0));
}

TEST_P(TransportShutdown, FromWithinTheCallbackCanBeFollowedByAnotherStart)
{
    CHttpClientSetResponseCallBack(
        [this](const std::string& strBody, int nType, void* pUserData, int nHttpError) {
            CHttpClientUnInit();
            m_replies.Add(strBody, nType, pUserData, nHttpError);
        });
    const ScriptedServer server(Ok());
    for (std::size_t nRound = 1; nRound <= 5; ++nRound) {
        ASSERT_TRUE(CHttpClientInit());
        Get(server.Url("/"));
        ASSERT_TRUE(m_replies.WaitFor(nRound));
    }
    EXPECT_THAT(m_replies.Errors(), ElementsAre(0, 0, 0, 0, 0));
}

TEST_P(TransportShutdown, OneStopEndsWhatTwoStartsBegan)
{
    Start();
    ASSERT_TRUE(CHttpClientInit());
    CHttpClientUnInit();
    Get("http://127.0.0.1/");
    ASSERT_TRUE(m_replies.WaitFor(1));
    EXPECT_THAT(m_replies.Errors(), ElementsAre(-2));
}

TEST_P(TransportShutdown, RefusesWhatComesAfterIt)
{
    Start();
    const ScriptedServer server(Ok());
    CHttpClientUnInit();
    Tokens tokens(3);
    for (void* const pToken : tokens.All()) {
        Get(server.Url("/"), pToken);
    }
    RepliesAfterShutdown(3);
    EXPECT_THAT(m_replies.Errors(), Each(-2));
    EXPECT_THAT(m_replies.UserData(), UnorderedElementsAreArray(tokens.All()));
    EXPECT_EQ(server.Accepted(), 0U);
}

TEST_P(TransportShutdown, AnswersTheRequestsThatCallbacksSendMeanwhile)
{
    Set("CHTTPCLIENT_DRAIN_MS", 100);
    const ScriptedServer server(Silent());
    CHttpClientSetResponseCallBack(
        [&](const std::string& strBody, int nType, void* pUserData, int nHttpError) {
            m_replies.Add(strBody, nType, pUserData, nHttpError);
            if (nType == TYPE) {
                Get(server.Url("/"), nullptr, TYPE + 1);
            }
        });
    ASSERT_TRUE(CHttpClientInit());
    for (int nRequest = 0; nRequest < 20; ++nRequest) {
        Get(server.Url("/"));
    }
    CHttpClientUnInit();
    for (const ReceivedReply& reply : RepliesAfterShutdown(40)) {
        EXPECT_EQ(reply.nHttpError, reply.nType == TYPE ? -42 : -2);
    }
}

TEST_P(TransportShutdown, OfManyThreadsAtOnceBesideSendersLosesNoCallback)
{
    constexpr std::size_t SENDERS = 4;
    constexpr std::size_t REQUESTS = 200;
    Set("CHTTPCLIENT_DRAIN_MS", 30'000); // enough for all, however slow the machine
    Start();
    const ScriptedServer server(Ok());
    Tokens tokens(SENDERS * REQUESTS);
    std::vector<std::thread> vecThreads;
    for (std::size_t nSender = 0; nSender < SENDERS; ++nSender) {
        vecThreads.emplace_back([&, nSender] {
            for (std::size_t nRequest = 0; nRequest < REQUESTS; ++nRequest) {
                Get(server.Url("/"), tokens.At(nSender * REQUESTS + nRequest));
            }
        });
        vecThreads.emplace_back([&] {
            EXPECT_TRUE(m_replies.WaitFor(50));
            CHttpClientUnInit();
            CHttpClientInit();
        });
    }
    for (std::thread& thread : vecThreads) {
        thread.join();
    }
    RepliesAfterShutdown(SENDERS * REQUESTS);
    EXPECT_THAT(m_replies.Errors(), Each(testing::AnyOf(0, -2)));
    EXPECT_THAT(m_replies.UserData(), UnorderedElementsAreArray(tokens.All()));
}

TEST_P(TransportShutdown, InMidBodyCancels)
{
    Set("CHTTPCLIENT_DRAIN_MS", 100);
    Start();
    ServerStep step = Silent();
    step.strReply = "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf a body";
    const ScriptedServer server(step);
    Get(server.Url("/"));
    ASSERT_TRUE(server.WaitForRequests(1));
    CHttpClientUnInit();
    ASSERT_THAT(m_replies.Errors(), ElementsAre(-42));
    EXPECT_EQ(m_replies.All().at(0).strBody, "");
}
