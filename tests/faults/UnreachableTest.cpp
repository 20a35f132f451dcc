// Servers that no request gets to.

#include "EachConnection.h"

#include <ostream>

/// Who is asked in vain, and what the callback hears.
struct Unreachable {
    enum class Peer {
        Refuses,
        NeverAnswers,      ///< a request for a connection
        NeverShakesHands,  ///< connects, and is silent when encryption is to be agreed on
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
        GTEST_SKIP()
            << "Windows reads the file only when a peer has shown its certificate; WindowsTlsTest has one";
    }
#endif
    if (Is(Peer::AuthoritiesMissing)) {
        Set("CHTTPCLIENT_CA_FILE", "/nowhere/ca.pem");
    } else if (!Is(Peer::Refuses)) {
        SetShortTime("CHTTPCLIENT_CONNECT_TIMEOUT_MS", 300);
    }
    Start();
    const ScriptedServer server(Ok());
    for (int nRound = 0; nRound < Rounds(); ++nRound) {
        if (HasServed()) {
            EXPECT_EQ(ServeWell(server), 1U) << "its connection was to stay";
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
