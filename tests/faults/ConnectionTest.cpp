#include "TransportTest.h"
#include "Wine.h"

#include "labserver/LabServer.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <deque>

using testing::Each;
using testing::Le;
using testing::UnorderedElementsAreArray;

/// How the transport uses connections to one host.
class TransportConnections : public TransportTest
{
protected:
    static ServerStep Broken()
    {
        ServerStep step;
        step.ending = ServerStep::Ending::Reset;
        return step;
    }

    void SendOneAfterTheOther(const ScriptedServer& server, std::size_t nRequests, bool bPost)
    {
        for (std::size_t nRequest = 1; nRequest <= nRequests; ++nRequest) {
            CHttpClientSendRequest(TYPE, server.Url("/"), "{}", nullptr, bPost, false, "");
            ASSERT_TRUE(m_replies.WaitFor(nRequest));
        }
    }
};

TEST_F(TransportConnections, AreReused)
{
    Start();
    const ScriptedServer server(Ok());
    SendOneAfterTheOther(server, 200, false);
    EXPECT_THAT(m_replies.Errors(), Each(0));
    EXPECT_EQ(server.Accepted(), 1U);
}

TEST_F(TransportConnections, AreReusedAfterAnErrorStatus)
{
    Set("CHTTPCLIENT_POST_IDLE_MS", 60'000); // on a busy machine more than half a second may pass
    Start();
    ServerStep step;
    step.strReply = HttpReply(500, "oops");
    const ScriptedServer server(step);
    SendOneAfterTheOther(server, 20, true);
    EXPECT_THAT(m_replies.Errors(), Each(500));
    EXPECT_EQ(server.Accepted(), 1U);
}

class TransportConnectionLimit : public TransportConnections, public testing::WithParamInterface<long>
{
};

TEST_P(TransportConnectionLimit, IsReachedAndKept)
{
    const auto nLimit = static_cast<std::size_t>(GetParam());
    Set("CHTTPCLIENT_HOST_CONNECTIONS", GetParam());
    Start();
    // The first replies wait for as many requests as there may be connections, which shows that all of these
    // are really opened.
    Gate gate;
    std::atomic<std::size_t> nSeen{0};
    const ScriptedServer server([&](const WireRequest&) {
        if (++nSeen == nLimit) {
            gate.Open();
        }
        EXPECT_TRUE(gate.Wait());
        return Ok();
    });
    Tokens tokens(100);
    for (void* const pToken : tokens.All()) {
        Get(server.Url("/"), pToken);
    }
    RepliesAfterShutdown(100);
    EXPECT_THAT(m_replies.Errors(), Each(0));
    EXPECT_THAT(m_replies.UserData(), UnorderedElementsAreArray(tokens.All()));
    EXPECT_EQ(server.Accepted(), nLimit);
}

// A request makes room for the next one, however it ends: answered, on a broken connection, on a new
// connection in place of a kept one, or before it is sent.
TEST_P(TransportConnectionLimit, IsReachedAndKeptAgainAfterAllKindsOfEnds)
{
    constexpr std::size_t ROUNDS = 3;
    const auto nLimit = static_cast<std::size_t>(GetParam());
    Set("CHTTPCLIENT_HOST_CONNECTIONS", GetParam());
    Set("CHTTPCLIENT_POST_IDLE_MS", 0L); // no report is sent on a kept connection
    Start();
    std::deque<Gate> gates(ROUNDS);
    std::atomic<std::size_t> nRound{0};
    std::atomic<std::size_t> nSeen{0};
    std::atomic<std::size_t> nNow{0};
    std::atomic<bool> bTooMany{false};
    const ScriptedServer server([&](const WireRequest& request) {
        if (++nNow > nLimit) {
            bTooMany = true;
        }
        Gate& gate = gates.at(nRound);
        if (++nSeen == nLimit) {
            gate.Open();
        }
        EXPECT_TRUE(gate.Wait()) << "fewer than the limit in round " << nRound;
        --nNow;
        return request.Target() == "/broken" ? Broken() : Ok();
    });
    for (; nRound < ROUNDS; ++nRound) {
        nSeen = 0;
        for (std::size_t nRequest = 0; nRequest < nLimit; ++nRequest) {
            Get(server.Url("/"));
            Post(server.Url("/"), "{}");
            Post(server.Url("/broken"), "{}");
            CHttpClientSendRequest(TYPE, server.Url("/"), "", nullptr, true, true, "no header line");
        }
        ASSERT_TRUE(m_replies.WaitFor((nRound + 1) * 4 * nLimit));
    }
    RepliesAfterShutdown(ROUNDS * 4 * nLimit);
    EXPECT_FALSE(bTooMany);
    EXPECT_THAT(m_replies.Errors(), testing::Contains(0).Times(ROUNDS * 2 * nLimit));
    EXPECT_THAT(m_replies.Errors(), testing::Contains(ResetError(-52)).Times(ROUNDS * nLimit));
    EXPECT_THAT(m_replies.Errors(), testing::Contains(-43).Times(ROUNDS * nLimit));
}

INSTANTIATE_TEST_SUITE_P(Connections, TransportConnectionLimit, testing::Values(1, 3, 50),
                         testing::PrintToStringParamName());

TEST_F(TransportConnections, ToOneHostAreAtMostEightByDefault)
{
    Start();
    const ScriptedServer server(Ok());
    for (int nRequest = 0; nRequest < 100; ++nRequest) {
        Get(server.Url("/"));
    }
    RepliesAfterShutdown(100);
    EXPECT_THAT(m_replies.Errors(), Each(0));
    EXPECT_THAT(server.Accepted(), Le(8U));
}

TEST_F(TransportConnections, AreCountedTogetherHoweverTheUrlNamesTheHost)
{
    Set("CHTTPCLIENT_HOST_CONNECTIONS", 1);
    Start();
    const ScriptedServer server(Ok());
    const std::string strServer = "127.0.0.1:" + std::to_string(server.Port());
    for (int nRound = 0; nRound < 10; ++nRound) {
        for (const std::string& strUrl :
             {"http://" + strServer, "http://" + strServer + "/x", "http://" + strServer + "?t=a://b",
              "HTTP://" + strServer + "/x", "http://user:password@" + strServer + "/x"}) {
            Get(strUrl);
        }
    }
    RepliesAfterShutdown(50);
    EXPECT_THAT(m_replies.Errors(), Each(0));
    EXPECT_EQ(server.Accepted(), 1U);
}

TEST_F(TransportConnections, ToASilentHostHoldUpNoOther)
{
    Start();
    ServerStep silent;
    silent.ending = ServerStep::Ending::Hold;
    const ScriptedServer serverSilent(silent);
    const ScriptedServer server(Ok());
    for (int nRequest = 0; nRequest < 20; ++nRequest) {
        Get(serverSilent.Url("/"));
    }
    ASSERT_TRUE(serverSilent.WaitForRequests(8));
    SendOneAfterTheOther(server, 20, false);
    EXPECT_THAT(m_replies.Errors(), Each(0));
}

// The server closes each connection right after its reply without announcing that, so the next request may be
// sent on it just then.
TEST_F(TransportConnections, ThatTheServerClosesWhenTheyAreIdleCostNoQuery)
{
    Start();
    const ScriptedServer server(ServerStep{HttpReply(200, "{}"), ServerStep::Ending::Close});
    SendOneAfterTheOther(server, 50, false);
    EXPECT_THAT(m_replies.Errors(), Each(0));
    EXPECT_EQ(server.Requests().size(), 50U);
}

TEST_F(TransportConnections, ThatTheServerClosedCostNoReport)
{
    constexpr std::size_t REPORTS = 50;
    Start();
    const ScriptedServer server(ServerStep{HttpReply(200, "{}"), ServerStep::Ending::Close});
    for (std::size_t nReport = 1; nReport <= REPORTS; ++nReport) {
        Post(server.Url("/"), "{}");
        ASSERT_TRUE(m_replies.WaitFor(nReport));
        ASSERT_TRUE(server.WaitForClosed(nReport));
    }
    EXPECT_THAT(m_replies.Errors(), Each(0));
    EXPECT_EQ(server.Requests().size(), REPORTS);
}

// Since the test does not wait for the closing, a report may coincide with it. It then fails, in one of the
// ways in which a connection can die, and the server has not received it.
TEST_F(TransportConnections, ThatTheServerClosesWhenTheyAreIdleNeverBringAReportTwice)
{
    Start();
    const ScriptedServer server(ServerStep{HttpReply(200, "{}"), ServerStep::Ending::Close});
    SendOneAfterTheOther(server, 50, true);
    const auto vecErrors = m_replies.Errors();
    EXPECT_THAT(vecErrors, Each(testing::AnyOf(0, -55, -56, -65)));
    EXPECT_EQ(server.Requests().size(),
              static_cast<std::size_t>(std::count(vecErrors.begin(), vecErrors.end(), 0)));
}

// The server resets a kept connection just when the next request arrives on it. libcurl then sends the
// request again on a new one. With a single handle, it would do so only a few times.
TEST_F(TransportConnections, ThatBreakWhenTheyAreUsedAgainAreReplacedHoweverOften)
{
    Start();
    std::atomic<std::size_t> nLastConnection{0};
    const ScriptedServer server([&](const WireRequest& request) {
        const bool bKept = nLastConnection.exchange(request.nConnection) == request.nConnection;
        return bKept ? Broken() : Ok();
    });
    SendOneAfterTheOther(server, 30, false);
    EXPECT_THAT(m_replies.Errors(), Each(0));
    EXPECT_EQ(server.Accepted(), 30U);
}

TEST_F(TransportConnections, ThatBrokeAreNotUsedAgain)
{
    Set("CHTTPCLIENT_POST_IDLE_MS", 60'000); // on a busy machine more than half a second may pass
    Start();
    const ScriptedServer server(std::vector<ServerStep>{Broken(), Ok()});
    SendOneAfterTheOther(server, 3, true);
    EXPECT_THAT(m_replies.Errors(), testing::ElementsAre(ResetError(-52), 0, 0));
    EXPECT_EQ(server.Accepted(), 2U);
}

// After a restart of the server, kept connections are closed by the old process. Neither they nor the
// requests refused meanwhile may make later requests fail.
TEST_F(TransportConnections, ToAServerThatWasRestartedAreNew)
{
    Start();
    LabServerOptions options;
    options.strAddress = "127.0.0.2"; // where no other connection takes the port while it is free
    options.nPort = RefusingPort().Port();
    const std::string strUrl = "http://" + options.strAddress + ":" + std::to_string(options.nPort) +
                               "/vomd/system/incubatorStatus.action";
    const auto Report = [this, &strUrl] {
        const std::size_t nReplies = m_replies.All().size() + 1;
        Post(strUrl, R"({"name": "X", "status": "busy", "temperature": 25})");
        ASSERT_TRUE(m_replies.WaitFor(nReplies));
    };
    std::vector<int> vecExpected;
    for (int nRestart = 0; nRestart < 10; ++nRestart) {
        LabServer server(options);
        server.Start();
        Report();
        server.Stop();
        Report();
        vecExpected.insert(vecExpected.end(), {0, -7});
        EXPECT_EQ(server.Exchanges().size(), 1U);
    }
    EXPECT_EQ(m_replies.Errors(), vecExpected);
}
