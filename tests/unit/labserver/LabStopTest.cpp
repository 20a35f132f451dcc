// What happens to requests and replies in transit when a server is told to stop.

#include "LabFixture.h"
#include "Polls.h"
#include "RawClient.h"
#include "WaitUntil.h"

#include <chrono>
#include <gmock/gmock.h>
#include <thread>

namespace
{

using std::chrono::steady_clock;
using testing::StartsWith;

/// Longer than any client may delay a stop, even on a busy machine.
constexpr std::chrono::seconds AT_ONCE{15};

const std::string REPORT_HEAD = "POST /open/test-cabinet/add/kostrel/cycle HTTP/1.1\r\nHost: a\r\n"
                                "Expect: 100-continue\r\nContent-Length: 3\r\n\r\n";

TEST(LabStop, ARequestWhoseRestIsOnItsWayIsStoredAndAnswered)
{
    LabServer server;
    RawClient socket(server.Start());
    socket.Send(REPORT_HEAD);
    socket.ReadUntil("\r\n\r\n"); // from here on the server waits for the body
    WatchLastWait([&] { socket.Send("[1]"); });
    server.Stop();
    EXPECT_FALSE(IsLastWaitToCome());
    const std::string strReply = socket.ReadAll();
    EXPECT_THAT(strReply, StartsWith("HTTP/1.1 200 "));
    EXPECT_THAT(strReply, testing::EndsWith("\"success\":true}"));
    EXPECT_TRUE(socket.IsClosed());
    EXPECT_EQ(LabClient(server.Start()).Get("/lab/reports/cycle-data").json["count"], 1);
}

bool IsRefused(int nPort)
{
    try {
        const RawClient socket(nPort);
        return false;
    } catch (const std::runtime_error&) {
        return true;
    }
}

TEST(LabStop, WhoeverComesMeanwhileIsRefused)
{
    LabServer server;
    const int nPort = server.Start();
    RawClient socket(nPort);
    socket.Send(REPORT_HEAD);
    socket.ReadUntil("\r\n\r\n");
    bool bRefused = false;
    WatchLastWait([&] { // the listening thread may not have noticed yet
        bRefused = WaitUntil([&] { return IsRefused(nPort); }, AT_ONCE);
    });
    server.Stop();
    EXPECT_TRUE(bRefused);
}

TEST(LabStop, ARequestThatComesByteByByteDoesNotHoldItUp)
{
    LabServer server;
    RawClient socket(server.Start());
    socket.Send("POST /open/test-cabinet/add/kostrel/cycle HTTP/1.1\r\nHost: a\r\n"
                "Expect: 100-continue\r\nContent-Length: 1000000\r\n\r\n");
    socket.ReadUntil("\r\n\r\n");
    std::thread slow([&] {
        try {
            while (true) {
                socket.Send("1");
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
            }
        } catch (const std::runtime_error&) { // the connection is gone
        }
    });
    const auto start = steady_clock::now();
    server.Stop();
    EXPECT_LT(steady_clock::now() - start, AT_ONCE);
    slow.join();
}

TEST(LabStop, AReplyThatNobodyTakesDoesNotHoldItUp)
{
    LabServer server;
    LabFault fault;
    fault.strPath = "posts";
    fault.eKind = LabFaultKind::Reply;
    fault.strBody.assign(40'000'000, 'x'); // more than the system buffers for a connection
    server.AddFault(fault);
    RawClient socket(server.Start());
    socket.Send("GET /posts/1 HTTP/1.1\r\nHost: a\r\n\r\n");
    ASSERT_TRUE(ComesToWait([](const PollCall& call) { return call.nEvents == POLLOUT; }));
    const auto start = steady_clock::now();
    server.Stop();
    EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(3));
}

} // namespace
