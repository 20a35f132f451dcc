// Calls of the lab server's operator interface when the server is away, or speaks nonsense.

#include "testing/LabCall.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTcpServer>
#include <QTcpSocket>

#include <future>
#include <thread>

using ::testing::HasSubstr;

namespace
{

constexpr int CALL_MS = 60'000;

/// A server that sends these bytes to its first client, and closes the connection.
class OneAnswerServer
{
public:
    explicit OneAnswerServer(const QByteArray& baAnswer)
    {
        std::promise<int> port;
        auto future = port.get_future();
        m_thread = std::thread([baAnswer, &port] {
            QTcpServer server;
            server.listen(QHostAddress::LocalHost);
            port.set_value(server.serverPort());
            if (server.waitForNewConnection(CALL_MS)) {
                QTcpSocket& client = *server.nextPendingConnection();
                client.waitForReadyRead(CALL_MS); // otherwise its request would reset the connection
                client.readAll();
                client.write(baAnswer);
                client.disconnectFromHost();
                if (client.state() != QAbstractSocket::UnconnectedState) {
                    client.waitForDisconnected(CALL_MS);
                }
            }
        });
        m_nPort = future.get();
    }
    ~OneAnswerServer() { m_thread.join(); }
    OneAnswerServer(const OneAnswerServer&) = delete;
    OneAnswerServer& operator=(const OneAnswerServer&) = delete;

    int Port() const { return m_nPort; }

private:
    std::thread m_thread;
    int m_nPort = 0;
};

TEST(LabCall, TakesAReplyWithItsWholeBody)
{
    const OneAnswerServer server("HTTP/1.1 200 OK\r\ncontent-length: 2\r\n\r\n{}");
    const LabCallReply reply = CallLab(server.Port(), "GET", "/lab/faults", {}, CALL_MS);
    EXPECT_EQ(reply.nStatus, 200);
    EXPECT_EQ(reply.baBody, "{}");
    EXPECT_EQ(reply.strError, "");
}

TEST(LabCall, SaysThatTheServerCannotBeReached)
{
    int nPort = 0;
    {
        QTcpServer server;
        ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
        nPort = server.serverPort();
    }
    const LabCallReply reply = CallLab(nPort, "GET", "/lab/faults", {}, CALL_MS);
    EXPECT_EQ(reply.nStatus, 0);
    EXPECT_THAT(reply.strError.toStdString(),
                HasSubstr("GET /lab/faults: the lab server can't be reached: "));
}

class LabCallWithoutReply : public ::testing::TestWithParam<const char*>
{
};

TEST_P(LabCallWithoutReply, SaysSo)
{
    const OneAnswerServer server(GetParam());
    const LabCallReply reply = CallLab(server.Port(), "DELETE", "/lab/faults", {}, CALL_MS);
    EXPECT_EQ(reply.nStatus, 0);
    EXPECT_THAT(reply.strError.toStdString(),
                HasSubstr("DELETE /lab/faults: the lab server gives no whole reply: "));
}

INSTANTIATE_TEST_SUITE_P(Each, LabCallWithoutReply,
                         ::testing::Values("", "HTTP/1.1 200 OK\r\nContent-Le", "HTTP/1.1 200 OK\r\n\r\n{}",
                                           "HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\n{}"));

} // namespace
