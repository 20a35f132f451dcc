#include "EachConnection.h"
#include "Packed.h"
#include "ServerSteps.h"
#include "Wine.h"

#include <gmock/gmock.h>

#include <memory>
#include <ostream>
#include <utility>

using namespace std::string_literals;
using namespace std::chrono_literals;
using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;
using Ending = ServerStep::Ending;

namespace
{

constexpr std::size_t MAX_REPLY = 1000;
constexpr int TIMED_OUT = -28;
constexpr int LOST_REPORT = -65;

} // namespace

/// What the server does, and what the callback must get.
struct Outcome {
    Outcome(const char* szGivenName, ServerStep step, int nError, std::string strReplyBody)
        : szName(szGivenName),
          pStep(std::make_shared<const ServerStep>(std::move(step))),
          nHttpError(nError),
          strBody(std::move(strReplyBody))
    {
    }

    const char* szName;
    std::shared_ptr<const ServerStep> pStep; ///< shared, because every process of a test copies all rows
    int nHttpError;
    std::string strBody;

    friend void PrintTo(const Outcome& row, std::ostream* pOut) { *pOut << row.szName; }
};

class TransportOutcome : public TransportOnEachConnection<Outcome>
{
protected:
    void ExpectOutcome(bool bPost)
    {
        if (ServerHangsUp() && HasServed() && TheRow().pStep->ending == Ending::Reset && RunsUnderWine()) {
            GTEST_SKIP() << "Wine does not report resets to programs";
        }
        SetTimes();
        Set("CHTTPCLIENT_MAX_REPLY_BYTES", MAX_REPLY);
        Start();
        const ScriptedServer server(WellBut(*TheRow().pStep));
        for (int nRound = 0; nRound < Rounds(); ++nRound) {
            const std::size_t nConnection = HasServed() ? ServeWell(server) : 1;
            const std::string strTarget = "/vomd/" + std::to_string(nRound);
            const ReceivedReply reply = Exchange(server.Url(strTarget), bPost);
            EXPECT_EQ(reply.nHttpError, ErrorOf(bPost));
            EXPECT_EQ(reply.strBody, TheRow().strBody);
            EXPECT_THAT(ConnectionsOf(server, strTarget), ConnectionsOfA(bPost, nConnection));
        }
        if (HasServed()) {
            ServeWell(server);
        }
        ExpectNoMoreReplies();
    }

private:
    static bool TimesOut() { return TheRow().nHttpError == TIMED_OUT; }

    /// Whether the server ends the connection without answering a byte. On a used connection, a report then
    /// fails and a query is sent again.
    static bool ServerHangsUp()
    {
        const ServerStep& step = *TheRow().pStep;
        return step.strReply.empty() && (step.ending == Ending::Close || step.ending == Ending::Reset);
    }

    // However slow the machine, the time-out ends only the requests that it should end.
    void SetTimes()
    {
        if (TimesOut()) {
            SetShortTime("CHTTPCLIENT_TIMEOUT_MS", 300);
        } else {
            Set("CHTTPCLIENT_TIMEOUT_MS", 30'000);
        }
    }

    static int ErrorOf(bool bPost)
    {
        return bPost && HasServed() && ServerHangsUp() ? LOST_REPORT : TheRow().nHttpError;
    }

    /// The connections expected for a request: it is sent once, over the existing connection.
    static testing::Matcher<std::vector<std::size_t>> ConnectionsOfA(bool bPost, std::size_t nConnection)
    {
        if (TimesOut()) {
            return AnyOf(ElementsAre(nConnection), IsEmpty()); // it may not have been sent completely
        }
        if (!bPost && HasServed() && ServerHangsUp()) {
            return ElementsAre(nConnection, nConnection + 1);
        }
        return ElementsAre(nConnection);
    }
};

TEST_P(TransportOutcome, OfAGetReachesTheCallbackOnce)
{
    ExpectOutcome(false);
}

TEST_P(TransportOutcome, OfAPostReachesTheCallbackOnce)
{
    ExpectOutcome(true);
}

INSTANTIATE_TEST_SUITE_P(
    Statuses, TransportOutcome,
    OnEachConnection(testing::Values(
        Outcome{"Ok", Step(HttpReply(200, "{\"code\":0}")), 0, "{\"code\":0}"},
        Outcome{"NoContent", Step("HTTP/1.1 204 No Content\r\n\r\n"), 0, ""},
        Outcome{"LastOfTheGoodOnes", Step(HttpReply(299, "body")), 0, "body"},
        Outcome{"FirstAfterTheGoodOnes", Step(HttpReply(300, "body")), 300, "body"},
        Outcome{"MovedIsNotFollowed", Step(HttpReply(301, "moved", "Location: /elsewhere\r\n")), 301,
                "moved"},
        Outcome{"NotModified", Step("HTTP/1.1 304 Not Modified\r\n\r\n"), 304, ""},
        Outcome{"Unauthorized", Step(HttpReply(401, "who", "WWW-Authenticate: Basic realm=\"lab\"\r\n")), 401,
                "who"},
        Outcome{"NotFound", Step(HttpReply(404, "<html>404</html>")), 404, "<html>404</html>"},
        Outcome{"ServerError", Step(HttpReply(500, "oops")), 500, "oops"},
        Outcome{"BadGateway", Step(HttpReply(502, "<html>502 Bad Gateway</html>")), 502,
                "<html>502 Bad Gateway</html>"},
        Outcome{"BadGatewayInOtherWords", Step(HttpReply(502, "{\"code\":0}")), 502, "{\"code\":0}"})),
    NameOnEachConnection());

INSTANTIATE_TEST_SUITE_P(
    Bodies, TransportOutcome,
    OnEachConnection(testing::Values(
        Outcome{"EndingWithTheConnection", Step("HTTP/1.1 200 OK\r\n\r\nall of it", Ending::Close), 0,
                "all of it"},
        Outcome{"Chunked", Step(Chunked("4\r\nin p\r\n5\r\nieces\r\n0\r\n\r\n")), 0, "in pieces"},
        Outcome{"ChunkedWithATrailer", Step(Chunked("4\r\nbody\r\n0\r\nX-Sum: 1\r\n\r\n")), 0, "body"},
        Outcome{"ByteByByte", ByteByByte(HttpReply(200, "a byte a segment")), 0, "a byte a segment"},
        Outcome{"WithANulByte", Step(HttpReply(200, "a\0b"s)), 0, "a\0b"s},
        Outcome{"WithMoreBytesThanPromised", Step(HttpReply(200, "right") + "wrong", Ending::Close), 0,
                "right"},
        Outcome{"OfAVersionThatIsNone", // libcurl takes it for HTTP/1.0
                Step("HTTP/banana 200 OK\r\n\r\nbody", Ending::Close), 0, "body"},
        Outcome{"AfterManyInterimReplies",
                Step(Repeated("HTTP/1.1 102 Processing\r\n\r\n", 500) + HttpReply(200, "at last")), 0,
                "at last"},
        Outcome{"Late", Late(50ms, HttpReply(200, "late")), 0, "late"},
        Outcome{"AsLargeAsMayBe", Step(HttpReply(200, std::string(MAX_REPLY, 'x'))), 0,
                std::string(MAX_REPLY, 'x')})),
    NameOnEachConnection());

// -56, a failure in receiving, stands for a reset and for unreadable chunks alike. A first line that is not
// HTTP is an unsupported protocol, -1.
INSTANTIATE_TEST_SUITE_P(
    Faults, TransportOutcome,
    OnEachConnection(testing::Values(
        Outcome{"Silence", Step("", Ending::Hold), -28, ""},
        Outcome{"AnswerAfterTheTimeout", Late(1min, HttpReply(200, "")), TIMED_OUT, ""},
        Outcome{"SilenceInMidHeader", Step("HTTP/1.1 200 OK\r\nContent-Le", Ending::Hold), -28, ""},
        Outcome{"SilenceInMidBody", Step(HalfReply(), Ending::Hold), -28, ""},
        Outcome{"ClosedWithoutReply", Step("", Ending::Close), -52, ""},
        Outcome{"ClosedInMidHeader", Step("HTTP/1.1 200 OK\r\nContent-Le", Ending::Close), -18, ""},
        Outcome{"ClosedInMidHeaderAfterAnInterimReply",
                Step("HTTP/1.1 102 Processing\r\n\r\nHTTP/1.1 200 OK\r\nContent-Le", Ending::Close), -18, ""},
        Outcome{"ClosedAfterAnInterimReply", Step("HTTP/1.1 102 Processing\r\n\r\n", Ending::Close), -52, ""},
        Outcome{"ResetInMidHeader", Step("HTTP/1.1 200 OK\r\nContent-Le", Ending::Reset), ResetError(-18),
                ""},
        Outcome{"NegativeLength", Step("HTTP/1.1 200 OK\r\nContent-Length: -5\r\n\r\nhalf"), -8, ""},
        Outcome{"ClosedInMidBody", Step(HalfReply(), Ending::Close), -18, ""},
        Outcome{"ClosedInMidChunk", Step(Chunked("a\r\nhalf"), Ending::Close), -18, ""},
        Outcome{"ClosedBeforeTheLastChunk", Step(Chunked("4\r\nhalf\r\n"), Ending::Close), -18, ""},
        Outcome{"ResetWithoutReply", Step("", Ending::Reset), ResetError(-52), ""},
        Outcome{"ResetInMidBody", Step(HalfReply(), Ending::Reset), ResetError(-18), ""},
        Outcome{"ChunkWithoutSize", Step(Chunked("no size\r\n")), -56, ""},
        Outcome{"ChunkWithoutEnd", Step(Chunked("4\r\nhalf, and more\r\n0\r\n\r\n")), -56, ""},
        Outcome{"NoHttp", Step("SSH-2.0-OpenSSH_9.2\r\n", Ending::Close), -1, ""},
        Outcome{"BrokenCompression", Step(HttpReply(200, "this is no gzip", "Content-Encoding: gzip\r\n")),
                -61, ""},
        Outcome{"EndlessHeader",
                Step("HTTP/1.1 200 OK\r\n" + Repeated("X-More: " + std::string(1000, 'x') + "\r\n", 1000)),
                -63, ""},
        Outcome{"TooLarge", Step(HttpReply(200, std::string(MAX_REPLY + 1, 'x'))), -63, ""},
        Outcome{"TooLargeInChunks",
                Step(Chunked(Repeated("64\r\n" + std::string(100, 'x') + "\r\n", 11) + "0\r\n\r\n")), -63,
                ""},
        Outcome{"TooLargeUnpacked",
                Step(HttpReply(200, Gzipped(std::string(100'000, 'x')), "Content-Encoding: gzip\r\n")), -63,
                ""},
        Outcome{"StatusThatIsNoNumber", Step("HTTP/1.1 fine\r\n\r\nbody", Ending::Close), -1, ""},
        Outcome{"VersionOfTheFuture", Step("HTTP/9.9 200 OK\r\n\r\nbody", Ending::Close), -1, ""},
        Outcome{"StatusOfFourDigits", Step("HTTP/1.1 2000 OK\r\n\r\nbody", Ending::Close), -1, ""},
        Outcome{"StatusBelowAllOthers", Step("HTTP/1.1 099 OK\r\n\r\nbody", Ending::Close), -1, ""},
        Outcome{"TooLargeWithAnErrorStatus", Step(HttpReply(500, std::string(MAX_REPLY + 1, 'x'))), -63,
                ""})),
    NameOnEachConnection());

// We end a reply that never ends, quick or slow: by the size limit or by the time-out.
INSTANTIATE_TEST_SUITE_P(
    Endless, TransportOutcome,
    OnEachConnection(testing::Values(
        Outcome{"InterimReplies", Endless("", "HTTP/1.1 102 Processing\r\n\r\n"), -63, ""},
        Outcome{"InterimRepliesSlowly", Drip("", "HTTP/1.1 102 Processing\r\n\r\n"), -28, ""},
        Outcome{"HeaderLines", Endless("HTTP/1.1 200 OK\r\n", "X-More: and more\r\n"), -63, ""},
        Outcome{"HeaderLinesSlowly", Drip("HTTP/1.1 200 OK\r\n", "X-More: and more\r\n"), -28, ""},
        Outcome{"HeaderLine", Endless("HTTP/1.1 200 OK\r\nX-More: ", "and more "), -27, ""},
        Outcome{"StatusLine", Endless("HTTP/1.1 200 ", "OK "), -27, ""},
        Outcome{"Body", Endless("HTTP/1.1 200 OK\r\n\r\n", "and more "), -63, ""},
        Outcome{"BodySlowly", Drip("HTTP/1.1 200 OK\r\n\r\n", "x"), -28, ""},
        Outcome{"Chunks", Endless(Chunked(""), "1\r\nx\r\n"), -63, ""},
        Outcome{"ChunksSlowly", Drip(Chunked(""), "1\r\nx\r\n"), -28, ""},
        Outcome{"Trailer", Endless(Chunked("1\r\nx\r\n0\r\n"), "X-More: and more\r\n"), -63, ""})),
    NameOnEachConnection());

/// Replies followed by surplus bytes, on a connection that is kept. The next request, which is already
/// waiting, must not be answered with these bytes.
class TransportLeftover : public TransportOutcome
{
};

TEST_P(TransportLeftover, AnswersNoOtherRequest)
{
    Start();
    const ScriptedServer server(WellBut(*TheRow().pStep));
    for (int nRound = 0; nRound < Rounds(); ++nRound) {
        const std::size_t nConnection = HasServed() ? ServeWell(server) : 1;
        const std::string strTarget = "/vomd/" + std::to_string(nRound);
        const std::size_t nRequest = Send(server.Url(strTarget), true);
        const ReceivedReply next = Exchange(server.Url("/good/next"), true); // waits for both
        const ReceivedReply reply = AnswerTo(nRequest);
        EXPECT_EQ(reply.nHttpError, TheRow().nHttpError);
        EXPECT_EQ(reply.strBody, TheRow().strBody);
        EXPECT_THAT(ConnectionsOf(server, strTarget), ElementsAre(nConnection));
        EXPECT_EQ(next.nHttpError, 0);
        EXPECT_EQ(next.strBody, "{}");
    }
    ExpectNoMoreReplies();
}

INSTANTIATE_TEST_SUITE_P(
    Bytes, TransportLeftover,
    OnEachConnection(testing::Values(
        Outcome{"BehindTheLength", Step(HttpReply(200, "right") + HttpReply(200, "wrong")), 0, "right"},
        Outcome{"BehindTheLastChunk", Step(Chunked("5\r\nright\r\n0\r\n\r\n") + HttpReply(200, "wrong")), 0,
                "right"},
        Outcome{"BehindNoContent", Step("HTTP/1.1 204 No Content\r\nContent-Length: 5\r\n\r\nwrong"), 0, ""},
        Outcome{"BehindNotModified", Step("HTTP/1.1 304 Not Modified\r\nContent-Length: 5\r\n\r\nwrong"), 304,
                ""})),
    NameOnEachConnection());

TEST_F(TransportTest, AConnectionThatNobodyAnswersEndsWithTheTimeToConnect)
{
    Set("CHTTPCLIENT_CONNECT_TIMEOUT_MS", 300);
    Start();
    const BlackHolePort blackHole;
    for (int nRequest = 0; nRequest < 20; ++nRequest) {
        Get("http://127.0.0.1:" + std::to_string(blackHole.Port()) + "/vomd/x");
    }
    RepliesAfterShutdown(20);
    EXPECT_THAT(m_replies.Errors(), testing::Each(-28));
}

TEST_F(TransportTest, BeforeItsStartEveryRequestIsRefused)
{
    CHttpClientSetResponseCallBack(Keeper());
    const ScriptedServer server(Step(HttpReply(200, "")));
    Tokens tokens(3);
    for (std::size_t nRequest = 0; nRequest < 3; ++nRequest) {
        Get(server.Url("/"), tokens.At(nRequest));
    }
    RepliesAfterShutdown(3);
    EXPECT_THAT(m_replies.Errors(), testing::Each(-2));
    EXPECT_THAT(m_replies.UserData(), testing::UnorderedElementsAreArray(tokens.All()));
    EXPECT_EQ(server.Accepted(), 0U);
}
