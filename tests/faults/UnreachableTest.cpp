// Servers that no request can reach.

#include "EachConnection.h"

#include <ostream>

/// What can't be reached, and what the callback gets.
struct Unreachable {
    enum class Peer {
        Refuses,
        NeverAnswers,      ///< a request for a connection
        NeverShakesHands,  ///< connects, but stays silent in the TLS handshake
        AuthoritiesMissing ///< of an encrypted connection
    };

    const char* szName;
    Peer peer;
    int nHttpError;

    friend void PrintTo(const Unreachable& row, std::ostream* pOut) { *pOut << row.szName; }
};

class TransportUnreachable : public TransportOnEachConnection<Unreachable>
{
protected:
    using Peer = Unreachable::Peer;

    static bool Is(Peer peer) { return TheRow().peer == peer; }

    std::string Url() const
    {
        const int nPort = Is(Peer::Refuses)        ? m_refusing.Port()
                          : Is(Peer::NeverAnswers) ? m_blackHole.Port()
                                                   : m_silent.Port();
        const bool bEncrypted = Is(Peer::NeverShakesHands) || Is(Peer::AuthoritiesMissing);
        return (bEncrypted ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(nPort) + "/vomd/x";
    }

private:
    const RefusingPort m_refusing;
    const BlackHolePort m_blackHole;
    const ScriptedServer m_silent{ServerStep{}}; // no handshake is a request to it
};

TEST_P(TransportUnreachable, IsReportedOnceAndCostsNoOtherRequest)
{
#if defined(_WIN32)
    if (Is(Peer::AuthoritiesMissing)) {
        GTEST_SKIP() << "Windows reads the file only after a peer has sent its "
                        "certificate; WindowsTlsTest covers that";
    }
#endif
    if (Is(Peer::AuthoritiesMissing)) {
        Set("CHTTPCLIENT_CA_FILE", "/nowhere/ca.pem");
    } else if (!Is(Peer::Refuses)) {
        SetShortTime("CHTTPCLIENT_CONNECT_TIMEOUT_MS", 300);
    }
    Set("CHTTPCLIENT_POST_IDLE_MS", 60'000); // on a busy machine the kept connection may be idle for long
    Start();
    const ScriptedServer server(Ok());
    for (int nRound = 0; nRound < Rounds(); ++nRound) {
        if (HasServed()) {
            EXPECT_EQ(ServeWell(server), 1U) << "its connection should have been kept";
        }
        const ReceivedReply reply = Exchange(Url());
        EXPECT_EQ(reply.nHttpError, TheRow().nHttpError);
        EXPECT_EQ(reply.strBody, "");
    }
    EXPECT_EQ(ServeWell(server), 1U);
    ExpectNoMoreReplies();
}

INSTANTIATE_TEST_SUITE_P(Peers, TransportUnreachable,
                         OnEachConnection(testing::Values(
                             Unreachable{"ThatRefuses", Unreachable::Peer::Refuses, -7},
                             Unreachable{"ThatNeverAnswers", Unreachable::Peer::NeverAnswers, -28},
                             Unreachable{"ThatNeverShakesHands", Unreachable::Peer::NeverShakesHands, -28},
                             Unreachable{"ForWantOfAuthorities", Unreachable::Peer::AuthoritiesMissing,
                                         -77})),
                         NameOnEachConnection());

// The report comes too late for the kept connection, and so needs a new one.
TEST_F(TransportInTurn, AServerThatListensNoMoreIsReportedOnceThoughItsKeptConnectionIsOpen)
{
    Set("CHTTPCLIENT_POST_IDLE_MS", 0L);
    Set("CHTTPCLIENT_TIMEOUT_MS", 20'000);
    Start();
    const SocketsStartUp sockets;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(0x7F000002); // where no other connection takes the port
    auto* const pAddress = reinterpret_cast<sockaddr*>(&address);
    socklen_t nSize = sizeof address;
    const Socket nListener = OpenStreamSocket();
    ASSERT_EQ(::bind(nListener, pAddress, nSize), 0);
    ASSERT_EQ(::listen(nListener, 1), 0);
    ASSERT_EQ(::getsockname(nListener, pAddress, &nSize), 0);
    const std::string strUrl = "http://127.0.0.2:" + std::to_string(ntohs(address.sin_port)) + "/";
    const std::size_t nFirst = Send(strUrl);
    const Socket nKept = AcceptConnection(nListener);
    CloseSocket(nListener);
    const std::string strReply = HttpReply(200, "{}");
    ASSERT_EQ(SendBytes(nKept, strReply.data(), strReply.size()),
              static_cast<std::ptrdiff_t>(strReply.size()));
    EXPECT_EQ(AnswerTo(nFirst).nHttpError, 0);
    EXPECT_EQ(Exchange(strUrl, true).nHttpError, -7);
    EXPECT_EQ(Exchange(strUrl, true).nHttpError, -7);
    ExpectNoMoreReplies();
    CloseSocket(nKept);
}
