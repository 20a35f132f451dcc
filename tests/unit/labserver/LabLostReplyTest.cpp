// Faults that lose a reply, after the report was stored or before.

#include "LabFixture.h"
#include "Socket.h"

#include <gmock/gmock.h>
#include <thread>

namespace
{

/// Faults that lose the reply, and the status that the client gets instead, 0 for none.
struct Loss {
    const char* szName;
    LabFaultKind eKind;
    int nStatus;
};

constexpr Loss LOSSES[] = {
    {"reset", LabFaultKind::Reset, 0},
    {"silence", LabFaultKind::Silence, 0},
    {"reply", LabFaultKind::Reply, 504},
};

LabFault FaultOf(const Loss& loss, bool bStored)
{
    LabFault fault;
    fault.strPath = CYCLES;
    fault.eKind = loss.eKind;
    fault.nStatus = loss.nStatus;
    fault.bStored = bStored;
    return fault;
}

using LabLostReply = LabTest;

TEST_F(LabLostReply, LeavesTheReportStoredIfTheFaultSaysSo)
{
    for (const Loss& loss : LOSSES) {
        for (const bool bStored : {true, false}) {
            LabServer server;
            const int nPort = server.Start();
            server.AddFault(FaultOf(loss, bStored));
            Socket socket(nPort);
            socket.Send(std::string("POST ") + CYCLES +
                        " HTTP/1.1\r\nHost: a\r\nContent-Length: 3\r\n\r\n[1]");
            while (server.Exchanges().empty()) {
                std::this_thread::yield();
            }
            EXPECT_EQ(server.Exchanges().front().nStatus, loss.nStatus) << loss.szName;
            EXPECT_EQ(LabClient(nPort).Get("/lab/reports/cycle-data").json["count"], bStored ? 1 : 0)
                << loss.szName;
        }
    }
}

TEST_F(LabLostReply, ByAStoredReportOfTheOperatorsFault)
{
    Post("/lab/faults", std::string(R"({"path": ")") + CYCLES +
                            R"(", "count": 2, "status": 502, "body": "Bad Gateway", "stored": true})");
    for (int nTry = 0; nTry < 2; ++nTry) {
        const LabReply reply = Post(CYCLES, "[1]");
        EXPECT_EQ(reply.nStatus, 502);
        EXPECT_EQ(reply.strBody, "Bad Gateway");
    }
    EXPECT_EQ(Get("/lab/reports/cycle-data").json["count"], 2);
}

TEST_F(LabLostReply, InSilenceKeepsTheConnectionUntilTheServerStops)
{
    m_server.AddFault(FaultOf(LOSSES[1], true));
    Socket socket(m_server.Port());
    socket.Send(std::string("POST ") + CYCLES + " HTTP/1.1\r\nHost: a\r\nContent-Length: 3\r\n\r\n[1]");
    while (m_server.Exchanges().empty()) {
        std::this_thread::yield();
    }
    socket.Send("GET /posts/1 HTTP/1.1\r\nHost: a\r\n\r\n"); // is not answered either
    std::thread stopper([this] { m_server.Stop(); });
    EXPECT_EQ(socket.ReadAll(), "");
    EXPECT_TRUE(socket.IsClosed() || socket.IsReset());
    stopper.join();
    const std::vector<LabExchange> vecExchanges = m_server.Exchanges();
    ASSERT_EQ(vecExchanges.size(), 1U);
    EXPECT_EQ(vecExchanges.front().nStatus, 0);
    EXPECT_EQ(vecExchanges.front().strReply, "");
}

TEST(LabSilence, FreesTheConnectionOfAClientThatLeaves)
{
    LabServerOptions options;
    options.nMaxConnections = 1;
    LabServer server(options);
    const int nPort = server.Start();
    server.AddFault(FaultOf(LOSSES[1], false));
    {
        Socket socket(nPort);
        socket.Send(std::string("POST ") + CYCLES + " HTTP/1.1\r\nHost: a\r\nContent-Length: 3\r\n\r\n[1]");
        while (server.Exchanges().empty()) {
            std::this_thread::yield();
        }
        EXPECT_EQ(LabClient(nPort).Get("/posts/1").nStatus, 503);
    }
    while (LabClient(nPort).Get("/posts/1").nStatus != 200) {
        std::this_thread::yield();
    }
}

} // namespace
