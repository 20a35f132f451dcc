// How long a server waits for a client, and for which ones.

#include "LabFixture.h"
#include "Polls.h"
#include "ProcessUse.h"
#include "RawClient.h"
#include "WaitUntil.h"

#include <algorithm>
#include <chrono>
#include <gmock/gmock.h>
#include <memory>
#include <thread>

namespace
{

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Gt;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Le;
using testing::Not;
using testing::StartsWith;

// How many sockets a server's threads poll: a connection with the stop signal, and the listener with the stop
// signal and the clients that it refused.
constexpr nfds_t CONNECTION = 2;
constexpr nfds_t ONE_REFUSED = 3;
constexpr nfds_t MOST_REFUSED = 2 + 64;

constexpr int FOR_EVER = -1;

LabServerOptions ServerOfOne()
{
    LabServerOptions options;
    options.nMaxConnections = 1;
    return options;
}

TEST(LabWaits, AMinuteForTheNextRequestAndFiveSecondsForTheNextBytes)
{
    LabServer server;
    RawClient socket(server.Start());
    ASSERT_TRUE(ComesToWait([](const PollCall& call) { return call.nMilliseconds > 0; }));
    EXPECT_THAT(Patiences(CONNECTION), ElementsAre(FOR_EVER, 60'000)); // FOR_EVER is the listener's
    socket.Send("POST /open/test-cabinet/add/kostrel/cycle HTTP/1.1\r\nExpect: 100-continue\r\n"
                "Content-Length: 3\r\n\r\n");
    socket.ReadUntil("\r\n\r\n"); // from here on the server waits for the body
    ASSERT_TRUE(ComesToWait([](const PollCall& call) { return call.nMilliseconds == 5'000; }));
    EXPECT_THAT(Patiences(CONNECTION), ElementsAre(FOR_EVER, 5'000, 60'000));
}

TEST(LabWaits, AsLongForTheNextRequestAsItsRepliesPromise)
{
    LabServer server;
    RawClient socket(server.Start());
    socket.Send("GET /posts/1 HTTP/1.1\r\n\r\n");
    EXPECT_THAT(socket.ReadUntil("\"Test engineer\"}"),
                HasSubstr("\r\nKeep-Alive: timeout=60, max=2147483647\r\n"));
}

const std::string HEAD_OF_TOO_MUCH = "POST /open/test-cabinet/add/kostrel/cycle HTTP/1.1\r\n"
                                     "Content-Length: 20000000\r\n\r\n";

TEST(LabWaits, AMomentForWhatFollowsARefusedBody)
{
    LabServer server;
    server.Start();
    {
        RawClient socket(server.Port());
        socket.Send(HEAD_OF_TOO_MUCH);
        EXPECT_THAT(socket.ReadAll(), AllOf(StartsWith("HTTP/1.1 413 "), Not(HasSubstr("Keep-Alive"))));
    }
    server.Stop(); // waits for the connection
    const std::vector<PollCall> vecCalls = PollCalls();
    EXPECT_THAT(Patiences(1), ElementsAre(200));
    EXPECT_EQ(std::count_if(vecCalls.begin(), vecCalls.end(),
                            [](const PollCall& call) { return call.nSockets == 1; }),
              1)
        << "it must not wait any more once the client has left";
}

TEST(LabWaits, NotUntilTheClientIsTiredOfSendingARefusedBody)
{
    LabServer server;
    RawClient socket(server.Start());
    socket.Send(HEAD_OF_TOO_MUCH);
    const auto end = steady_clock::now() + std::chrono::seconds(30);
    EXPECT_THROW(
        while (steady_clock::now() < end) {
            socket.Send("x");
            std::this_thread::sleep_for(milliseconds(20));
        },
        std::runtime_error);
}

TEST(LabWaits, TwoSecondsInAllForBytesThatComeNowAndThenAtAStop)
{
    LabServer server;
    RawClient socket(server.Start());
    socket.Send("POST /open/test-cabinet/add/kostrel/cycle HTTP/1.1\r\nExpect: 100-continue\r\n"
                "Content-Length: 1000000\r\n\r\n");
    socket.ReadUntil("\r\n\r\n");
    std::thread slow([&] {
        EXPECT_THROW(
            while (true) {
                socket.Send("1");
                std::this_thread::sleep_for(milliseconds(20));
            },
            std::runtime_error); // the connection is gone
    });
    server.Stop();
    slow.join();
    std::vector<PollCall> vecLast = PollCalls();
    vecLast.erase(std::remove_if(vecLast.begin(), vecLast.end(),
                                 [](const PollCall& call) { return call.nSockets != 1; }),
                  vecLast.end());
    ASSERT_FALSE(vecLast.empty());
    EXPECT_THAT(Patiences(1), Each(Le(200)));
    EXPECT_LT(vecLast.back().begin - vecLast.front().begin, std::chrono::seconds(15))
        << "without the two seconds it is a minute, and a busy machine may stretch them";
}

TEST(LabWaits, FiveSecondsForARefusedClientThatStays)
{
    LabServer server(ServerOfOne());
    LabClient served(server.Start());
    EXPECT_EQ(served.Get("/posts/1").nStatus, 200);
    const size_t nServing = OpenDescriptors();
    RawClient staying(server.Port());
    EXPECT_THAT(staying.ReadAll(), StartsWith("HTTP/1.1 503 "));
    ASSERT_TRUE(ComesToWait([](const PollCall& call) { return call.nSockets == ONE_REFUSED; }));
    EXPECT_THAT(Patiences(ONE_REFUSED), Each(AllOf(Gt(0), Le(5'000))));
    EXPECT_TRUE(WaitUntil([&] { return OpenDescriptors() == nServing + 1; }))
        << "our own end is open, the server's is closed";
    EXPECT_EQ(served.Get("/posts/1").nStatus, 200);
}

TEST(LabWaits, ForNoMoreThanSixtyFourRefusedClientsAtATime)
{
    LabServer server(ServerOfOne());
    LabClient served(server.Start());
    EXPECT_EQ(served.Get("/posts/1").nStatus, 200);
    std::vector<std::unique_ptr<RawClient>> vecRefused;
    for (int nClient = 0; nClient < 70; ++nClient) {
        vecRefused.push_back(std::make_unique<RawClient>(server.Port()));
        EXPECT_THAT(vecRefused.back()->ReadAll(), StartsWith("HTTP/1.1 503 ")) << nClient;
    }
    EXPECT_THAT(Patiences(MOST_REFUSED), Not(IsEmpty()));
    EXPECT_THAT(Patiences(MOST_REFUSED + 1), IsEmpty());
}

TEST(LabWaits, ARefusedClientMaySendMoreThanTheSystemKeeps)
{
    LabServer server(ServerOfOne());
    LabClient served(server.Start());
    EXPECT_EQ(served.Get("/posts/1").nStatus, 200);
    RawClient talking(server.Port());
    EXPECT_THAT(talking.ReadAll(), StartsWith("HTTP/1.1 503 "));
    const std::string strPiece(100'000, 'x');
    EXPECT_NO_THROW({
        for (int nPiece = 0; nPiece < 100; ++nPiece) {
            talking.Send(strPiece);
        }
    });
}

} // namespace
