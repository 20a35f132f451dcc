#include "TransportTest.h"

#include <gmock/gmock.h>

#include <ostream>

using namespace std::string_literals;
using namespace std::chrono_literals;
using testing::IsEmpty;
using testing::SizeIs;
using Ending = ServerStep::Ending;

namespace
{

constexpr std::size_t MAX_REPLY = 1000;
constexpr long TIMEOUT_MS = 300;

/// 100,000 times the letter x, compressed by gzip.
const std::string& GzippedLetters()
{
    static const std::string BYTES =
        "\x1f\x8b\x08\0\0\0\0\0\x02\x03\xed\xc1\x31\x01\0\0\0\xc2\xa0\xda\x8b\x6f"
        "\x0d\x0f\xa0"s +
        std::string(96, '\0') + "\x80\x57\x03\x71\x11\x07\xfe\xa0\x86\x01\0"s;
    return BYTES;
}

std::string Chunked(const std::string& strChunks)
{
    return "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + strChunks;
}

/// A reply that promises a body of 100 bytes and begins it.
std::string HalfReply()
{
    return "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf a body";
}

std::string Repeated(const std::string& strText, std::size_t nTimes)
{
    std::string strAll;
    for (std::size_t nTime = 0; nTime < nTimes; ++nTime) {
        strAll += strText;
    }
    return strAll;
}

ServerStep Step(std::string strReply, Ending ending = Ending::KeepAlive)
{
    ServerStep step;
    step.strReply = std::move(strReply);
    step.ending = ending;
    return step;
}

ServerStep ByteByByte(std::string strReply)
{
    ServerStep step = Step(std::move(strReply));
    step.bByteByByte = true;
    return step;
}

ServerStep Late(std::chrono::milliseconds delay, std::string strReply)
{
    ServerStep step = Step(std::move(strReply));
    step.delay = delay;
    return step;
}

} // namespace

/// What the server does, and what the callback is to hear of it.
struct Outcome {
    const char* szName;
    ServerStep step;
    int nHttpError;
    std::string strBody;

    friend void PrintTo(const Outcome& row, std::ostream* pOut) { *pOut << row.szName; }
};

class TransportOutcome : public TransportTest, public testing::WithParamInterface<Outcome>
{
protected:
    void ExpectOutcome(bool bPost)
    {
        Set("CHTTPCLIENT_TIMEOUT_MS", TIMEOUT_MS);
        Set("CHTTPCLIENT_MAX_REPLY_BYTES", MAX_REPLY);
        Start();
        const ScriptedServer server(GetParam().step);
        Tokens tokens(1);
        CHttpClientSendRequest(TYPE, server.Url("/vomd/x"), "{}", tokens.At(0), bPost, false, "");
        for (const ReceivedReply& reply : RepliesAfterShutdown(1)) {
            EXPECT_EQ(reply.nHttpError, GetParam().nHttpError);
            EXPECT_EQ(reply.strBody, GetParam().strBody);
            EXPECT_EQ(reply.nType, TYPE);
            EXPECT_EQ(reply.pUserData, tokens.At(0));
        }
        EXPECT_THAT(server.Requests(), SizeIs(1)) << "a request must be sent once";
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
    testing::Values(Outcome{"Ok", Step(HttpReply(200, "{\"code\":0}")), 0, "{\"code\":0}"},
                    Outcome{"NoContent", Step("HTTP/1.1 204 No Content\r\n\r\n"), 0, ""},
                    Outcome{"LastOfTheGoodOnes", Step(HttpReply(299, "body")), 0, "body"},
                    Outcome{"FirstAfterTheGoodOnes", Step(HttpReply(300, "body")), 300, "body"},
                    Outcome{"MovedIsNotFollowed", Step(HttpReply(301, "moved", "Location: /elsewhere\r\n")),
                            301, "moved"},
                    Outcome{"NotModified", Step("HTTP/1.1 304 Not Modified\r\n\r\n"), 304, ""},
                    Outcome{"Unauthorized",
                            Step(HttpReply(401, "who", "WWW-Authenticate: Basic realm=\"lab\"\r\n")), 401,
                            "who"},
                    Outcome{"NotFound", Step(HttpReply(404, "<html>404</html>")), 404, "<html>404</html>"},
                    Outcome{"ServerError", Step(HttpReply(500, "oops")), 500, "oops"},
                    Outcome{"BadGateway", Step(HttpReply(502, "<html>502 Bad Gateway</html>")), 502,
                            "<html>502 Bad Gateway</html>"}),
    testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(
    Bodies, TransportOutcome,
    testing::Values(
        Outcome{"EndingWithTheConnection", Step("HTTP/1.1 200 OK\r\n\r\nall of it", Ending::Close), 0,
                "all of it"},
        Outcome{"Chunked", Step(Chunked("4\r\nin p\r\n5\r\nieces\r\n0\r\n\r\n")), 0, "in pieces"},
        Outcome{"ChunkedWithATrailer", Step(Chunked("4\r\nbody\r\n0\r\nX-Sum: 1\r\n\r\n")), 0, "body"},
        Outcome{"ByteByByte", ByteByByte(HttpReply(200, "a byte a segment")), 0, "a byte a segment"},
        Outcome{"WithANulByte", Step(HttpReply(200, "a\0b"s)), 0, "a\0b"s},
        Outcome{"WithMoreBytesThanPromised", Step(HttpReply(200, "right") + "wrong", Ending::Close), 0,
                "right"},
        Outcome{"AfterManyInterimReplies",
                Step(Repeated("HTTP/1.1 102 Processing\r\n\r\n", 500) + HttpReply(200, "at last")), 0,
                "at last"},
        Outcome{"Late", Late(50ms, HttpReply(200, "late")), 0, "late"},
        Outcome{"AsLargeAsMayBe", Step(HttpReply(200, std::string(MAX_REPLY, 'x'))), 0,
                std::string(MAX_REPLY, 'x')}),
    testing::PrintToStringParamName());

// -56, a failure in receiving, stands for a reset and for chunks that can't be read; libcurl makes no
// difference. A first line that is no HTTP is a protocol that we don't speak, -1.
INSTANTIATE_TEST_SUITE_P(
    Faults, TransportOutcome,
    testing::Values(
        Outcome{"Silence", Step("", Ending::Hold), -28, ""},
        Outcome{"AnswerAfterTheTimeout", Late(10 * std::chrono::milliseconds(TIMEOUT_MS), HttpReply(200, "")),
                -28, ""},
        Outcome{"SilenceInMidHeader", Step("HTTP/1.1 200 OK\r\nContent-Le", Ending::Hold), -28, ""},
        Outcome{"SilenceInMidBody", Step(HalfReply(), Ending::Hold), -28, ""},
        Outcome{"ClosedWithoutReply", Step("", Ending::Close), -52, ""},
        Outcome{"ClosedInMidHeader", Step("HTTP/1.1 200 OK\r\nContent-Le", Ending::Close), -18, ""},
        Outcome{"ClosedAfterAnInterimReply", Step("HTTP/1.1 102 Processing\r\n\r\n", Ending::Close), -52, ""},
        Outcome{"ResetInMidHeader", Step("HTTP/1.1 200 OK\r\nContent-Le", Ending::Reset), -56, ""},
        Outcome{"NegativeLength", Step("HTTP/1.1 200 OK\r\nContent-Length: -5\r\n\r\nhalf"), -8, ""},
        Outcome{"ClosedInMidBody", Step(HalfReply(), Ending::Close), -18, ""},
        Outcome{"ClosedInMidChunk", Step(Chunked("a\r\nhalf"), Ending::Close), -18, ""},
        Outcome{"ClosedBeforeTheLastChunk", Step(Chunked("4\r\nhalf\r\n"), Ending::Close), -18, ""},
        Outcome{"ResetWithoutReply", Step("", Ending::Reset), -56, ""},
        Outcome{"ResetInMidBody", Step(HalfReply(), Ending::Reset), -56, ""},
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
        Outcome{"TooLargeUnpacked", Step(HttpReply(200, GzippedLetters(), "Content-Encoding: gzip\r\n")), -63,
                ""},
        Outcome{"TooLargeWithAnErrorStatus", Step(HttpReply(500, std::string(MAX_REPLY + 1, 'x'))), -63, ""}),
    testing::PrintToStringParamName());

TEST_F(TransportTest, ACompressedReplyIsUnpacked)
{
    Start();
    const ScriptedServer server(Step(HttpReply(200, GzippedLetters(), "Content-Encoding: gzip\r\n")));
    Get(server.Url("/"));
    for (const ReceivedReply& reply : RepliesAfterShutdown(1)) {
        EXPECT_EQ(reply.nHttpError, 0);
        EXPECT_EQ(reply.strBody, std::string(100'000, 'x'));
    }
}

TEST_F(TransportTest, ARefusedConnectionIsReportedOnce)
{
    Start();
    const RefusingPort refusing;
    Tokens tokens(1);
    Get("http://127.0.0.1:" + std::to_string(refusing.Port()) + "/vomd/x", tokens.At(0));
    for (const ReceivedReply& reply : RepliesAfterShutdown(1)) {
        EXPECT_EQ(reply.nHttpError, -7);
        EXPECT_EQ(reply.strBody, "");
        EXPECT_EQ(reply.pUserData, tokens.At(0));
    }
}

/// A URL that leads nowhere, and the error that its callback gets.
struct UselessUrl {
    const char* szUrl;
    int nHttpError;

    friend void PrintTo(const UselessUrl& row, std::ostream* pOut) { *pOut << '"' << row.szUrl << '"'; }
};

class TransportUselessUrl : public TransportTest, public testing::WithParamInterface<UselessUrl>
{
};

TEST_P(TransportUselessUrl, IsReportedOnce)
{
    Start();
    Tokens tokens(1);
    Get(GetParam().szUrl, tokens.At(0));
    for (const ReceivedReply& reply : RepliesAfterShutdown(1)) {
        EXPECT_EQ(reply.nHttpError, GetParam().nHttpError);
        EXPECT_EQ(reply.strBody, "");
        EXPECT_EQ(reply.nType, TYPE);
        EXPECT_EQ(reply.pUserData, tokens.At(0));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Urls, TransportUselessUrl,
    testing::Values(UselessUrl{"", -3}, UselessUrl{"vomd/system/x", -3}, UselessUrl{"http://", -3},
                    UselessUrl{"http://:80/", -3}, UselessUrl{"http://a b/", -3},
                    UselessUrl{"http://127.0.0.1:99999/", -3}, UselessUrl{"http://127.0.0.1:-1/", -3},
                    UselessUrl{"ftp://127.0.0.1/x", -1}, UselessUrl{"file:///etc/hostname", -1}));

class TransportHeaderLine : public TransportTest, public testing::WithParamInterface<const char*>
{
};

TEST_P(TransportHeaderLine, ThatIsNoneIsRefusedAndNothingIsSent)
{
    Start();
    const ScriptedServer server(Step(HttpReply(200, "")));
    CHttpClientSendRequest(TYPE, server.Url("/"), "{}", nullptr, true, true, GetParam());
    for (const ReceivedReply& reply : RepliesAfterShutdown(1)) {
        EXPECT_EQ(reply.nHttpError, -43);
    }
    EXPECT_EQ(server.Accepted(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Lines, TransportHeaderLine,
                         testing::Values("Content-Type: application/json\r\nX-Evil: 1",
                                         "Content-Type: application/json\nX-Evil: 1",
                                         "Content-Type: application/json\rX-Evil: 1",
                                         "Content-Type: application/json\r\n",
                                         "Content-Type application/json", ": application/json"));

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

TEST_F(TransportTest, AReplyWithoutReceiverHurtsNobody)
{
    ASSERT_TRUE(CHttpClientInit());
    const ScriptedServer server(Step(HttpReply(200, "")));
    Get(server.Url("/"));
    ASSERT_TRUE(server.WaitForRequests(1));
    CHttpClientUnInit();
    EXPECT_THAT(m_replies.All(), IsEmpty());
}
