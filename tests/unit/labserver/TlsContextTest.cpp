// The server's side of TLS on a socket, whose other end does what a test wants.

#include "labserver/TlsContext.h"
#include "labserver/MadeAuthority.h"

#include <array>
#include <gtest/gtest.h>
#include <memory>
#include <openssl/ssl.h>
#include <string>
#include <sys/socket.h>
#include <thread>

namespace
{

/// A client that has shaken hands with a server's stream.
class TlsContextTest : public testing::Test
{
protected:
    TlsContextTest()
    {
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, m_arSockets.data()), 0);
        EXPECT_TRUE(MakeNonBlocking(m_arSockets[0]));
        m_pStream = m_context.Open(m_arSockets[0]);
        SSL_set_fd(m_pClient.get(), m_arSockets[1]);
        std::thread client([this] { EXPECT_EQ(SSL_connect(m_pClient.get()), 1); });
        EXPECT_TRUE(m_pStream->ShakeHands([this](short nEvents) { return IsReady(nEvents); }));
        client.join();
    }

    ~TlsContextTest() override
    {
        m_pStream.reset();
        CloseSocket(m_arSockets[0]);
        if (m_arSockets[1] != NO_SOCKET) {
            CloseSocket(m_arSockets[1]);
        }
    }

    void CloseClient()
    {
        CloseSocket(m_arSockets[1]);
        m_arSockets[1] = NO_SOCKET;
    }

    /// Sends without waiting until nothing more is taken.
    LabStream::Moved Fill() const
    {
        const std::string strBytes(10'000, 'x');
        LabStream::Moved moved{1, 0};
        while (moved.nBytes > 0) {
            moved = m_pStream->Send(strBytes.data(), strBytes.size());
        }
        return moved;
    }

    std::unique_ptr<LabStream> m_pStream;
    const std::unique_ptr<SSL_CTX, void (*)(SSL_CTX*)> m_pClientContext{SSL_CTX_new(TLS_client_method()),
                                                                        SSL_CTX_free};
    const std::unique_ptr<SSL, void (*)(SSL*)> m_pClient{SSL_new(m_pClientContext.get()), SSL_free};

private:
    bool IsReady(short nEvents) const
    {
        constexpr int PATIENCE_MS = 60'000;
        pollfd polled{m_arSockets[0], nEvents, 0};
        return PollSockets(&polled, 1, PATIENCE_MS) > 0;
    }

    const TlsContext m_context{MadeAuthority().Certificate(LabCertificate::Valid, {"localhost"})};
    std::array<Socket, 2> m_arSockets{NO_SOCKET, NO_SOCKET}; ///< the server's, and the client's
};

TEST_F(TlsContextTest, WaitsUntilThereIsRoomForMoreAndSaysWhatThatNeeds)
{
    const LabStream::Moved moved = Fill();
    EXPECT_EQ(moved.nBytes, 0U);
    EXPECT_EQ(moved.nAwaited, POLLOUT);
}

TEST_F(TlsContextTest, WaitsForBytesThatHaveNotCome)
{
    char c = 0;
    const LabStream::Moved none = m_pStream->Receive(&c, 1);
    EXPECT_EQ(none.nBytes, 0U);
    EXPECT_EQ(none.nAwaited, POLLIN);
    EXPECT_EQ(SSL_write(m_pClient.get(), "a", 1), 1);
    const LabStream::Moved one = m_pStream->Receive(&c, 1);
    EXPECT_EQ(one.nBytes, 1U);
    EXPECT_EQ(c, 'a');
}

TEST_F(TlsContextTest, DoesNotWaitForAClientThatHasLeft)
{
    CloseClient();
    const LabStream::Moved sent = Fill();
    EXPECT_EQ(sent.nBytes, 0U);
    EXPECT_EQ(sent.nAwaited, 0);
    m_pStream->TellEnd(); // nothing to tell it by
}

TEST_F(TlsContextTest, HasNothingMoreFromAClientThatHasLeft)
{
    CloseClient();
    char c = 0;
    const LabStream::Moved got = m_pStream->Receive(&c, 1);
    EXPECT_EQ(got.nBytes, 0U);
    EXPECT_EQ(got.nAwaited, 0);
}

TEST_F(TlsContextTest, HasNothingMoreFromAClientThatTookNotAll)
{
    EXPECT_GT(m_pStream->Send("abc", 3).nBytes, 0U);
    CloseClient(); // with bytes that it has not read: the system reports a reset
    char c = 0;
    const LabStream::Moved got = m_pStream->Receive(&c, 1);
    EXPECT_EQ(got.nBytes, 0U);
    EXPECT_EQ(got.nAwaited, 0);
}

TEST_F(TlsContextTest, KnowsTheOrderlyEndOfAClientAndTellsItsOwn)
{
    EXPECT_EQ(SSL_shutdown(m_pClient.get()), 0) << "the server has not told its end yet";
    char c = 0;
    const LabStream::Moved got = m_pStream->Receive(&c, 1);
    EXPECT_EQ(got.nBytes, 0U);
    EXPECT_EQ(got.nAwaited, 0);
    m_pStream->TellEnd();
    EXPECT_EQ(SSL_shutdown(m_pClient.get()), 1);
}

} // namespace
