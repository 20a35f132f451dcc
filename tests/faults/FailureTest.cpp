// Each call that the transport makes to libcurl, the thread library and the allocator fails in turn.

#include "FailingCalls.h"
#include "TransportTest.h"

#include <curl/curl.h>
#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <new>
#include <utility>

using namespace std::chrono_literals;
using testing::AllOf;
using testing::AnyOf;
using testing::Contains;
using testing::Each;
using testing::Ge;
using testing::HasSubstr;
using testing::Le;

namespace
{

/// More calls than any of the exchanges below makes; the sweeps end by themselves long before.
constexpr std::size_t MANY = 5000;

double Seconds(clockid_t clock)
{
    timespec time{};
    ::clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

} // namespace

class TransportFailure : public TransportTest, public testing::WithParamInterface<const char*>
{
protected:
    // A receiver that itself can't allocate loses a reply that it was given.
    TransportFailure() { m_replies.Reserve(100'000); }

    /// A query, a report with a header line and a report without.
    void SendThree()
    {
        Get(m_server.Url("/"));
        Post(m_server.Url("/"), "{}");
        CHttpClientSendRequest(TYPE, m_server.Url("/"), "{}", nullptr, true, false, "");
    }

    /// The errors of the callbacks since the last call of this.
    std::vector<int> NewErrors(std::size_t nCount)
    {
        EXPECT_TRUE(m_replies.WaitFor(m_nSeen + nCount));
        const std::vector<int> vecAll = m_replies.Errors();
        std::vector<int> vecNew(vecAll.begin() + static_cast<std::ptrdiff_t>(m_nSeen), vecAll.end());
        m_nSeen = vecAll.size();
        return vecNew;
    }

    /// Checks that everything works after the failure. The last failure may still affect the next request, so
    /// that one only has to be answered. If a test makes the time-out short, a busy machine may need several
    /// tries.
    void ExpectHealth()
    {
        constexpr int TIMED_OUT = -28;
        CHttpClientInit();
        Get(m_server.Url("/"));
        ASSERT_THAT(NewErrors(1), Each(AnyOf(0, -2, -27, TIMED_OUT)));
        ASSERT_TRUE(CHttpClientInit());
        std::vector<int> vecErrors{TIMED_OUT};
        for (int nTry = 0; nTry < 20 && testing::Value(vecErrors, Contains(TIMED_OUT)); ++nTry) {
            SendThree();
            vecErrors = NewErrors(3);
        }
        ASSERT_THAT(vecErrors, Each(0));
    }

    const ScriptedServer m_server{Ok()};
    std::size_t m_nSeen = 0;
};

TEST_P(TransportFailure, InExchangesGivesEachRequestItsCallbackAndThenAllIsWell)
{
    Start();
    ExpectHealth(); // creates connections and what is kept
    for (std::size_t nNth = 1; nNth < MANY; ++nNth) {
        SCOPED_TRACE(std::string(GetParam()) + " fails, call " + std::to_string(nNth));
        ArmFailure(GetParam(), nNth);
        SendThree();
        ASSERT_THAT(NewErrors(3), Each(AnyOf(0, -2, -27)));
        const std::size_t nFailed = DisarmFailure();
        ASSERT_NO_FATAL_FAILURE(ExpectHealth());
        if (nFailed == 0) {
            break;
        }
    }
    RepliesAfterShutdown(m_nSeen);
}

TEST_P(TransportFailure, FromTheStartOnGivesEachRequestItsCallbackAndThenAllIsWell)
{
    CHttpClientSetResponseCallBack(Keeper());
    for (std::size_t nNth = 1; nNth < MANY; ++nNth) {
        SCOPED_TRACE(std::string(GetParam()) + " fails, call " + std::to_string(nNth));
        ArmFailure(GetParam(), nNth);
        CHttpClientInit();
        SendThree();
        ASSERT_THAT(NewErrors(3), Each(AnyOf(0, -2, -27)));
        const std::size_t nFailed = DisarmFailure();
        ASSERT_NO_FATAL_FAILURE(ExpectHealth());
        CHttpClientUnInit();
        if (nFailed == 0) {
            break;
        }
    }
    RepliesAfterShutdown(m_nSeen);
}

INSTANTIATE_TEST_SUITE_P(Calls, TransportFailure,
                         testing::Values("curl_easy_init", "curl_easy_setopt", "curl_slist_append",
                                         "curl_multi_init", "curl_multi_add_handle", "curl_multi_perform",
                                         "curl_multi_poll", "pthread_create"),
                         [](const auto& call) { return std::string(call.param); });

// If an option can't be set, the request can't be sent as intended.
class TransportRequestFailure : public TransportFailure
{
protected:
    void FailEachCallInTurn()
    {
        Set("CHTTPCLIENT_HOST_CONNECTIONS", 1);
        Start();
        ExpectHealth();
        const int nError = GetParam() == std::string("curl_multi_add_handle") ? -2 : -27;
        std::size_t nFailed = 1;
        for (std::size_t nNth = 1; nFailed > 0 && nNth < MANY; ++nNth) {
            SCOPED_TRACE(std::string(GetParam()) + " fails, call " + std::to_string(nNth));
            ArmFailure(GetParam(), nNth);
            SendThree();
            const std::vector<int> vecErrors = NewErrors(3);
            nFailed = DisarmFailure();
            ASSERT_THAT(vecErrors, Contains(0).Times(3 - nFailed));
            ASSERT_THAT(vecErrors, Contains(nError).Times(nFailed));
        }
        RepliesAfterShutdown(m_nSeen);
    }
};

TEST_P(TransportRequestFailure, FailsJustTheRequestThatItIsFor)
{
    FailEachCallInTurn();
}

// Such a request is begun twice.
TEST_P(TransportRequestFailure, FailsJustTheRequestThatNeedsANewConnection)
{
    Set("CHTTPCLIENT_POST_IDLE_MS", 0L);
    FailEachCallInTurn();
}

INSTANTIATE_TEST_SUITE_P(Calls, TransportRequestFailure,
                         testing::Values("curl_easy_setopt", "curl_slist_append", "curl_multi_add_handle"),
                         [](const auto& call) { return std::string(call.param); });

class TransportLoopFailure : public TransportFailure
{
};

TEST_P(TransportLoopFailure, ThatLastsDoesNotSpin)
{
    Start();
    ExpectHealth();
    const ScriptedServer silent{Silent()}; // one that answered could do so before the loop polls
    ArmFailure(GetParam(), 1, 1'000'000'000);
    Get(silent.Url("/"));
    ASSERT_THAT(NewErrors(1), Each(-2));
    const auto tpBefore = std::chrono::steady_clock::now();
    const double dBefore = Seconds(CLOCK_PROCESS_CPUTIME_ID);
    std::this_thread::sleep_for(1s); // or longer, if the machine is busy
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - tpBefore;
    EXPECT_LE(Seconds(CLOCK_PROCESS_CPUTIME_ID) - dBefore, 0.2 * passed.count());
    DisarmFailure();
    ExpectHealth();
    RepliesAfterShutdown(m_nSeen);
    EXPECT_THAT(m_logFolder.Lines(),
                AllOf(Contains(HasSubstr(std::string(GetParam()) + ": ")), Each(HasSubstr(" error "))));
}

INSTANTIATE_TEST_SUITE_P(Calls, TransportLoopFailure,
                         testing::Values("curl_multi_perform", "curl_multi_poll"),
                         [](const auto& call) { return std::string(call.param); });

TEST_F(TransportFailure, ToStartAThreadLeavesTheCallbackToTheSendersThreadAndIsLogged)
{
    CHttpClientSetResponseCallBack(Keeper());
    ArmFailure("pthread_create", 1, MANY);
    Get("http://127.0.0.1/");
    EXPECT_EQ(DisarmFailure(), 1U);
    EXPECT_THAT(m_replies.Errors(), testing::ElementsAre(-2)); // already
    EXPECT_THAT(m_logFolder.Lines(),
                testing::ElementsAre(AllOf(HasSubstr(" error "), HasSubstr("no thread to deliver on: "))));
}

// Neither of its two threads, nor anything that its requests share, is done without.
TEST_F(TransportFailure, ToHaveWhatTheTransportConsistsOfIsAFailedStart)
{
    CHttpClientSetResponseCallBack(Keeper());
    const std::pair<const char*, std::size_t> FAILURES[] = {
        {"pthread_create", 1}, {"pthread_create", 2}, {"curl_multi_init", 1}, {"curl_share_setopt", 1}};
    for (const auto& [szCall, nNth] : FAILURES) {
        SCOPED_TRACE(std::string(szCall) + " fails, call " + std::to_string(nNth));
        ArmFailure(szCall, nNth);
        EXPECT_FALSE(CHttpClientInit());
        EXPECT_EQ(DisarmFailure(), 1U);
        EXPECT_TRUE(CHttpClientInit());
        CHttpClientUnInit();
    }
}

// Were one of them still counted as under way, the stop would wait for it.
TEST_F(TransportFailure, ThatEndsAllRequestsLeavesNoneToAStop)
{
    Set("CHTTPCLIENT_DRAIN_MS", 60'000);
    Start();
    ArmFailure("curl_multi_perform", 1, MANY);
    SendThree();
    EXPECT_THAT(NewErrors(3), Each(-2));
    DisarmFailure();
    const auto tpBefore = std::chrono::steady_clock::now();
    CHttpClientUnInit();
    EXPECT_LT(std::chrono::steady_clock::now() - tpBefore, 30s);
}

TEST_F(TransportFailure, ToRegisterForTheEndOfTheProcessIsMadeUpForByALaterStartWhichIsTheLastToDoSo)
{
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the thread sanitizer replaces the call that must fail";
#endif
    const auto nFailuresOfAStart = [](std::size_t nNth) {
        ArmFailure("atexit", nNth, MANY);
        EXPECT_TRUE(CHttpClientInit());
        CHttpClientUnInit();
        return DisarmFailure();
    };
    EXPECT_EQ(nFailuresOfAStart(1), 1U);
    EXPECT_EQ(nFailuresOfAStart(1), 1U) << "a failure is taken for a success";
    EXPECT_EQ(nFailuresOfAStart(2), 0U) << "one start registers twice";
    EXPECT_EQ(nFailuresOfAStart(1), 0U) << "each start registers, and so takes memory";
}

TEST_F(TransportFailure, OfEveryAllocationOnTheTransportsThreadsLosesNoCallback)
{
    WatchThreads(true);
    Start();
    WatchThreads(false);
    ExpectHealth();
    std::size_t nFailed = 1;
    for (std::size_t nNth = 1; nFailed > 0 && nNth < MANY; ++nNth) {
        SCOPED_TRACE("allocation " + std::to_string(nNth));
        ArmFailure("operator new", nNth);
        SendThree();
        ASSERT_THAT(NewErrors(3), Each(AnyOf(0, -2, -27)));
        nFailed = DisarmFailure();
        ASSERT_NO_FATAL_FAILURE(ExpectHealth());
    }
    RepliesAfterShutdown(m_nSeen);
}

// When a receiver throws for lack of memory, there is none for the log line about it either.
TEST_F(TransportFailure, OfMemoryForTheLineAboutAReceiverThatThrewLosesNoCallback)
{
    WatchThreads(true);
    Start();
    WatchThreads(false);
    ExpectHealth();
    for (const bool bStandard : {true, false}) {
        std::atomic<bool> bThrows = true;
        CHttpClientSetResponseCallBack(
            [&, fnKeep = Keeper()](const std::string& strBody, int nType, void* pUserData, int nHttpError) {
                fnKeep(strBody, nType, pUserData, nHttpError);
                if (bThrows.exchange(false)) {
                    ArmFailure("operator new", 1);
                    if (bStandard) {
                        throw std::bad_alloc();
                    }
                    throw 1;
                }
            });
        Get(m_server.Url("/"));
        ASSERT_THAT(NewErrors(1), Each(0));
        // If the machine is busy, the failure may hit this request in place of the log line.
        Get(m_server.Url("/"));
        ASSERT_THAT(NewErrors(1), Each(AnyOf(0, -2, -27)));
        EXPECT_EQ(DisarmFailure(), 1U);
        CHttpClientSetResponseCallBack(Keeper());
        ASSERT_NO_FATAL_FAILURE(ExpectHealth());
    }
    RepliesAfterShutdown(m_nSeen);
}

// libcurl reports a lack of memory with various errors, and does not notice some losses: it may send a head
// without its body, for example, and only the time-out ends that. So any error is accepted.
TEST_F(TransportFailure, OfEveryAllocationOfLibcurlLosesNoCallback)
{
    Set("CHTTPCLIENT_TIMEOUT_MS", 1000);
    ASSERT_TRUE(WatchLibcurlAllocations());
    std::size_t nFailed = 1;
    CHttpClientSetResponseCallBack(Keeper());
    for (std::size_t nNth = 1; nFailed > 0 && nNth < MANY; ++nNth) {
        SCOPED_TRACE("allocation of libcurl " + std::to_string(nNth));
        ArmFailure("malloc", nNth);
        CHttpClientInit();
        SendThree();
        ASSERT_THAT(NewErrors(3), Each(AllOf(Le(0), Ge(-100))));
        nFailed = DisarmFailure();
        ASSERT_NO_FATAL_FAILURE(ExpectHealth());
        CHttpClientUnInit();
    }
    RepliesAfterShutdown(m_nSeen);
}

// libcurl has built-in authorities, in a file and in a folder; the folder would be used besides our file.
class TransportTrust : public TransportTest
{
protected:
    void Exchange()
    {
        const ScriptedServer server{Ok()};
        Start();
        Get(server.Url("/"));
        RepliesAfterShutdown(1);
        EXPECT_THAT(m_replies.Errors(), testing::ElementsAre(0));
    }
};

TEST_F(TransportTrust, IsInAFileAloneOnceItIsNamed)
{
    Set("CHTTPCLIENT_CA_FILE", "/nowhere/ca.pem");
    Exchange();
    EXPECT_EQ(LastTrust(CURLOPT_CAINFO), "/nowhere/ca.pem");
    EXPECT_EQ(LastTrust(CURLOPT_CAPATH), "null");
    EXPECT_EQ(LastTrust(CURLOPT_PROXY_CAINFO), "/nowhere/ca.pem");
    EXPECT_EQ(LastTrust(CURLOPT_PROXY_CAPATH), "null");
}

TEST_F(TransportTrust, IsLibcurlsOwnWithoutAFile)
{
    Exchange();
    for (const int nOption : {CURLOPT_CAINFO, CURLOPT_CAPATH, CURLOPT_PROXY_CAINFO, CURLOPT_PROXY_CAPATH}) {
        EXPECT_EQ(LastTrust(nOption), "default") << nOption;
    }
}
