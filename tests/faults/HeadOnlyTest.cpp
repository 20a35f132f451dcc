// A kept connection that is reset when the head of a report was sent, but nothing of its body. The program
// replaces send() and recv() to reset it just then.

#include "TransportTest.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <string_view>

#include <dlfcn.h>
#include <sys/socket.h>

using testing::Each;
using testing::SizeIs;

namespace
{

constexpr int NOT_YET = -1;
constexpr int NO_LONGER = -2;

std::atomic<int> g_nWithHead{NOT_YET}; ///< the socket on which the head was sent
std::atomic<int> g_nReset{NOT_YET};    ///< the same socket, from its reset until the reset is noticed

template <class Function>
Function RealOne(const char* szName)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, szName));
}

} // namespace

/// Replaces the C library's: sends the head of a POST to /second, and reports the socket full for what
/// follows.
extern "C" __attribute__((visibility("default"))) ssize_t send(int nSocket, const void* pBytes,
                                                               std::size_t nBytes, int nFlags)
{
    static const auto pfnReal = RealOne<decltype(&send)>("send");
    if (nSocket == g_nWithHead && g_nReset == NOT_YET) {
        g_nReset = nSocket;
        ::shutdown(nSocket, SHUT_RDWR);
        errno = EAGAIN;
        return -1;
    }
    const std::string_view strBytes(static_cast<const char*>(pBytes), nBytes);
    if (g_nWithHead == NOT_YET && strBytes.rfind("POST /second ", 0) == 0) {
        g_nWithHead = nSocket;
    }
    return pfnReal(nSocket, pBytes, nBytes, nFlags);
}

extern "C" __attribute__((visibility("default"))) ssize_t recv(int nSocket, void* pBytes, std::size_t nBytes,
                                                               int nFlags)
{
    static const auto pfnReal = RealOne<decltype(&recv)>("recv");
    int nExpected = nSocket;
    if (g_nReset.compare_exchange_strong(nExpected, NO_LONGER)) {
        errno = ECONNRESET;
        return -1;
    }
    return pfnReal(nSocket, pBytes, nBytes, nFlags);
}

// Repeatedly: with a single handle, libcurl would send again only a few times.
TEST_F(TransportTest, AReportOfWhichOnlyTheHeadIsOutGoesOutAgainWhole)
{
    constexpr std::size_t ROUNDS = 8;
    Set("CHTTPCLIENT_POST_IDLE_MS", 60'000); // on a busy machine more than half a second may pass
    Start();
    const ScriptedServer server(Ok());
    for (std::size_t nRound = 0; nRound < ROUNDS; ++nRound) {
        g_nReset = NOT_YET;
        g_nWithHead = NOT_YET;
        Post(server.Url("/first"), "{}");
        ASSERT_TRUE(m_replies.WaitFor(2 * nRound + 1));
        const std::string strReport = "{\"cells\":\"" + std::string(100'000 + nRound, 'x') + "\"}";
        Post(server.Url("/second"), strReport);
        ASSERT_TRUE(m_replies.WaitFor(2 * nRound + 2));
        EXPECT_EQ(g_nReset, NO_LONGER);
        ASSERT_THAT(server.Requests(), SizeIs(2 * nRound + 2)) << "the requests that arrived whole";
        EXPECT_TRUE(server.Requests().back().strBody == strReport);
        EXPECT_EQ(server.Accepted(), nRound + 2);
    }
    RepliesAfterShutdown(2 * ROUNDS);
    EXPECT_THAT(m_replies.Errors(), Each(0));
}
