#include "TransportTest.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <set>
#include <stdexcept>
#include <utility>

using namespace std::chrono_literals;
using testing::AnyOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAreArray;

/// What receivers may do in the callback. The server answers at once.
class TransportCallback : public TransportTest
{
protected:
    TransportCallback() : m_server(Ok()) {}

    /// Starts with a receiver that keeps the reply and then calls the test's function.
    void StartWith(CHttpClientResponse fnThen)
    {
        CHttpClientSetResponseCallBack(
            [fnKeep = Keeper(), fnThen = std::move(fnThen)](const std::string& strBody, int nType,
                                                            void* pUserData, int nHttpError) {
                fnKeep(strBody, nType, pUserData, nHttpError);
                fnThen(strBody, nType, pUserData, nHttpError);
            });
        ASSERT_TRUE(CHttpClientInit());
    }

    /// Every reply came on one of at most two threads, neither of which is the test's.
    static void ExpectTwoThreads(const std::vector<ReceivedReply>& vecReplies)
    {
        std::set<std::thread::id> setThreads;
        for (const ReceivedReply& reply : vecReplies) {
            setThreads.insert(reply.idThread);
        }
        EXPECT_THAT(setThreads.size(), AnyOf(1, 2));
        EXPECT_THAT(setThreads, Not(Contains(std::this_thread::get_id())));
    }

    const ScriptedServer m_server;
};

TEST_F(TransportCallback, ThatThrowsIsLoggedEachTimeAndTheNextReplyIsDelivered)
{
    StartWith([](const std::string&, int nType, void*, int) {
        if (nType == 3104) {
            throw std::runtime_error("the receiver's own trouble");
        }
        if (nType == 3105) {
            throw 5;
        }
    });
    std::size_t nSent = 0;
    for (const int nType : {3104, 3105, 3106, 3104, 3105, 3106}) {
        Get(m_server.Url("/"), nullptr, nType);
        ASSERT_TRUE(m_replies.WaitFor(++nSent));
    }
    RepliesAfterShutdown(nSent);
    EXPECT_THAT(m_replies.Errors(), Each(0));
    EXPECT_THAT(m_logFolder.Lines(), ElementsAre(HasSubstr("the receiver's own trouble"), HasSubstr("3105"),
                                                 HasSubstr("the receiver's own trouble"), HasSubstr("3105")));
}

TEST_F(TransportCallback, ThatBlocksMakesNoOtherRequestTimeOut)
{
    constexpr auto TIMEOUT = 3000ms; // long enough for an exchange on a slow machine
    Set("CHTTPCLIENT_TIMEOUT_MS", TIMEOUT.count());
    Gate gate;
    StartWith([&](const std::string&, int nType, void*, int) {
        if (nType == 0) {
            EXPECT_TRUE(gate.Wait());
        }
    });
    Get(m_server.Url("/"), nullptr, 0);
    ASSERT_TRUE(m_replies.WaitFor(1));
    Tokens tokens(50);
    for (void* const pToken : tokens.All()) {
        Get(m_server.Url("/"), pToken);
    }
    EXPECT_TRUE(m_server.WaitForRequests(51)) << "a blocked receiver delayed the network";
    EXPECT_EQ(m_replies.All().size(), 1U);
    std::this_thread::sleep_for(TIMEOUT); // were they still in progress, they would time out
    gate.Open();
    RepliesAfterShutdown(51);
    EXPECT_THAT(m_replies.Errors(), Each(0));
}

TEST_F(TransportCallback, MaySendTheNextRequest)
{
    constexpr std::size_t REQUESTS = 1000;
    std::atomic<std::size_t> nSent{1};
    StartWith([&](const std::string&, int, void*, int) {
        if (nSent < REQUESTS) {
            ++nSent;
            Get(m_server.Url("/"));
        }
    });
    Get(m_server.Url("/"));
    RepliesAfterShutdown(REQUESTS);
    EXPECT_THAT(m_replies.Errors(), Each(0));
    EXPECT_EQ(m_server.Requests().size(), REQUESTS);
}

TEST_F(TransportCallback, MaySendRequestsThatAreRefused)
{
    constexpr std::size_t REQUESTS = 1000;
    std::atomic<std::size_t> nSent{1};
    StartWith([&](const std::string&, int, void*, int) {
        if (nSent < REQUESTS) {
            ++nSent;
            Get("no URL");
        }
    });
    Get("no URL");
    RepliesAfterShutdown(REQUESTS);
    EXPECT_THAT(m_replies.Errors(), Each(-3));
}

TEST_F(TransportCallback, MayBeReplacedByItselfAndLivesUntilItReturns)
{
    auto pHeld = std::make_shared<int>(0);
    const std::weak_ptr<int> pWatched = pHeld;
    StartWith([this, pHeld = std::move(pHeld), pWatched](const std::string&, int, void*, int) {
        CHttpClientSetResponseCallBack([this](const std::string&, int nType, void* pUserData, int) {
            m_replies.Add("from the second receiver", nType, pUserData, 0);
        });
        EXPECT_FALSE(pWatched.expired()) << "it still runs";
    });
    Get(m_server.Url("/"));
    ASSERT_TRUE(m_replies.WaitFor(1));
    Get(m_server.Url("/"));
    const std::vector<ReceivedReply> vecReplies = RepliesAfterShutdown(2);
    EXPECT_EQ(vecReplies.at(0).strBody, "{}");
    EXPECT_EQ(vecReplies.at(1).strBody, "from the second receiver");
    EXPECT_TRUE(pWatched.expired());
}

// A receiver may hold objects of the host that call the transport when they are destroyed.
TEST_F(TransportCallback, MaySendARequestWhenItIsDestroyed)
{
    constexpr std::size_t RECEIVERS = 3;
    for (std::size_t nReceiver = 0; nReceiver < RECEIVERS; ++nReceiver) {
        const std::shared_ptr<void> pSends(nullptr, [](void*) { Get("http://127.0.0.1/"); });
        CHttpClientSetResponseCallBack(
            [fnKeep = Keeper(), pSends](const std::string& strBody, int nType, void* pUserData,
                                        int nHttpError) { fnKeep(strBody, nType, pUserData, nHttpError); });
    }
    CHttpClientSetResponseCallBack(Keeper());
    RepliesAfterShutdown(RECEIVERS);
    EXPECT_THAT(m_replies.Errors(), Each(-2)); // it was not started
}

// The stop waits for the callback, which must not wait for the stop.
TEST_F(TransportCallback, ThatStartsOrStopsBesideAStopIsNotHeldUpByIt)
{
    for (int nRound = 1; nRound <= 3; ++nRound) {
        std::thread stopper;
        std::atomic<bool> bRefused{false};
        Gate returning;
        StartWith([&](const std::string&, int, void*, int) {
            stopper = std::thread(&CHttpClientUnInit);
            const auto tpEnd = std::chrono::steady_clock::now() + 30s;
            while (!bRefused && std::chrono::steady_clock::now() < tpEnd) {
                bRefused = !CHttpClientInit();
                std::this_thread::yield();
            }
            CHttpClientUnInit();
            returning.Open();
        });
        Get(m_server.Url("/"));
        EXPECT_TRUE(returning.Wait());
        stopper.join();
        EXPECT_TRUE(bRefused);
    }
    EXPECT_THAT(m_replies.Errors(), ElementsAre(0, 0, 0));
}

TEST_F(TransportCallback, ComesExactlyOnceForEachRequestOfManyThreads)
{
    constexpr std::size_t THREADS = 4;
    constexpr std::size_t REQUESTS = 500;
    std::atomic<int> nInside = 0;
    StartWith([&nInside](const std::string&, int, void*, int) {
        EXPECT_EQ(++nInside, 1) << "two callbacks at the same time";
        --nInside;
    });
    ASSERT_TRUE(CHttpClientInit());
    Tokens tokens(THREADS * REQUESTS);
    std::vector<std::thread> vecThreads;
    for (std::size_t nThread = 0; nThread < THREADS; ++nThread) {
        vecThreads.emplace_back([&, nThread] {
            for (std::size_t nRequest = 0; nRequest < REQUESTS; ++nRequest) {
                Get(m_server.Url("/"), tokens.At(nThread * REQUESTS + nRequest), static_cast<int>(nThread));
            }
        });
    }
    for (std::thread& thread : vecThreads) {
        thread.join();
    }
    const std::vector<ReceivedReply> vecReplies = RepliesAfterShutdown(THREADS * REQUESTS);
    EXPECT_THAT(m_replies.Errors(), Each(0));
    EXPECT_THAT(m_replies.UserData(), UnorderedElementsAreArray(tokens.All()));
    for (const ReceivedReply& reply : vecReplies) {
        const auto nToken = static_cast<char*>(reply.pUserData) - static_cast<char*>(tokens.At(0));
        EXPECT_EQ(static_cast<std::size_t>(reply.nType), static_cast<std::size_t>(nToken) / REQUESTS);
    }
    ExpectTwoThreads(vecReplies);
}

// If an earlier stop stayed in force, a new thread would be started for each reply.
TEST_F(TransportCallback, RunsOnTwoThreadsAfterEachStart)
{
    constexpr std::size_t REPLIES = 5;
    std::size_t nThreads = 0;
    StartWith([&nThreads](const std::string&, int, void*, int) {
        thread_local bool bKnown = false;
        nThreads += std::exchange(bKnown, true) ? 0 : 1;
    });
    for (int nStart = 1; nStart <= 3; ++nStart) {
        ASSERT_TRUE(CHttpClientInit());
        const std::size_t nBefore = m_replies.Count();
        for (std::size_t nReply = 1; nReply <= REPLIES; ++nReply) {
            Get(m_server.Url("/"));
            ASSERT_TRUE(m_replies.WaitFor(nBefore + nReply));
        }
        CHttpClientUnInit();
        EXPECT_THAT(std::exchange(nThreads, 0), AnyOf(1, 2));
    }
    EXPECT_THAT(m_replies.Errors(), Each(0));
}

TEST_F(TransportCallback, ThatIsMissingHurtsNobody)
{
    ASSERT_TRUE(CHttpClientInit());
    const ScriptedServer server(Ok());
    Get(server.Url("/"));
    ASSERT_TRUE(server.WaitForRequests(1));
    CHttpClientUnInit();
    EXPECT_EQ(m_replies.Count(), 0U);
    EXPECT_THAT(m_logFolder.Lines(),
                ElementsAre(testing::ContainsRegex("error .*no receiver for a reply of type 3104")));
}

TEST_F(TransportCallback, RunsOnTheTransportsThreadsForRefusedRequestsToo)
{
    Start();
    Get(m_server.Url("/"));
    Get("no URL");
    Get(m_server.Url("/"));
    ExpectTwoThreads(RepliesAfterShutdown(3));
}
