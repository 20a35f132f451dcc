// Encrypted exchanges that come to nothing before there is a peer to trust.

#include "TransportTest.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

TEST_F(TransportTest, APeerThatIsSilentInTheHandshakeEndsWithTheTimeToConnect)
{
    Set("CHTTPCLIENT_CONNECT_TIMEOUT_MS", 300);
    Start();
    const ScriptedServer server(ServerStep{}); // no handshake is a request to it
    Get("https://127.0.0.1:" + std::to_string(server.Port()) + "/");
    RepliesAfterShutdown(1);
    EXPECT_THAT(m_replies.Errors(), ElementsAre(-28));
}

TEST_F(TransportTest, AnAuthorityFileThatIsMissingFailsEncryptedRequestsAlone)
{
#if defined(_WIN32)
    GTEST_SKIP()
        << "Windows reads the file only when a peer has shown its certificate; WindowsTlsTest has one";
#endif
    Set("CHTTPCLIENT_CA_FILE", "/nowhere/ca.pem");
    Start();
    ServerStep step;
    step.strReply = HttpReply(200, "");
    const ScriptedServer server(step);
    Get(server.Url("/"));
    ASSERT_TRUE(m_replies.WaitFor(1));
    Get("https://127.0.0.1:" + std::to_string(server.Port()) + "/");
    RepliesAfterShutdown(2);
    EXPECT_THAT(m_replies.Errors(), ElementsAre(0, -77));
}
