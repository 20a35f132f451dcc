#include "TransportTest.h"

#include <gmock/gmock.h>

#include <ostream>

using testing::AllOf;
using testing::Each;
using testing::Ge;
using testing::Le;
using Ending = ServerStep::Ending;

namespace
{

/// Bytes that a server sends in answer to a request.
struct RawReply {
    const char* szName;
    const char* szBytes;

    friend void PrintTo(const RawReply& row, std::ostream* pOut) { *pOut << row.szName; }
};

ServerStep Step(const char* szBytes, Ending ending)
{
    ServerStep step;
    step.strReply = szBytes;
    step.ending = ending;
    return step;
}

} // namespace

/// A reply that libcurl can't read, on a connection that carried good ones before. libcurl 7.88 keeps a
/// pointer to the last header line of the reply before, which it has freed by then.
class TransportSecondReply : public TransportTest, public testing::WithParamInterface<RawReply>
{
protected:
    void SendOne(const ScriptedServer& server, bool bPost)
    {
        const std::size_t nReplies = m_replies.Count() + 1;
        CHttpClientSendRequest(TYPE, server.Url("/"), "{}", nullptr, bPost, false, "");
        ASSERT_TRUE(m_replies.WaitFor(nReplies));
    }
};

TEST_P(TransportSecondReply, HarmsNeitherItsOwnRequestNorLaterOnes)
{
    constexpr std::size_t ROUNDS = 20;
    Set("CHTTPCLIENT_HOST_CONNECTIONS", 1);
    Start();
    const ServerStep good =
        Step("HTTP/1.1 200 OK\r\nX-One: 1\r\nContent-Length: 2\r\nX-Two: 2\r\n\r\n{}", Ending::KeepAlive);
    const ServerStep bad = Step(GetParam().szBytes, Ending::Close);
    const ScriptedServer server(
        [&](const WireRequest& request) { return request.Line().substr(0, 4) == "POST" ? bad : good; });
    for (std::size_t nRound = 0; nRound < ROUNDS; ++nRound) {
        SendOne(server, false);
        SendOne(server, true);
        const std::vector<int> vecErrors = m_replies.Errors();
        EXPECT_EQ(vecErrors.at(2 * nRound), 0);
        EXPECT_LT(vecErrors.at(2 * nRound + 1), 0);
    }
    EXPECT_EQ(RepliesAfterShutdown(2 * ROUNDS).size(), server.Requests().size());
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
