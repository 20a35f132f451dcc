// The moments at which one of the transport's two threads takes over from the other.

#include "TransportTest.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using testing::Each;
using testing::UnorderedElementsAreArray;

namespace
{

class TransportHandOver : public TransportTest
{
protected:
    /// Sends requests from its thread, each as soon as the previous one's callback has begun.
    static void SendOneAfterTheOther(const std::string& strUrl, int nRequests)
    {
        std::atomic<int> nCalled = 0;
        for (int nRequest = 1; nRequest <= nRequests; ++nRequest) {
            Get(strUrl, &nCalled);
            while (nCalled < nRequest) {
                std::this_thread::yield();
            }
        }
    }
};

// The thread that delivered is about to sleep, or takes the next request itself.
TEST_F(TransportHandOver, MissesNoRequestThatIsSentAsSoonAsACallbackBegins)
{
    constexpr int SENDERS = 2;
    constexpr int REQUESTS = 1000;
    const ScriptedServer server(Ok());
    CHttpClientSetResponseCallBack([](const std::string&, int, void* pUserData, int nHttpError) {
        EXPECT_EQ(nHttpError, 0);
        ++*static_cast<std::atomic<int>*>(pUserData);
    });
    ASSERT_TRUE(CHttpClientInit());
    std::vector<std::thread> vecSenders;
    for (int nSender = 0; nSender < SENDERS; ++nSender) {
        vecSenders.emplace_back([&server] { SendOneAfterTheOther(server.Url("/"), REQUESTS); });
    }
    for (std::thread& sender : vecSenders) {
        sender.join();
    }
    CHttpClientUnInit();
    EXPECT_EQ(server.Requests().size(), static_cast<std::size_t>(SENDERS * REQUESTS));
}

TEST_F(TransportHandOver, MissesNoRequestThatACallbackSendsWhileAnotherIsInFlight)
{
    constexpr std::size_t REQUESTS = 500;
    Set("CHTTPCLIENT_DRAIN_MS", 0);
    const ScriptedServer silent(Silent());
    const ScriptedServer server(Ok());
    std::atomic<std::size_t> nSent = 1;
    CHttpClientSetResponseCallBack(
        [&, fnKeep = Keeper()](const std::string& strBody, int nType, void* pUserData, int nHttpError) {
            if (nSent < REQUESTS) {
                ++nSent;
                Get(server.Url("/"));
            }
            fnKeep(strBody, nType, pUserData, nHttpError);
        });
    ASSERT_TRUE(CHttpClientInit());
    Get(silent.Url("/"));
    ASSERT_TRUE(silent.WaitForRequests(1));
    Get(server.Url("/"));
    ASSERT_TRUE(m_replies.WaitFor(REQUESTS));
    EXPECT_THAT(m_replies.Errors(), Each(0));
    CHttpClientUnInit();
    EXPECT_EQ(m_replies.Count(), REQUESTS + 1);
    EXPECT_EQ(m_replies.Errors().back(), -42);
}

// Each round stops a little later than the one before.
TEST_F(TransportHandOver, BesideAStopGivesEachRequestItsCallbackBeforeTheStopReturns)
{
    constexpr int ROUNDS = 200;
    Set("CHTTPCLIENT_DRAIN_MS", 60'000);
    const ScriptedServer server(Ok());
    for (int nRound = 0; nRound < ROUNDS; ++nRound) {
        Start();
        const std::size_t nBefore = m_replies.Count();
        Tokens tokens(3);
        for (void* const pToken : tokens.All()) {
            Get(server.Url("/"), pToken);
        }
        const auto tpStop = std::chrono::steady_clock::now() + nRound * 5us;
        while (std::chrono::steady_clock::now() < tpStop) {
            std::this_thread::yield();
        }
        CHttpClientUnInit();
        std::vector<void*> vecOfThisRound = m_replies.UserData();
        vecOfThisRound.erase(vecOfThisRound.begin(),
                             vecOfThisRound.begin() + static_cast<std::ptrdiff_t>(nBefore));
        ASSERT_THAT(vecOfThisRound, UnorderedElementsAreArray(tokens.All())) << nRound;
    }
    EXPECT_THAT(m_replies.Errors(), Each(0));
}

// Such a request is refused, and may come just as the last thread has ended.
TEST_F(TransportHandOver, IsOverSoonAtAStopBesideWhichRequestsAreSent)
{
    constexpr int ROUNDS = 300;
    const auto longest = 4s; // shorter than a stop waits for a thread that does not end
    const ScriptedServer server(Ok());
    std::atomic<int> nCalled = 0;
    CHttpClientSetResponseCallBack([&](const std::string&, int, void*, int) { ++nCalled; });
    for (int nRound = 0; nRound < ROUNDS; ++nRound) {
        ASSERT_TRUE(CHttpClientInit());
        std::atomic<bool> bStopped = false;
        std::thread sender([&] {
            for (int nSent = nCalled; !bStopped; ++nSent) {
                Get(server.Url("/"));
                while (nCalled <= nSent) {
                    std::this_thread::yield();
                }
            }
        });
        const auto tpStop = std::chrono::steady_clock::now();
        CHttpClientUnInit();
        const auto length = std::chrono::steady_clock::now() - tpStop;
        bStopped = true;
        sender.join();
        ASSERT_LT(length, longest) << nRound;
    }
}

/// The parameter is the number of requests in flight besides the one whose callback blocks.
class TransportBlockedCallback : public TransportHandOver, public testing::WithParamInterface<std::size_t>
{
};

TEST_P(TransportBlockedCallback, HoldsUpNoExchange)
{
    const std::size_t nOthers = GetParam();
    Set("CHTTPCLIENT_HOST_CONNECTIONS", 200);
    Gate gateAnswers;
    Gate gateCallback;
    std::atomic<std::size_t> nAnswered = 0;
    const ScriptedServer server([&](const WireRequest& request) {
        if (request.Target() == "/in-flight") {
            EXPECT_TRUE(gateAnswers.Wait());
        }
        ++nAnswered;
        return Ok();
    });
    std::atomic<bool> bFirst = true;
    CHttpClientSetResponseCallBack(
        [&, fnKeep = Keeper()](const std::string& strBody, int nType, void* pUserData, int nHttpError) {
            fnKeep(strBody, nType, pUserData, nHttpError);
            if (bFirst.exchange(false)) {
                EXPECT_TRUE(gateCallback.Wait());
            }
        });
    ASSERT_TRUE(CHttpClientInit());
    for (std::size_t nRequest = 0; nRequest < nOthers; ++nRequest) {
        Get(server.Url("/in-flight"));
    }
    ASSERT_TRUE(server.WaitForRequests(nOthers));
    Get(server.Url("/first"));
    ASSERT_TRUE(m_replies.WaitFor(1)); // its callback blocks from now on
    gateAnswers.Open();
    for (std::size_t nTurn = 1; nTurn <= 3; ++nTurn) { // each over a kept connection of the one before
        Get(server.Url("/later"));
        ASSERT_TRUE(server.WaitForRequests(nOthers + 1 + nTurn)) << "a blocked callback holds up the network";
    }
    EXPECT_EQ(m_replies.Count(), 1U);
    gateCallback.Open();
    RepliesAfterShutdown(nOthers + 4);
    EXPECT_THAT(m_replies.Errors(), Each(0));
    EXPECT_EQ(nAnswered, nOthers + 4);
}

INSTANTIATE_TEST_SUITE_P(WithOthersInFlight, TransportBlockedCallback, testing::Values(0, 1, 100));

} // namespace
