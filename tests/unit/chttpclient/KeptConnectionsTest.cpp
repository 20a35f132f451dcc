#include "platform/chttpclient/KeptConnections.h"

#include "labserver/StreamSockets.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace
{

using chttpclient::ConnectionEnds;
using Clock = chttpclient::KeptConnections::Clock;
using namespace std::chrono_literals;

/// The two ends of a connection within this process.
class ConnectedPair
{
public:
    ConnectedPair()
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        auto* const pAddress = reinterpret_cast<sockaddr*>(&address);
        socklen_t nSize = sizeof address;
        const Socket nListener = OpenStreamSocket();
        EXPECT_EQ(::bind(nListener, pAddress, nSize), 0);
        EXPECT_EQ(::listen(nListener, 1), 0);
        EXPECT_EQ(::getsockname(nListener, pAddress, &nSize), 0);
        m_nClient = OpenStreamSocket();
        EXPECT_EQ(::connect(m_nClient, pAddress, nSize), 0);
        m_nServer = AcceptConnection(nListener);
        CloseSocket(nListener);
    }
    ~ConnectedPair()
    {
        CloseSocket(m_nClient);
        CloseSocket(m_nServer);
    }
    ConnectedPair(const ConnectedPair&) = delete;
    ConnectedPair& operator=(const ConnectedPair&) = delete;

    Socket Client() const { return m_nClient; }

    /// Sends something to the client's end.
    void SaySomething() const
    {
        EXPECT_EQ(SendBytes(m_nServer, "x", 1), 1);
        WaitForNews();
    }
    void End() const
    {
        EXPECT_EQ(::shutdown(m_nServer, SHUT_WR), 0);
        WaitForNews();
    }
    void TakeWhatWasSaid() const
    {
        char c = 0;
        EXPECT_EQ(ReceiveBytes(m_nClient, &c, 1), 1);
    }

private:
    void WaitForNews() const
    {
        pollfd polled{m_nClient, POLLIN, 0};
        EXPECT_EQ(PollSockets(&polled, 1, 30'000), 1);
    }

    const SocketsStartUp m_sockets;
    Socket m_nClient = NO_SOCKET;
    Socket m_nServer = NO_SOCKET;
};

ConnectionEnds Ends(int nOwnPort)
{
    return {"192.0.2.1", "192.0.2.2", 80, nOwnPort};
}

class KeptConnections : public ::testing::Test
{
protected:
    static constexpr auto MAX_IDLE = 1min; // long, so that a slow machine does not matter

    static Clock::time_point Young() { return Clock::now(); }
    static Clock::time_point Old() { return Clock::now() - 2 * MAX_IDLE; }

    void ExpectUse(const ConnectionEnds& ends, bool bByQueries, bool bByReports) const
    {
        EXPECT_EQ(m_kept.MayCarry(ends, false), bByQueries);
        EXPECT_EQ(m_kept.MayCarry(ends, true), bByReports);
    }

    const ConnectedPair m_pair;
    chttpclient::KeptConnections m_kept{MAX_IDLE, 3};
};

TEST_F(KeptConnections, ThatNobodyNotedCarryQueriesAlone)
{
    ExpectUse(Ends(1), true, false);
    m_kept.Keep(Ends(2), m_pair.Client(), Young());
    ExpectUse(Ends(1), true, false);
}

TEST_F(KeptConnections, CarryReportsUntilTheyAreOld)
{
    m_kept.Keep(Ends(1), m_pair.Client(), Young());
    m_kept.Keep(Ends(2), m_pair.Client(), Old());
    ExpectUse(Ends(1), true, true);
    ExpectUse(Ends(2), true, false);
}

TEST_F(KeptConnections, AreAsOldAsTheirLastExchange)
{
    m_kept.Keep(Ends(1), m_pair.Client(), Old());
    for (int nTime = 0; nTime < 2; ++nTime) {
        m_kept.Keep(Ends(1), m_pair.Client(), Young());
        ExpectUse(Ends(1), true, true);
        m_kept.Keep(Ends(1), m_pair.Client(), Old());
        ExpectUse(Ends(1), true, false);
    }
}

TEST_F(KeptConnections, CarryNothingWhileTheServerHasSaidMoreThanItWasAskedFor)
{
    m_kept.Keep(Ends(1), m_pair.Client(), Young());
    for (int nTime = 0; nTime < 2; ++nTime) {
        m_pair.SaySomething();
        ExpectUse(Ends(1), false, false);
        m_pair.TakeWhatWasSaid();
        ExpectUse(Ends(1), true, true);
    }
    m_pair.End();
    ExpectUse(Ends(1), false, false);
}

// The same ends may occur again, after the connection that had them first was closed.
TEST_F(KeptConnections, AreJudgedByTheSocketOfTheirLastExchange)
{
    const ConnectedPair ended;
    ended.End();
    m_kept.Keep(Ends(1), ended.Client(), Young());
    ExpectUse(Ends(1), false, false);
    m_kept.Keep(Ends(1), m_pair.Client(), Young());
    ExpectUse(Ends(1), true, true);
    m_kept.Keep(Ends(1), ended.Client(), Young());
    ExpectUse(Ends(1), false, false);
}

TEST_F(KeptConnections, BeyondTheMostTakeThePlaceOfTheOneThatIdledLongest)
{
    const Clock::time_point tpNow = Young();
    m_kept.Keep(Ends(1), m_pair.Client(), tpNow - 2s);
    m_kept.Keep(Ends(2), m_pair.Client(), tpNow - 4s);
    m_kept.Keep(Ends(3), m_pair.Client(), tpNow - 3s);
    m_kept.Keep(Ends(1), m_pair.Client(), tpNow - 5s); // already known, so it replaces no other one
    ExpectUse(Ends(2), true, true);
    const int nOrder[] = {1, 2, 3};
    int nNext = 4;
    for (const int nForgotten : nOrder) {
        ExpectUse(Ends(nForgotten), true, true);
        m_kept.Keep(Ends(nNext), m_pair.Client(), tpNow);
        ExpectUse(Ends(nForgotten), true, false);
        ExpectUse(Ends(nNext), true, true);
        ++nNext;
    }
}

TEST_F(KeptConnections, AreToldApartByEachOfTheirEnds)
{
    m_kept.Keep({"192.0.2.1", "192.0.2.2", 80, 1}, m_pair.Client(), Young());
    ExpectUse({"192.0.2.1", "192.0.2.2", 80, 1}, true, true);
    ExpectUse({"192.0.2.3", "192.0.2.2", 80, 1}, true, false);
    ExpectUse({"192.0.2.1", "192.0.2.3", 80, 1}, true, false);
    ExpectUse({"192.0.2.1", "192.0.2.2", 81, 1}, true, false);
    ExpectUse({"192.0.2.1", "192.0.2.2", 80, 2}, true, false);
}

} // namespace
