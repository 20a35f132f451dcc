// Host names, and a slow resolver. The program has a resolver of its own, so nothing here depends on the
// network.

#include "TransportTest.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <cstring>

#include <dlfcn.h>
#include <netdb.h>

using namespace std::chrono_literals;
using testing::Each;

namespace
{

/// The slow resolver waits here.
Gate& Resolver()
{
    static auto* const pGate = new Gate; // a resolver thread may outlive everything else
    return *pGate;
}

std::atomic<int> g_nResolving{0};

void WaitUntilResolving(int nNames)
{
    const auto tpEnd = std::chrono::steady_clock::now() + 30s;
    while (g_nResolving < nNames) {
        ASSERT_LT(std::chrono::steady_clock::now(), tpEnd) << "nobody asks the resolver";
        std::this_thread::sleep_for(1ms);
    }
}

} // namespace

/// Replaces the C library's: names that end in ".slow" wait until the test opens the gate; neither they nor
/// names that end in ".invalid" are found.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* szNode, const char* szService,
                                                                  const addrinfo* pHints, addrinfo** ppFound)
{
    const std::string strNode = szNode == nullptr ? "" : szNode;
    const auto endsWith = [&](const char* szEnd) {
        return strNode.size() > std::strlen(szEnd) &&
               strNode.compare(strNode.size() - std::strlen(szEnd), std::string::npos, szEnd) == 0;
    };
    if (endsWith(".slow")) {
        ++g_nResolving;
        Resolver().Wait();
        return EAI_NONAME;
    }
    if (endsWith(".invalid")) {
        return EAI_NONAME;
    }
    static const auto pfnReal = reinterpret_cast<decltype(&getaddrinfo)>(::dlsym(RTLD_NEXT, "getaddrinfo"));
    return pfnReal(szNode, szService, pHints, ppFound);
}

class TransportNames : public TransportTest
{
protected:
    /// However slow the machine, no name is given up while a test still needs it.
    TransportNames() { Set("CHTTPCLIENT_CONNECT_TIMEOUT_MS", 60'000); }
    ~TransportNames() override { Resolver().Open(); }
};

TEST_F(TransportNames, ThatNobodyKnowsAreReportedOnceEach)
{
    Start();
    Tokens tokens(20);
    for (void* const pToken : tokens.All()) {
        Get("http://laboratory.invalid/vomd/x", pToken);
    }
    RepliesAfterShutdown(20);
    EXPECT_THAT(m_replies.Errors(), Each(-6));
    EXPECT_THAT(m_replies.UserData(), testing::UnorderedElementsAreArray(tokens.All()));
}

TEST_F(TransportNames, ThatAreResolvedForLongDelayNoOtherRequest)
{
    Start();
    const ScriptedServer server(Ok());
    for (int nName = 0; nName < 10; ++nName) {
        Get("http://host" + std::to_string(nName) + ".slow/", nullptr, TYPE + 1);
    }
    WaitUntilResolving(10);
    for (std::size_t nRequest = 1; nRequest <= 100; ++nRequest) {
        Get(server.Url("/"));
        ASSERT_TRUE(m_replies.WaitFor(nRequest)) << "while ten names are being resolved";
    }
    EXPECT_THAT(m_replies.Errors(), Each(0));
    Resolver().Open();
    RepliesAfterShutdown(110);
    EXPECT_THAT(m_replies.Errors(), testing::Contains(-6).Times(10));
}

TEST_F(TransportNames, ThatAreResolvedForLongEndWithTheTimeToConnect)
{
    Set("CHTTPCLIENT_CONNECT_TIMEOUT_MS", 300);
    Start();
    for (int nName = 0; nName < 10; ++nName) {
        Get("http://host" + std::to_string(nName) + ".slow/");
    }
    RepliesAfterShutdown(10);
    EXPECT_THAT(m_replies.Errors(), Each(-28));
}

TEST_F(TransportNames, ThatAreBeingResolvedDoNotDelayShuttingDown)
{
    Set("CHTTPCLIENT_DRAIN_MS", 200);
    Start();
    Tokens tokens(20);
    for (void* const pToken : tokens.All()) {
        Get("http://laboratory.slow/", pToken);
    }
    WaitUntilResolving(8);
    CHttpClientUnInit();
    EXPECT_THAT(m_replies.Errors(), Each(-42)) << "every callback must come before the call returns";
    EXPECT_THAT(m_replies.UserData(), testing::UnorderedElementsAreArray(tokens.All()));
}

TEST_F(TransportNames, ThatAreBeingResolvedWhileTheTransportStopsDoNotHurtTheNextStart)
{
    Set("CHTTPCLIENT_DRAIN_MS", 0);
    const ScriptedServer server(Ok());
    for (std::size_t nRound = 1; nRound <= 10; ++nRound) {
        Start();
        Get("http://laboratory.slow/", nullptr, TYPE + 1);
        Get(server.Url("/"));
        ASSERT_TRUE(m_replies.WaitFor(2 * nRound - 1));
        WaitUntilResolving(static_cast<int>(nRound));
        CHttpClientUnInit();
        ASSERT_EQ(m_replies.Count(), 2 * nRound);
    }
    for (const ReceivedReply& reply : m_replies.All()) {
        EXPECT_EQ(reply.nHttpError, reply.nType == TYPE ? 0 : -42);
    }
}
