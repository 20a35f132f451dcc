// The transport as a library that is loaded and unloaded while the process runs.

#include "LoadedLibrary.h"
#include "LogFolder.h"
#include "ScriptedServer.h"
#include "WaitUntil.h"

#include <ktshttpagent/chttpclient.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>

using namespace std::chrono_literals;

namespace
{

std::atomic<int> g_nGood{0};
std::atomic<int> g_nCancelled{0};
std::atomic<int> g_nOther{0};

void Receive(const std::string& /*body*/, int /*nType*/, void* /*pUserData*/, int nHttpError)
{
    ++(nHttpError == 0 ? g_nGood : nHttpError == -42 ? g_nCancelled : g_nOther);
}

bool WaitFor(const std::atomic<int>& nCounted, int nCount)
{
    return WaitUntil([&] { return nCounted >= nCount; }) && nCounted == nCount;
}

bool WaitForGood(int nCount)
{
    return WaitFor(g_nGood, nCount);
}

/// Loads the library for its own lifetime.
class LoadedTransport
{
public:
    explicit LoadedTransport(const std::string& strFile = CHTTPCLIENT_LIBRARY) : m_library(strFile.c_str()) {}

    void Start() const
    {
        m_library.Find<decltype(&CHttpClientSetResponseCallBack)>(
            "_Z30CHttpClientSetResponseCallBackSt8functionIFvRKNS"
            "t7__cxx1112basic_stringIcSt11char_traitsIcESaIcEE"
            "EiPviEE")(Receive);
        EXPECT_TRUE(m_library.Find<decltype(&CHttpClientInit)>("_Z15CHttpClientInitv")());
    }

    void Stop() const { m_library.Find<decltype(&CHttpClientUnInit)>("_Z17CHttpClientUnInitv")(); }

    void Send(const std::string& strUrl) const
    {
        m_library.Find<decltype(&CHttpClientSendRequest)>(
            "_Z22CHttpClientSendRequestiRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES6_PvbbS6_")(
            3104, strUrl, "{}", nullptr, true, false, "");
    }

private:
    const LoadedLibrary m_library;
};

ServerStep Answer(const WireRequest& request)
{
    ServerStep step;
    if (request.Target() == "/silent") {
        step.ending = ServerStep::Ending::Hold;
    } else {
        step.strReply = HttpReply(200, "{}");
        step.delay = request.Target() == "/late" ? 200ms : 0ms;
    }
    return step;
}

} // namespace

class TransportReload : public testing::Test
{
protected:
    /// However slow the machine, requests in progress at a stop are answered before it returns.
    TransportReload() { ::setenv("CHTTPCLIENT_DRAIN_MS", "60000", 1); }

    const LogFolder m_logFolder;
    const ScriptedServer m_server{Answer};
};

TEST_F(TransportReload, StartsAnewEachTime)
{
    for (int nRound = 1; nRound <= 10; ++nRound) {
        const LoadedTransport transport;
        transport.Start();
        transport.Send(m_server.Url("/"));
        EXPECT_TRUE(WaitForGood(nRound));
        transport.Stop();
    }
    EXPECT_EQ(g_nOther + g_nCancelled, 0);
}

TEST_F(TransportReload, WithRequestsInFlightAndUnstoppedLosesNone)
{
    for (int nRound = 1; nRound <= 10; ++nRound) {
        const LoadedTransport transport;
        transport.Start();
        for (int nRequest = 0; nRequest < 8; ++nRequest) {
            transport.Send(m_server.Url("/late"));
        }
    } // unloaded while the answers are still in transit
    EXPECT_TRUE(WaitForGood(80));
    const LoadedTransport transport;
    transport.Stop();
    EXPECT_EQ(g_nOther + g_nCancelled, 0);
}

TEST_F(TransportReload, RightAfterAStopThatCancelledIsSafe)
{
    ::setenv("CHTTPCLIENT_DRAIN_MS", "0", 1);
    for (int nRound = 1; nRound <= 10; ++nRound) {
        const LoadedTransport transport;
        transport.Start();
        for (int nRequest = 0; nRequest < 8; ++nRequest) {
            transport.Send(m_server.Url("/silent"));
        }
        ASSERT_TRUE(m_server.WaitForRequests(8 * static_cast<std::size_t>(nRound)));
        transport.Stop();
        EXPECT_EQ(g_nCancelled, 8 * nRound);
    }
    EXPECT_EQ(g_nOther + g_nGood, 0);
}

// As when a host and one of its plugins each have a copy of the library: the copies are independent of each
// other, share libcurl, and one may end while the other goes on.
TEST_F(TransportReload, OfASecondCopyMakesATransportOfItsOwn)
{
    const std::filesystem::path pathCopy = m_logFolder.Path() / "second_copy.so";
    std::filesystem::copy_file(CHTTPCLIENT_LIBRARY, pathCopy);
    const LoadedTransport first;
    const LoadedTransport second(pathCopy.string());
    first.Start();
    second.Start();
    for (int nRequest = 0; nRequest < 50; ++nRequest) {
        first.Send(m_server.Url("/"));
        second.Send(m_server.Url("/"));
    }
    first.Stop();
    first.Send(m_server.Url("/")); // refused
    second.Send(m_server.Url("/"));
    EXPECT_TRUE(WaitForGood(101));
    EXPECT_TRUE(WaitFor(g_nOther, 1));
    second.Stop();
    EXPECT_EQ(g_nCancelled, 0);
}
