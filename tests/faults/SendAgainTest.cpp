#include "EachConnection.h"
#include "Wine.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <chrono>
#include <ostream>
#include <thread>

using namespace std::chrono_literals;
using testing::AnyOf;
using testing::ElementsAre;
using testing::SizeIs;
using Ending = ServerStep::Ending;

namespace
{

constexpr std::size_t MEGABYTE = 1'000'000;

ServerStep Gone(Ending ending)
{
    ServerStep step;
    step.ending = ending;
    return step;
}

} // namespace

/// A connection that dies during a request: what the server may have read, how the connection ends, and how
/// large the request is.
struct DyingConnection {
    const char* szName;
    ScriptedServer::Answers answers; ///< `Beginnings`: it dies when a part of the request was read
    Ending ending;
    std::size_t nBodyBytes;

    friend void PrintTo(const DyingConnection& row, std::ostream* pOut) { *pOut << row.szName; }
};

class TransportSendAgain : public TransportInTurn, public testing::WithParamInterface<DyingConnection>
{
protected:
    static constexpr std::size_t ROUNDS = 2; // what one loss leaves behind may harm the next request

    /// The server ends the connection when such a target is requested for the first time.
    static std::string DeadlyTarget(std::size_t nRound) { return "/deadly" + std::to_string(nRound); }

    ScriptedServer::Script Script()
    {
        return [this](const WireRequest& request) {
            const bool bDies = request.Target() == DeadlyTarget(m_nDeaths);
            m_nDeaths += bDies ? 1 : 0;
            return bDies ? Gone(GetParam().ending) : WellBut(Ok())(request);
        };
    }

    std::size_t BodyBytes() const { return GetParam().nBodyBytes; }
    std::string Body() const { return std::string(BodyBytes(), 'x'); }

private:
    std::atomic<std::size_t> m_nDeaths{0};
};

// The server may have acted on a report whose answer is lost; sent again, the report would count twice. A
// report without a body, which libcurl would send again, uses a new connection to avoid that.
TEST_P(TransportSendAgain, IsNotDoneToAReportThatTheServerMayHaveSeen)
{
    if (GetParam().ending == Ending::Reset && RunsUnderWine()) {
        GTEST_SKIP() << "Wine does not report resets to programs";
    }
    Start();
    const ScriptedServer server(Script(), GetParam().answers);
    for (std::size_t nRound = 0; nRound < ROUNDS; ++nRound) {
        const std::size_t nKept = ServeWell(server);
        const std::size_t nNew = server.Accepted() + 1;
        const ReceivedReply reply = Exchange(server.Url(DeadlyTarget(nRound)), true, Body());
        if (BodyBytes() == 0) {
            EXPECT_EQ(reply.nHttpError, GetParam().ending == Ending::Close ? -52 : -56);
        } else if (GetParam().answers == ScriptedServer::Answers::Beginnings) {
            EXPECT_THAT(reply.nHttpError, AnyOf(-55, -65)); // noticed while sending, or while receiving
        } else {
            EXPECT_EQ(reply.nHttpError, -65);
        }
        EXPECT_THAT(ConnectionsOf(server, DeadlyTarget(nRound)),
                    ElementsAre(BodyBytes() == 0 ? nNew : nKept));
    }
    ExpectNoMoreReplies();
}

TEST_P(TransportSendAgain, IsDoneToAQuery)
{
    Start();
    const ScriptedServer server(Script(), GetParam().answers);
    for (std::size_t nRound = 0; nRound < ROUNDS; ++nRound) {
        const std::size_t nKept = ServeWell(server);
        const ReceivedReply reply = Exchange(server.Url(DeadlyTarget(nRound)), false, Body());
        EXPECT_EQ(reply.nHttpError, 0);
        EXPECT_THAT(ConnectionsOf(server, DeadlyTarget(nRound)), ElementsAre(nKept, nKept + 1));
    }
    ExpectNoMoreReplies();
}

INSTANTIATE_TEST_SUITE_P(
    Connections, TransportSendAgain,
    testing::Values(
        DyingConnection{"ClosedAfterAnEmptyRequest", ScriptedServer::Answers::Requests, Ending::Close, 0},
        DyingConnection{"BrokenAfterAnEmptyRequest", ScriptedServer::Answers::Requests, Ending::Reset, 0},
        DyingConnection{"ClosedAfterASmallRequest", ScriptedServer::Answers::Requests, Ending::Close, 2},
        DyingConnection{"BrokenAfterASmallRequest", ScriptedServer::Answers::Requests, Ending::Reset, 2},
        DyingConnection{"ClosedAfterALargeRequest", ScriptedServer::Answers::Requests, Ending::Close,
                        20 * MEGABYTE},
        DyingConnection{"BrokenAfterALargeRequest", ScriptedServer::Answers::Requests, Ending::Reset,
                        20 * MEGABYTE},
        DyingConnection{"ClosedInALargeRequest", ScriptedServer::Answers::Beginnings, Ending::Close,
                        20 * MEGABYTE},
        DyingConnection{"BrokenInALargeRequest", ScriptedServer::Answers::Beginnings, Ending::Reset,
                        20 * MEGABYTE}),
    testing::PrintToStringParamName());

/// What happens to kept connections that are idle.
class TransportIdleConnection : public TransportTest
{
protected:
    /// Sends two requests with a pause after the reply to the first.
    void SendTwo(const ScriptedServer& server, bool bPost, std::chrono::milliseconds pause)
    {
        Start();
        for (std::size_t nRequest = 1; nRequest <= 2; ++nRequest) {
            CHttpClientSendRequest(TYPE, server.Url("/"), "{}", nullptr, bPost, false, "");
            ASSERT_TRUE(m_replies.WaitFor(nRequest));
            std::this_thread::sleep_for(nRequest == 1 ? pause : 0ms); // the age itself is what is tested
        }
        RepliesAfterShutdown(2);
        EXPECT_THAT(m_replies.Errors(), ElementsAre(0, 0));
        EXPECT_THAT(server.Requests(), SizeIs(2));
    }
};

// Servers close connections that were idle for a second or more. If one closes just as we send, a report is
// lost.
TEST_F(TransportIdleConnection, OfHalfASecondIsNotUsedByAReport)
{
    const ScriptedServer server(Ok());
    SendTwo(server, true, 500ms);
    EXPECT_EQ(server.Accepted(), 2U);
}

TEST_F(TransportIdleConnection, OfLessThanIsSetIsUsedByAReport)
{
    Set("CHTTPCLIENT_POST_IDLE_MS", 3'500);
    const ScriptedServer server(Ok());
    SendTwo(server, true, 500ms);
    EXPECT_EQ(server.Accepted(), 1U);
}

TEST_F(TransportIdleConnection, OfHalfASecondIsUsedByAQuery)
{
    const ScriptedServer server(Ok());
    SendTwo(server, false, 500ms);
    EXPECT_EQ(server.Accepted(), 1U);
}

TEST_F(TransportIdleConnection, IsNeverUsedByAReportWhereTheSettingIsZero)
{
    Set("CHTTPCLIENT_POST_IDLE_MS", 0L);
    const ScriptedServer server(Ok());
    SendTwo(server, true, 0ms);
    EXPECT_EQ(server.Accepted(), 2U);
}

// The server may count idle time from the beginning of its reply, while the rest waits in its buffers.
TEST_F(TransportIdleConnection, IsIdleFromTheBeginningOfAReplyOn)
{
    const std::string strReply = HttpReply(200, "{}");
    ServerStep slow;
    slow.strReply = strReply.substr(0, strReply.size() - 1);
    slow.strEndless = strReply.back();
    slow.pause = 1'500ms; // far more than the limit: a busy machine may read the beginning late
    const ScriptedServer server({slow, Ok()});
    Set("CHTTPCLIENT_POST_IDLE_MS", 100);
    SendTwo(server, true, 0ms);
    EXPECT_EQ(server.Accepted(), 2U);
}

// Some servers send a 408 before they close an idle connection. That is not a reply to any request.
TEST_F(TransportIdleConnection, IsNotUsedOnceTheServerHasSpokenUnasked)
{
    ServerStep farewell = Ok();
    farewell.strEndless = HttpReply(408, "");
    farewell.pause = 1ms;
    const ScriptedServer server({farewell, Ok()});
    SendTwo(server, false, 500ms);
    EXPECT_EQ(server.Accepted(), 2U);
}

TEST_F(TransportIdleConnection, IsClosedThoughNoRequestComesEachTime)
{
    constexpr std::size_t TIMES = 2;
    Start();
    const ScriptedServer server(Ok());
    for (std::size_t nTime = 1; nTime <= TIMES; ++nTime) {
        const auto tpSent = std::chrono::steady_clock::now();
        Get(server.Url("/"));
        ASSERT_TRUE(server.WaitForClosed(nTime));
        EXPECT_GE(std::chrono::steady_clock::now() - tpSent, 4s);
    }
    EXPECT_EQ(server.Accepted(), TIMES);
    RepliesAfterShutdown(TIMES);
}

// The thread that received the reply is in the receiver. Before the first time the other one has never been
// used; before the second it knows that there is no connection to close.
TEST_F(TransportIdleConnection, IsClosedThoughAReceiverBlocksEachTime)
{
    constexpr std::size_t TIMES = 2;
    std::array<Gate, TIMES> gates;
    std::size_t nCalls = 0;
    CHttpClientSetResponseCallBack(
        [&](const std::string&, int, void*, int) { EXPECT_TRUE(gates.at(nCalls++).Wait()); });
    ASSERT_TRUE(CHttpClientInit());
    const ScriptedServer server(Ok());
    for (std::size_t nTime = 1; nTime <= TIMES; ++nTime) {
        Get(server.Url("/"));
        EXPECT_TRUE(server.WaitForClosed(nTime));
        gates.at(nTime - 1).Open();
    }
    CHttpClientUnInit();
}

// When a kept connection dies, libcurl sends its query again by itself: here on another kept connection, on
// which the server has sent unsolicited bytes. So the query moves to a new connection, within its original
// time-out.
TEST_F(TransportIdleConnection, ThatIsReplacedLateGivesItsRequestNoMoreTime)
{
    constexpr auto TIMEOUT = 3000ms;
    constexpr auto DEATH = 1500ms;
    Set("CHTTPCLIENT_TIMEOUT_MS", TIMEOUT.count());
    Start();
    std::atomic<int> nFirst{0};
    const ScriptedServer server([&](const WireRequest& request) {
        if (request.Target() == "/first") {
            for (++nFirst; nFirst < 2;) { // so that each gets a connection
                std::this_thread::sleep_for(1ms);
            }
            ServerStep step = Ok();
            step.strEndless = request.nConnection == 2 ? HttpReply(408, "") : "";
            step.pause = 100ms;
            return step;
        }
        ServerStep step = Silent();
        if (request.nConnection == 1) {
            step.delay = DEATH;
            step.ending = Ending::Close;
        }
        return step;
    });
    Get(server.Url("/first"));
    Get(server.Url("/first"));
    ASSERT_TRUE(m_replies.WaitFor(2));
    const auto tpSent = std::chrono::steady_clock::now();
    Get(server.Url("/second"));
    ASSERT_TRUE(m_replies.WaitFor(3));
    const auto duration = std::chrono::steady_clock::now() - tpSent;
    RepliesAfterShutdown(3);
    EXPECT_THAT(m_replies.Errors(), ElementsAre(0, 0, -28));
    EXPECT_THAT(server.Requests(), SizeIs(4));
    EXPECT_EQ(server.Accepted(), 3U);
    EXPECT_GE(duration, TIMEOUT);
    EXPECT_LT(duration, DEATH + TIMEOUT);
}
