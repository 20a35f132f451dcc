// A server whose system has no descriptor for a connection, or reports one that is already gone. This program
// replaces the calls, which fail as a test says.

#include "LabFixture.h"
#include "RawClient.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <string_view>
#include <sys/socket.h>

namespace
{

std::atomic<int> g_nAcceptError = 0; ///< the error of the next failing accepts
std::atomic<int> g_nFailing = 0;     ///< how many of them

/// Whether a connection breaks when the server first invites its client to send a body.
std::atomic<bool> g_bInvitationBreaks = false;
std::atomic<int> g_nBroken = -1; ///< that connection

template <class Function>
Function Real(const char* szName)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, szName));
}

} // namespace

extern "C" int accept4(int nListener, sockaddr* pAddress, socklen_t* pSize, int nFlags)
{
    static const auto pfn = Real<decltype(&accept4)>("accept4");
    if (g_nFailing > 0) {
        --g_nFailing;
        errno = g_nAcceptError;
        return -1;
    }
    return pfn(nListener, pAddress, pSize, nFlags);
}

extern "C" ssize_t send(int nSocket, const void* pBytes, size_t nBytes, int nFlags)
{
    static const auto pfn = Real<decltype(&send)>("send");
    const std::string_view strBytes(static_cast<const char*>(pBytes), nBytes);
    if (g_bInvitationBreaks && strBytes.rfind("HTTP/1.1 100", 0) == 0) {
        g_nBroken = nSocket;
    }
    if (nSocket == g_nBroken) {
        errno = EPIPE;
        return -1;
    }
    return pfn(nSocket, pBytes, nBytes, nFlags);
}

namespace
{

class LabAcceptance : public ::testing::TestWithParam<int>
{
};

/// What the server may hold at a time, so that a failure that takes a place shows.
LabServerOptions OneConnection()
{
    LabServerOptions options;
    options.nMaxConnections = 1;
    return options;
}

TEST_P(LabAcceptance, ThatFailsIsTriedAgainAfterAPause)
{
    g_nAcceptError = GetParam();
    g_nFailing = 3;
    const auto tpBegin = std::chrono::steady_clock::now();
    LabServer server(OneConnection());
    LabClient client(server.Start());
    EXPECT_EQ(client.Get("/posts/1").nStatus, 200);
    EXPECT_EQ(g_nFailing, 0);
    if (GetParam() != EAGAIN) { // which says that nobody wants to be accepted
        EXPECT_GE(std::chrono::steady_clock::now() - tpBegin, std::chrono::milliseconds(20));
    }
}

// No descriptor, no memory, and a client that left between the poll and the accept.
INSTANTIATE_TEST_SUITE_P(Errors, LabAcceptance, ::testing::Values(EMFILE, ENOBUFS, EAGAIN, ECONNABORTED));

TEST(LabInvitation, ThatDoesNotGetOutEndsTheConnection)
{
    g_bInvitationBreaks = true;
    LabServer server;
    RawClient socket(server.Start());
    socket.Send("POST /open/test-cabinet/add/kostrel/cycle HTTP/1.1\r\nContent-Length: 10\r\n"
                "Expect: 100-continue\r\n\r\n");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(socket.ReadAll(), "");
    EXPECT_TRUE(socket.IsClosed());
    // Sooner than when a body does not arrive.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(4500));
    g_bInvitationBreaks = false;
    g_nBroken = -1; // the number may be that of the next connection
    EXPECT_EQ(LabClient(server.Port()).Get("/lab/reports/cycle-data").json["count"], 0);
}

} // namespace
