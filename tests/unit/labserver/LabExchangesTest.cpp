// Which of its exchanges a server still reports.

#include "LabFixture.h"
#include "RawClient.h"

#include <cstddef>
#include <gmock/gmock.h>
#include <vector>

namespace
{

constexpr size_t MOST_BYTES = size_t{64} * 1024 * 1024;

std::vector<std::string> TargetsOf(const LabServer& server)
{
    std::vector<std::string> vecTargets;
    for (const LabExchange& exchange : server.Exchanges()) {
        vecTargets.push_back(exchange.strTarget);
    }
    return vecTargets;
}

/// Makes every answer one character long.
LabFault ShortAnswers()
{
    LabFault fault;
    fault.strPath = "posts";
    fault.nCount = 1'000'000;
    fault.eKind = LabFaultKind::Reply;
    fault.strBody = "x";
    return fault;
}

TEST(LabExchanges, OfSixtyFourMebibytesAreKeptAndOfMoreOnlyTheLatest)
{
    LabServer server;
    server.AddFault(ShortAnswers());
    LabClient client(server.Start());
    const std::string strTarget = "/posts/0";
    const size_t nBeside = strTarget.size() + 1;
    for (const char cTarget : {'1', '2', '3', '4'}) {
        client.Post("/posts/" + std::string{cTarget}, std::string(LARGEST_BODY - nBeside, ' '));
    }
    size_t nBytes = 0;
    for (const LabExchange& exchange : server.Exchanges()) {
        nBytes += exchange.strTarget.size() + exchange.strBody.size() + exchange.strReply.size();
    }
    EXPECT_EQ(nBytes, MOST_BYTES);
    EXPECT_THAT(TargetsOf(server), testing::ElementsAre("/posts/1", "/posts/2", "/posts/3", "/posts/4"));
    client.Post("/posts/5", std::string(LARGEST_BODY - nBeside + 1, ' ')); // one byte more than the first
    EXPECT_THAT(TargetsOf(server), testing::ElementsAre("/posts/3", "/posts/4", "/posts/5"));
}

TEST(LabExchanges, OfTenThousandAreKeptAndOfMoreOnlyTheLatest)
{
    constexpr int MOST = 10'000;
    constexpr int AT_ONCE = 100;
    LabServer server;
    server.AddFault(ShortAnswers());
    RawClient socket(server.Start());
    const auto Ask = [&](int nFirst, int nRequests) {
        std::string strRequests;
        for (int nRequest = nFirst; nRequest < nFirst + nRequests; ++nRequest) {
            strRequests += "GET /posts/" + std::to_string(nRequest) + " HTTP/1.1\r\n\r\n";
        }
        socket.Send(strRequests);
        const std::string strReplyEnd = "\r\n\r\nx";
        for (int nReplies = 0; nReplies < nRequests;) {
            const std::string strRead = socket.ReadUntil(strReplyEnd);
            ASSERT_FALSE(strRead.empty());
            for (size_t nEnd = 0; (nEnd = strRead.find(strReplyEnd, nEnd)) != std::string::npos; ++nEnd) {
                ++nReplies;
            }
        }
    };
    for (int nFirst = 0; nFirst < MOST; nFirst += AT_ONCE) {
        Ask(nFirst, AT_ONCE);
    }
    EXPECT_EQ(server.Exchanges().size(), size_t{MOST});
    EXPECT_EQ(server.Exchanges().front().strTarget, "/posts/0");
    Ask(MOST, 1);
    EXPECT_EQ(server.Exchanges().size(), size_t{MOST});
    EXPECT_EQ(server.Exchanges().front().strTarget, "/posts/1");
}

} // namespace
