#include "EachConnection.h"
#include "ServerSteps.h"

#include <gmock/gmock.h>

#include <ostream>

using Ending = ServerStep::Ending;

namespace
{

/// The bytes that a server sends as its reply.
struct RawReply {
    const char* szName;
    const char* szBytes;

    friend void PrintTo(const RawReply& row, std::ostream* pOut) { *pOut << row.szName; }
};

} // namespace

/// A reply that libcurl can't read, on a connection that carried good ones before. libcurl 7.88 keeps a
/// pointer to the last header line of the previous reply, which it has freed by then.
class TransportSecondReply : public TransportInTurn, public testing::WithParamInterface<RawReply>
{
};

TEST_P(TransportSecondReply, HarmsNeitherItsOwnRequestNorLaterOnes)
{
    constexpr std::size_t ROUNDS = 20;
    Start();
    const ServerStep good = Step("HTTP/1.1 200 OK\r\nX-One: 1\r\nContent-Length: 2\r\nX-Two: 2\r\n\r\n{}");
    const ServerStep bad = Step(GetParam().szBytes, Ending::Close);
    const ScriptedServer server(
        [&](const WireRequest& request) { return request.Line().substr(0, 4) == "POST" ? bad : good; });
    for (std::size_t nRound = 1; nRound <= ROUNDS; ++nRound) {
        EXPECT_EQ(Exchange(server.Url("/good")).nHttpError, 0);
        const std::string strBad = "/bad" + std::to_string(nRound);
        EXPECT_LT(Exchange(server.Url(strBad), true).nHttpError, 0);
        EXPECT_THAT(ConnectionsOf(server, strBad), testing::ElementsAre(nRound));
    }
    ExpectNoMoreReplies();
}

INSTANTIATE_TEST_SUITE_P(
    Replies, TransportSecondReply,
    testing::Values(RawReply{"FoldedFirstLine", "HTTP/1.1 200 OK\r\n folded: 1\r\nContent-Length: 0\r\n\r\n"},
                    RawReply{"FoldedFirstLineWithATab",
                             "HTTP/1.1 200 OK\r\n\tfolded: 1\r\nContent-Length: 0\r\n\r\n"},
                    RawReply{"FoldedLinesOnly", "HTTP/1.1 200 OK\r\n a: b\r\n c: d\r\n e: f\r\n\r\n"},
                    RawReply{"FoldedFirstLineAfterAnInterimReply",
                             "HTTP/1.1 102 Processing\r\n folded: 1\r\n\r\nHTTP/1.1 200 OK\r\n\r\n"}),
    testing::PrintToStringParamName());
