#include "TransportTest.h"
#include "Wine.h"

#include <gmock/gmock.h>

#include <ostream>

#if defined(_WIN32)
#include <windows.h>
// After it, whose types it uses.
#include <psapi.h>
#else
#include <sys/resource.h>
#endif

using namespace std::string_literals;
using namespace std::chrono_literals;
using testing::AnyOf;
using testing::IsEmpty;
using testing::SizeIs;
using Ending = ServerStep::Ending;

namespace
{

constexpr std::size_t MAX_REPLY = 1000;
constexpr int TIMED_OUT = -28;

/// 100,000 times the letter x, compressed by gzip.
const std::string& GzippedLetters()
{
    static const std::string BYTES =
        "\x1f\x8b\x08\0\0\0\0\0\x02\x03\xed\xc1\x31\x01\0\0\0\xc2\xa0\xda\x8b\x6f"
        "\x0d\x0f\xa0"s +
        std::string(96, '\0') + "\x80\x57\x03\x71\x11\x07\xfe\xa0\x86\x01\0"s;
    return BYTES;
}

constexpr std::size_t GIGABYTE = 1'000'000'000;

/// So many zeros and a few more, compressed as zlib does: a bit stream of 13 bits for each 258 of them.
std::string DeflatedZeros(std::size_t nZeros)
{
    std::string strBytes = "\x78\x01";
    unsigned nBits = 0;
    unsigned nWaiting = 0;
    const auto put = [&](unsigned nValue, unsigned nCount) {
        nWaiting |= nValue << nBits;
        for (nBits += nCount; nBits >= 8; nBits -= 8) {
            strBytes += static_cast<char>(nWaiting & 0xFFU);
            nWaiting >>= 8U;
        }
    };
    put(0b011, 3);      // the last block, with the fixed code
    put(0b00001100, 8); // a zero: 00110000, its most significant bit first
    for (std::size_t nDone = 0; nDone < nZeros; nDone += 258) {
        put(0b10100011, 8); // the longest repetition: 11000101
        put(0, 5);          // of the byte before
    }
    put(0, 7); // the end
    put(0, 7); // fills the last byte
    return strBytes;
}

/// The most memory that this process has had so far.
std::size_t PeakResidentBytes()
{
#if defined(_WIN32)
    PROCESS_MEMORY_COUNTERS counters{};
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters);
    return counters.PeakWorkingSetSize;
#else
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
#endif
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

/// The reply, and then the same bytes for ever, as fast as they go.
ServerStep Endless(std::string strReply, const std::string& strEndless)
{
    ServerStep step = Step(std::move(strReply), Ending::Hold);
    step.strEndless = Repeated(strEndless, 1000);
    return step;
}

/// The same, but slowly.
ServerStep Drip(std::string strReply, std::string strEndless)
{
    ServerStep step = Step(std::move(strReply), Ending::Hold);
    step.strEndless = std::move(strEndless);
    step.pause = 20ms;
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
        // However slow the machine, the time-out ends only the requests that it should end.
        const bool bTimesOut = GetParam().nHttpError == TIMED_OUT;
        Set("CHTTPCLIENT_TIMEOUT_MS", bTimesOut ? 300 : 30'000);
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
        EXPECT_THAT(server.Requests().size(), AnyOf(1U, bTimesOut ? 0U : 1U))
            << "a request must be sent once; one that timed out may not have got that far";
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
    testing::Values(
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
        Outcome{"BadGatewayInOtherWords", Step(HttpReply(502, "{\"code\":0}")), 502, "{\"code\":0}"}),
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
        Outcome{"OfAVersionThatIsNone", // libcurl takes it for HTTP/1.0
                Step("HTTP/banana 200 OK\r\n\r\nbody", Ending::Close), 0, "body"},
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
        Outcome{"AnswerAfterTheTimeout", Late(1min, HttpReply(200, "")), TIMED_OUT, ""},
        Outcome{"SilenceInMidHeader", Step("HTTP/1.1 200 OK\r\nContent-Le", Ending::Hold), -28, ""},
        Outcome{"SilenceInMidBody", Step(HalfReply(), Ending::Hold), -28, ""},
        Outcome{"ClosedWithoutReply", Step("", Ending::Close), -52, ""},
        Outcome{"ClosedInMidHeader", Step("HTTP/1.1 200 OK\r\nContent-Le", Ending::Close), -18, ""},
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
        Outcome{"TooLargeUnpacked", Step(HttpReply(200, GzippedLetters(), "Content-Encoding: gzip\r\n")), -63,
                ""},
        Outcome{"StatusThatIsNoNumber", Step("HTTP/1.1 fine\r\n\r\nbody", Ending::Close), -1, ""},
        Outcome{"VersionOfTheFuture", Step("HTTP/9.9 200 OK\r\n\r\nbody", Ending::Close), -1, ""},
        Outcome{"StatusOfFourDigits", Step("HTTP/1.1 2000 OK\r\n\r\nbody", Ending::Close), -1, ""},
        Outcome{"StatusBelowAllOthers", Step("HTTP/1.1 099 OK\r\n\r\nbody", Ending::Close), -1, ""},
        Outcome{"TooLargeWithAnErrorStatus", Step(HttpReply(500, std::string(MAX_REPLY + 1, 'x'))), -63, ""}),
    testing::PrintToStringParamName());

// Quick or slow, a reply that never ends is ended by us: by a limit of size or by the time-out.
INSTANTIATE_TEST_SUITE_P(
    Endless, TransportOutcome,
    testing::Values(Outcome{"InterimReplies", Endless("", "HTTP/1.1 102 Processing\r\n\r\n"), -63, ""},
                    Outcome{"InterimRepliesSlowly", Drip("", "HTTP/1.1 102 Processing\r\n\r\n"), -28, ""},
                    Outcome{"HeaderLines", Endless("HTTP/1.1 200 OK\r\n", "X-More: and more\r\n"), -63, ""},
                    Outcome{"HeaderLinesSlowly", Drip("HTTP/1.1 200 OK\r\n", "X-More: and more\r\n"), -28,
                            ""},
                    Outcome{"HeaderLine", Endless("HTTP/1.1 200 OK\r\nX-More: ", "and more "), -27, ""},
                    Outcome{"StatusLine", Endless("HTTP/1.1 200 ", "OK "), -27, ""},
                    Outcome{"Body", Endless("HTTP/1.1 200 OK\r\n\r\n", "and more "), -63, ""},
                    Outcome{"BodySlowly", Drip("HTTP/1.1 200 OK\r\n\r\n", "x"), -28, ""},
                    Outcome{"Chunks", Endless(Chunked(""), "1\r\nx\r\n"), -63, ""},
                    Outcome{"ChunksSlowly", Drip(Chunked(""), "1\r\nx\r\n"), -28, ""},
                    Outcome{"Trailer", Endless(Chunked("1\r\nx\r\n0\r\n"), "X-More: and more\r\n"), -63, ""}),
    testing::PrintToStringParamName());

/// Replies with bytes behind their end, on a connection that stays. Each is given to a request, and the one
/// behind it must not be answered with what is left over.
class TransportLeftover : public TransportOutcome
{
};

TEST_P(TransportLeftover, AnswersNoOtherRequest)
{
    Set("CHTTPCLIENT_HOST_CONNECTIONS", 1);
    Start();
    const ScriptedServer server({GetParam().step, Step(HttpReply(200, "its own"))});
    Post(server.Url("/first"), "{}");
    Post(server.Url("/second"), "{}");
    const std::vector<ReceivedReply> vecReplies = RepliesAfterShutdown(2);
    EXPECT_EQ(vecReplies.at(0).nHttpError, GetParam().nHttpError);
    EXPECT_EQ(vecReplies.at(0).strBody, GetParam().strBody);
    EXPECT_EQ(vecReplies.at(1).nHttpError, 0);
    EXPECT_EQ(vecReplies.at(1).strBody, "its own");
}

INSTANTIATE_TEST_SUITE_P(
    Bytes, TransportLeftover,
    testing::Values(
        Outcome{"BehindTheLength", Step(HttpReply(200, "right") + HttpReply(200, "wrong")), 0, "right"},
        Outcome{"BehindTheLastChunk", Step(Chunked("5\r\nright\r\n0\r\n\r\n") + HttpReply(200, "wrong")), 0,
                "right"},
        Outcome{"BehindNoContent", Step("HTTP/1.1 204 No Content\r\nContent-Length: 5\r\n\r\nwrong"), 0, ""},
        Outcome{"BehindNotModified", Step("HTTP/1.1 304 Not Modified\r\nContent-Length: 5\r\n\r\nwrong"), 304,
                ""}),
    testing::PrintToStringParamName());

TEST_F(TransportTest, ACompressedBombIsStoppedBeforeItFillsTheMemory)
{
    Start();
    const ScriptedServer server(
        Step(HttpReply(200, DeflatedZeros(GIGABYTE), "Content-Encoding: deflate\r\n")));
    const std::size_t nBefore = PeakResidentBytes();
    Get(server.Url("/"));
    RepliesAfterShutdown(1);
    EXPECT_THAT(m_replies.Errors(), testing::ElementsAre(-63));
    EXPECT_LT(PeakResidentBytes() - nBefore, GIGABYTE / 2);
}

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
    testing::Values(UselessUrl{"", -3}, UselessUrl{"vomd/system/x", -3}, UselessUrl{"vomd/x?t=a://b", -3},
                    UselessUrl{"http://", -3}, UselessUrl{"http:///vomd/x", -3},
                    UselessUrl{"HTTPS:///vomd/x", -3}, UselessUrl{"http://?t=a://b", -3},
                    UselessUrl{"http://:80/", -3}, UselessUrl{"http://a b/", -3},
                    UselessUrl{"http://127.0.0.1:99999/", -3}, UselessUrl{"http://127.0.0.1:-1/", -3},
                    UselessUrl{"ftp://127.0.0.1/x", -1}, UselessUrl{"file:///etc/hostname", -1}));

/// Texts around the server's address that leave the URL without a scheme. libcurl alone would guess one.
struct SchemelessUrl {
    std::string strBefore;
    std::string strAfter;

    friend void PrintTo(const SchemelessUrl& row, std::ostream* pOut)
    {
        *pOut << '"' << row.strBefore << "HOST:PORT" << row.strAfter << '"';
    }
};

class TransportUrlWithoutScheme : public TransportTest, public testing::WithParamInterface<SchemelessUrl>
{
};

TEST_P(TransportUrlWithoutScheme, IsRefusedAndNothingIsSent)
{
    Start();
    const ScriptedServer server(Step(HttpReply(200, "")));
    const std::string strServer = "127.0.0.1:" + std::to_string(server.Port());
    Get(GetParam().strBefore + strServer + GetParam().strAfter);
    RepliesAfterShutdown(1);
    EXPECT_THAT(m_replies.Errors(), testing::ElementsAre(-3));
    EXPECT_EQ(server.Accepted(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Urls, TransportUrlWithoutScheme,
                         testing::Values(SchemelessUrl{"", "/vomd/x"}, SchemelessUrl{"", "/vomd/x?t=a://b"},
                                         SchemelessUrl{"", "?t=a://b"}, SchemelessUrl{"", "#a://b"},
                                         SchemelessUrl{"//", "/x?t=a://b"}, SchemelessUrl{"://", "/"},
                                         SchemelessUrl{" http://", "/"}, SchemelessUrl{"\x01http://", "/"},
                                         SchemelessUrl{"http:", "/x?t=a://b"},
                                         SchemelessUrl{"http:/", "/x?t=a://b"},
                                         SchemelessUrl{"http:///", "/"}));

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
