// Faults that lose a reply, after the report was stored or before.

#include "LabFixture.h"
#include "RawClient.h"

#include <chrono>
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

/// Sends a report whose reply is lost. The client waits for a moment only.
void Lose(const LabServer& server, const Loss& loss)
{
    LabClient client(server.Port(),
                     std::chrono::milliseconds(loss.eKind == LabFaultKind::Silence ? 50 : 60'000));
    EXPECT_EQ(client.PostWithKey(CYCLES, "[1]", "\"k-1\"").nStatus, loss.nStatus) << loss.szName;
}

TEST_F(LabLostReply, AfterTheReportWasStoredLetsARepeatBeRecognised)
{
    int nReports = 0;
    for (const Loss& loss : LOSSES) {
        LabServer server;
        LabClient client(server.Start());
        server.AddFault(FaultOf(loss, true));
        Lose(server, loss);
        while (client.Get("/lab/reports/cycle-data").json["count"] !=
               1) { // a silent one may take a moment longer
            std::this_thread::yield();
        }
        const LabReply reply = client.PostWithKey(CYCLES, "[1]", "\"k-1\"");
        EXPECT_EQ(reply.nStatus, 200) << loss.szName;
        const Json::Value stored = client.Get("/lab/reports/cycle-data").json;
        ASSERT_EQ(stored["count"], 1) << loss.szName;
        EXPECT_EQ(stored["reports"][0]["id"], reply.json["id"]);
        EXPECT_EQ(stored["reports"][0]["key"], "k-1");
        EXPECT_EQ(stored["reports"][0]["repeats"], 1);
        ++nReports;
    }
    EXPECT_EQ(nReports, 3);
}

TEST_F(LabLostReply, BeforeTheReportWasStoredLeavesNothingBehind)
{
    for (const Loss& loss : LOSSES) {
        LabServer server;
        LabClient client(server.Start());
        server.AddFault(FaultOf(loss, false));
        Lose(server, loss);
        while (client.Get("/lab/faults").json["count"] != 0) {
            std::this_thread::yield();
        }
        EXPECT_EQ(client.Get("/lab/reports/cycle-data").json["count"], 0) << loss.szName;
        EXPECT_EQ(client.PostWithKey(CYCLES, "[1]", "\"k-1\"").nStatus, 200) << loss.szName;
        const Json::Value stored = client.Get("/lab/reports/cycle-data").json;
        ASSERT_EQ(stored["count"], 1) << loss.szName;
        EXPECT_EQ(stored["reports"][0]["repeats"], 0);
    }
}

TEST_F(LabLostReply, OfATruncatedReplyLetsARepeatBeRecognised)
{
    LabFault fault;
    fault.strPath = CYCLES;
    fault.eKind = LabFaultKind::Truncate;
    m_server.AddFault(fault);
    EXPECT_EQ(PostWithKey(CYCLES, "[1]", "\"k-1\"").nStatus, 0);
    EXPECT_EQ(PostWithKey(CYCLES, "[1]", "\"k-1\"").nStatus, 200);
    EXPECT_EQ(Get("/lab/reports/cycle-data").json["count"], 1);
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
    EXPECT_EQ(Get("/lab/reports/cycle-data").json["count"], 2) << "without a key each counts";
}

TEST_F(LabLostReply, InSilenceKeepsTheConnectionUntilTheServerStops)
{
    m_server.AddFault(FaultOf(LOSSES[1], true));
    RawClient socket(m_server.Port());
    socket.Send(std::string("POST ") + CYCLES + " HTTP/1.1\r\nHost: a\r\nContent-Length: 3\r\n\r\n[1]");
    while (m_server.Exchanges().empty()) {
        std::this_thread::yield();
    }
    socket.Send("GET /posts/1 HTTP/1.1\r\nHost: a\r\n\r\n"); // is not answered either
    std::string strMuch;
    strMuch.resize(20'000'000, 'x');
    socket.Send(strMuch); // which can't all be sent if nobody reads it
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
        RawClient socket(nPort);
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
