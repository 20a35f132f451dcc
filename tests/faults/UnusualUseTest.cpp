// Unusual but allowed uses of the transport.

#include "TransportTest.h"

#include <gmock/gmock.h>

#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>
#endif

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

class UnusualUse : public TransportTest
{
protected:
    void SendWith(const ScriptedServer& server, const std::string& strHeader)
    {
        CHttpClientSendRequest(7, server.Url("/"), "{}", nullptr, true, true, strHeader);
    }
};

} // namespace

TEST_F(UnusualUse, OfAHeaderLineWithATabAndOtherLettersThanAsciiSendsItAsItIs)
{
    Start();
    const ScriptedServer server(ServerStep{HttpReply(200, "")});
    SendWith(server, "X-Name:\tZelle \xc3\xa4\xc3\xb6");
    for (const ReceivedReply& reply : RepliesAfterShutdown(1)) {
        EXPECT_EQ(reply.nHttpError, 0);
    }
    ASSERT_EQ(server.Requests().size(), 1U);
    EXPECT_THAT(server.Requests().front().Header("X-Name"), ElementsAre(HasSubstr("Zelle \xc3\xa4\xc3\xb6")));
}

TEST_F(UnusualUse, OfAHeaderLineWithADeleteCharacterIsRefused)
{
    Start();
    const ScriptedServer server(ServerStep{HttpReply(200, "")});
    SendWith(server, "X-Name: a\x7f");
    for (const ReceivedReply& reply : RepliesAfterShutdown(1)) {
        EXPECT_EQ(reply.nHttpError, -43);
    }
    EXPECT_EQ(server.Accepted(), 0U);
}

TEST_F(UnusualUse, OfAnEmptyReceiverLosesTheReplyAndSaysSo)
{
    const ScriptedServer server(ServerStep{HttpReply(200, "")});
    CHttpClientSetResponseCallBack(CHttpClientResponse());
    ASSERT_TRUE(CHttpClientInit());
    Get(server.Url("/"));
    CHttpClientUnInit();
    EXPECT_THAT(m_logFolder.Lines(), Contains(HasSubstr("no receiver for a reply of type")));
}

// They must not wait for the stop, which waits for the callback.
TEST_F(UnusualUse, OfStartAndStopInACallbackWhileTheTransportStopsReturnsAtOnce)
{
    Gate called;
    bool bRefused = false;
    CHttpClientSetResponseCallBack([&](const std::string&, int, void*, int) {
        called.Open();
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!bRefused && std::chrono::steady_clock::now() < end) {
            bRefused = !CHttpClientInit();
        }
        CHttpClientUnInit();
    });
    ASSERT_TRUE(CHttpClientInit());
    const ScriptedServer server(ServerStep{HttpReply(200, "")});
    Get(server.Url("/"));
    ASSERT_TRUE(called.Wait());
    CHttpClientUnInit();
    EXPECT_TRUE(bRefused);
}

#if !defined(_WIN32)
TEST(UnusualFork, OfATransportWithoutReceiverLeavesTheChildWhole)
{
    const LogFolder log;
    ASSERT_TRUE(CHttpClientInit());
    const pid_t nChild = ::fork();
    if (nChild == 0) {
        ::_exit(0);
    }
    int nStatus = -1;
    ASSERT_EQ(::waitpid(nChild, &nStatus, 0), nChild);
    EXPECT_EQ(nStatus, 0);
    CHttpClientUnInit();
}

TEST(UnusualFork, BeforeTheTransportIsEverUsedLeavesBothItsUse)
{
    const LogFolder log;
    const pid_t nChild = ::fork();
    const bool bRuns = CHttpClientInit();
    CHttpClientUnInit();
    if (nChild == 0) {
        ::_exit(bRuns ? 0 : 1);
    }
    int nStatus = -1;
    ASSERT_EQ(::waitpid(nChild, &nStatus, 0), nChild);
    EXPECT_EQ(nStatus, 0);
    EXPECT_TRUE(bRuns);
}
#endif
