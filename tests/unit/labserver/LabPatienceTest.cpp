// Clients that stay when they should leave, leave when they should stay, or are many; and invalid faults.

#include "LabFixture.h"
#include "RawClient.h"

#include <chrono>
#include <gmock/gmock.h>
#include <thread>

namespace
{

using std::chrono::steady_clock;
using testing::StartsWith;

TEST(LabPatience, ARefusedClientThatStaysIsLetGo)
{
    LabServerOptions options;
    options.nMaxConnections = 1;
    LabServer server(options);
    LabClient first(server.Start());
    ASSERT_EQ(first.Get("/posts/1").nStatus, 200);
    RawClient refused(server.Port());
    EXPECT_THAT(refused.ReadAll(), StartsWith("HTTP/1.1 503 "));
    const auto end = steady_clock::now() + std::chrono::seconds(60);
    EXPECT_THROW(
        {
            while (steady_clock::now() < end) {
                refused.Send("x");
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
            }
        },
        std::runtime_error);
    EXPECT_EQ(first.Get("/posts/1").nStatus, 200);
}

TEST(LabPatience, OfExchangesTheLatestTenThousandAreKept)
{
    LabServer server;
    RawClient socket(server.Start());
    for (int nRequest = 0; nRequest <= 10'000; ++nRequest) {
        socket.Send("GET /posts/" + std::to_string(nRequest) + " HTTP/1.1\r\nHost: a\r\n\r\n");
        ASSERT_THAT(socket.ReadUntil("}"), StartsWith("HTTP/1.1 ")) << nRequest;
    }
    const auto vecExchanges = server.Exchanges();
    ASSERT_EQ(vecExchanges.size(), 10'000U);
    EXPECT_EQ(vecExchanges.front().strTarget, "/posts/1");
}

TEST(LabPatience, AFaultForNoRequestIsNone)
{
    LabServer server;
    LabFault fault;
    fault.strPath = "posts";
    fault.nCount = 0;
    fault.eKind = LabFaultKind::Reset;
    server.AddFault(fault);
    LabClient client(server.Start());
    EXPECT_EQ(client.Get("/lab/faults").json["count"], 0);
    EXPECT_EQ(client.Get("/posts/1").nStatus, 200);
}

TEST(LabPatience, ABodyOfUnknownLengthForTheOperatorsPathsMustBeCalledJsonToo)
{
    LabServer server;
    RawClient socket(server.Start());
    socket.Send("POST /lab/faults HTTP/1.1\r\nHost: localhost:" + std::to_string(server.Port()) +
                "\r\nConnection: close\r\nTransfer-Encoding: chunked\r\n\r\n");
    EXPECT_THAT(socket.ReadAll(), StartsWith("HTTP/1.1 415 "));
}

/// Whether the server disconnects a client that sends without a pause before it has sent that many bytes.
bool IsCutOff(RawClient& socket, int nMost)
{
    try {
        for (int nSent = 0; nSent < nMost; ++nSent) {
            socket.Send("x");
        }
    } catch (const std::runtime_error&) {
        return true;
    }
    return false;
}

TEST(LabPatience, AClientThatNeverPausesIsCutOffWhenItsTimeIsOver)
{
    LabServerOptions options;
    options.patience = std::chrono::milliseconds(500);
    LabServer server(options);
    RawClient socket(server.Start());
    socket.Send("POST /open/test-cabinet/add/kostrel/cycle HTTP/1.1\r\nContent-Length: 16000000\r\n\r\n");
    EXPECT_TRUE(IsCutOff(socket, 15'000'000));
}

TEST(LabPatience, AClientThatHasNoTimeAtAllIsNotServed)
{
    LabServerOptions options;
    options.patience = std::chrono::milliseconds(0);
    LabServer server(options);
    RawClient socket(server.Start());
    socket.Send("GET /posts/1 HTTP/1.1\r\n\r\n");
    EXPECT_EQ(socket.ReadAll(), "");
}

const std::string TOO_LARGE = "POST /posts HTTP/1.1\r\nContent-Length: 100000000\r\n\r\n";

TEST(LabPatience, ABodyThatIsNotWantedIsNotReadForLong)
{
    LabServer server;
    RawClient socket(server.Start());
    socket.Send(TOO_LARGE);
    EXPECT_TRUE(IsCutOff(socket, 3'000'000));
}

TEST(LabPatience, ABodyThatIsNotWantedNeedNotCome)
{
    LabServer server;
    RawClient socket(server.Start());
    socket.Send(TOO_LARGE);
    EXPECT_THAT(socket.ReadAll(), StartsWith("HTTP/1.1 413 "));
    server.Stop(); // waits until the server has closed the connection, although the client has not
    EXPECT_TRUE(socket.IsClosed());
}

constexpr size_t LARGE = 40'000'000; // more than the system buffers for a connection

/// Makes the reply about every user that large.
void MakeReplyLarge(LabServer& server)
{
    LabFault fault;
    fault.strPath = "posts";
    fault.eKind = LabFaultKind::Reply;
    fault.strBody = std::string(LARGE, 'x');
    server.AddFault(fault);
}

TEST(LabPatience, AReplyThatIsTakenInPartsComesWhole)
{
    LabServer server;
    MakeReplyLarge(server);
    RawClient socket(server.Start());
    socket.Send("GET /posts/1 HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n");
    const std::string strReply = socket.ReadAll();
    EXPECT_EQ(strReply.size() - strReply.find("\r\n\r\n") - 4, LARGE);
}

} // namespace
