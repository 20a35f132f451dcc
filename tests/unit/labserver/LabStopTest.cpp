// What is on its way when a server is told to stop.

#include "LabFixture.h"
#include "Socket.h"

#include <atomic>
#include <chrono>
#include <dlfcn.h>
#include <functional>
#include <gmock/gmock.h>
#include <poll.h>
#include <thread>

namespace
{

/// Called before the first wait for one socket alone: that of a connection which waits for the last time.
std::function<void()> g_fnBeforeLastWait;
std::atomic<bool> g_bLastWaitIsWatched = false;
std::atomic<bool> g_bWaitsToSend = false; ///< whether a connection waits for its client to take a reply

} // namespace

extern "C" int poll(pollfd* pSockets, nfds_t nSockets, int nMilliseconds)
{
    if (nSockets == 1 && nMilliseconds > 0 && g_bLastWaitIsWatched.exchange(false))
        g_fnBeforeLastWait();
    if (pSockets->events == POLLOUT && nMilliseconds > 0)
        g_bWaitsToSend = true;
    static const auto pfn = reinterpret_cast<decltype(&poll)>(dlsym(RTLD_NEXT, "poll"));
    return pfn(pSockets, nSockets, nMilliseconds);
}

namespace
{

using std::chrono::steady_clock;
using testing::StartsWith;

/// Longer than any client may hold up a stop, even on a busy machine.
constexpr std::chrono::seconds kPromptly{15};

const std::string kReportHead = "POST /open/test-cabinet/add/kostrel/cycle HTTP/1.1\r\nHost: a\r\n"
                                "Expect: 100-continue\r\nContent-Length: 3\r\n\r\n";

TEST(LabStop, ARequestWhoseRestIsOnItsWayIsStoredAndAnswered)
{
    LabServer server;
    Socket socket(server.Start());
    socket.Send(kReportHead);
    socket.ReadUntil("\r\n\r\n"); // from here on the server waits for the body
    g_fnBeforeLastWait = [&] { socket.Send("[1]"); };
    g_bLastWaitIsWatched = true;
    server.Stop();
    EXPECT_FALSE(g_bLastWaitIsWatched);
    const std::string strReply = socket.ReadAll();
    EXPECT_THAT(strReply, StartsWith("HTTP/1.1 200 "));
    EXPECT_THAT(strReply, testing::EndsWith("\"success\":true}"));
    EXPECT_TRUE(socket.IsClosed());
    EXPECT_EQ(LabClient(server.Start()).Get("/lab/reports/cycle-data").json["count"], 1);
}

bool IsRefused(int nPort)
{
    try {
        const Socket socket(nPort);
        return false;
    } catch (const std::runtime_error&) {
        return true;
    }
}

TEST(LabStop, WhoeverComesMeanwhileIsRefused)
{
    LabServer server;
    const int nPort = server.Start();
    Socket socket(nPort);
    socket.Send(kReportHead);
    socket.ReadUntil("\r\n\r\n");
    bool bRefused = false;
    g_fnBeforeLastWait = [&] { // the thread that listens may still be about to notice
        for (const auto end = steady_clock::now() + kPromptly; steady_clock::now() < end && !bRefused;) {
            bRefused = IsRefused(nPort);
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    };
    g_bLastWaitIsWatched = true;
    server.Stop();
    EXPECT_TRUE(bRefused);
}

TEST(LabStop, ARequestThatComesByteByByteDoesNotHoldItUp)
{
    LabServer server;
    Socket socket(server.Start());
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
    EXPECT_LT(steady_clock::now() - start, kPromptly);
    slow.join();
}

TEST(LabStop, AReplyThatNobodyTakesDoesNotHoldItUp)
{
    LabServer server;
    LabFault fault;
    fault.strPath = "posts";
    fault.eKind = LabFaultKind::Reply;
    fault.strBody = std::string(40'000'000, 'x'); // more than the system keeps for a connection
    server.AddFault(fault);
    Socket socket(server.Start());
    socket.Send("GET /posts/1 HTTP/1.1\r\nHost: a\r\n\r\n");
    while (!g_bWaitsToSend)
        std::this_thread::yield();
    const auto start = steady_clock::now();
    server.Stop();
    EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(3));
}

} // namespace
