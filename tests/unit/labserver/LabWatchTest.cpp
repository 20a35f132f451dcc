// What a server tells those who watch its traffic.

#include "LabFixture.h"
#include "RawClient.h"

#include <gmock/gmock.h>

#include <memory>
#include <thread>
#include <vector>

using testing::HasSubstr;
using testing::Not;

namespace
{

const char* const EVENTS = "GET /lab/events HTTP/1.1\r\nHost: localhost:";

class LabWatching : public LabTest
{
protected:
    /// A client of the stream of events.
    std::unique_ptr<RawClient> Watch(const std::string& strHeader = {})
    {
        auto pSocket = std::make_unique<RawClient>(m_server.Port());
        pSocket->Send(EVENTS + std::to_string(m_server.Port()) + "\r\n" + strHeader + "\r\n");
        return pSocket;
    }

    /// A client that has got the stream's head.
    std::unique_ptr<RawClient> WatchNow()
    {
        auto pSocket = Watch();
        EXPECT_THAT(pSocket->ReadPast("retry: 2000\n\n"), testing::StartsWith("HTTP/1.1 200 OK\r\n"));
        return pSocket;
    }

    Json::Value Exchanges(const std::string& strQuery = {})
    {
        return Get("/lab/exchanges" + strQuery).json["exchanges"];
    }
};

} // namespace

TEST_F(LabWatching, ListsWhatHostsSendAndNotWhatTheOperatorDoes)
{
    Get("/posts/7");
    Post(CYCLES, "[1]");
    Get("/lab/faults");
    const Json::Value exchanges = Exchanges();
    ASSERT_EQ(exchanges.size(), 2U);
    EXPECT_EQ(exchanges[0]["path"], CYCLES);
    EXPECT_EQ(exchanges[0]["host"], "127.0.0.1");
    EXPECT_EQ(exchanges[0]["requestBytes"].asInt(), 3);
    EXPECT_EQ(exchanges[1]["target"], "/posts/7");
    EXPECT_EQ(exchanges[1]["outcome"], "answered");
    EXPECT_EQ(exchanges[1]["status"], 200);
    EXPECT_GE(exchanges[1]["durationMs"].asDouble(), 0);
}

TEST_F(LabWatching, ShowsAnExchangeWhole)
{
    Post(CYCLES, R"([{"barcode":"<script>alert(1)</script>"}])");
    const Json::Value exchange = Get("/lab/exchanges/" + Exchanges()[0]["id"].asString()).json;
    EXPECT_EQ(exchange["requestBody"], R"([{"barcode":"<script>alert(1)</script>"}])");
    EXPECT_EQ(JsonFrom(exchange["replyBody"].asString())["success"], true);
    bool bLabelled = false;
    for (const Json::Value& header : exchange["requestHeaders"]) {
        bLabelled = bLabelled || header[0] == "Content-Type";
        EXPECT_NE(header[0], "REMOTE_ADDR") << "the client did not send it";
    }
    EXPECT_TRUE(bLabelled);
    EXPECT_EQ(Get("/lab/exchanges/99").nStatus, 404);
    EXPECT_EQ(Get("/lab/exchanges/-1").nStatus, 404);
    EXPECT_EQ(Get("/lab/exchanges/x").nStatus, 400);
}

TEST_F(LabWatching, FindsByPathHostAndOutcome)
{
    Get("/posts/7");
    Get("/nothing");
    Get("/posts/7?again");
    EXPECT_EQ(Exchanges("?path=posts").size(), 2U);
    EXPECT_EQ(Exchanges("?outcome=refused").size(), 1U);
    EXPECT_EQ(Exchanges("?host=10.0").size(), 0U);
    EXPECT_EQ(Exchanges("?limit=1")[0]["target"], "/posts/7?again");
    const std::string strLast = Exchanges()[0]["id"].asString();
    EXPECT_EQ(Exchanges("?limit=1&before=" + strLast)[0]["path"], "/nothing");
    for (const char* szQuery : {"?limit=0", "?limit=1001", "?before=x"}) {
        EXPECT_EQ(Get(std::string("/lab/exchanges") + szQuery).nStatus, 400) << szQuery;
    }
}

TEST_F(LabWatching, TellsWhatAFaultHasDone)
{
    for (const char* szFault : {R"("reset":true)", R"("truncate":true)", R"("status":502)"}) {
        EXPECT_EQ(Post("/lab/faults", std::string(R"({"path":"posts",)") + szFault + "}").nStatus, 200);
    }
    Get("/posts/1");
    Get("/posts/2");
    Get("/posts/3");
    const Json::Value exchanges = Exchanges();
    ASSERT_EQ(exchanges.size(), 3U);
    EXPECT_EQ(exchanges[2]["outcome"], "reset");
    EXPECT_EQ(exchanges[2]["status"], 0);
    EXPECT_EQ(exchanges[1]["outcome"], "truncated");
    EXPECT_EQ(exchanges[0]["outcome"], "fault");
    EXPECT_EQ(exchanges[0]["status"], 502);
    EXPECT_EQ(exchanges[0]["fault"]["status"], 502);
}

TEST_F(LabWatching, HasTheRatesOfFiveMinutes)
{
    Get("/posts/1");
    const Json::Value seconds = Get("/lab/rates").json["seconds"];
    EXPECT_EQ(seconds.size(), 300U);
    EXPECT_THAT(seconds[299]["second"].asString(), testing::EndsWith(".000Z"));
}

TEST_F(LabWatching, StreamsWhatHappens)
{
    const auto pSocket = WatchNow();
    Get("/posts/7");
    EXPECT_THAT(pSocket->ReadPast("\"target\":\"/posts/7\""), HasSubstr("id: 1\nevent: exchange\ndata: {"));
    EXPECT_THAT(pSocket->ReadPast("\"skipped\":"), HasSubstr("event: second\ndata: {\"count\":"));
    Post(CYCLES, "[1]");
    EXPECT_THAT(pSocket->ReadPast("\"what\":\"reports\"}\n\n"), HasSubstr("\"name\":\"cycle-data\""));
    Post("/lab/faults", R"({"path":"posts","status":502})");
    EXPECT_THAT(pSocket->ReadPast("\"what\":\"faults\"}\n\n"), HasSubstr("event: change\n"));
}

TEST_F(LabWatching, StreamsFromTheLastEventOfAClientThatComesAgain)
{
    Get("/posts/1");
    Get("/posts/2");
    const auto pSocket = Watch("Last-Event-ID: 1\r\n");
    EXPECT_THAT(pSocket->ReadPast("\"target\":\"/posts/2\""), Not(HasSubstr("/posts/1")));
    EXPECT_THAT(Watch("Last-Event-ID: x\r\n")->ReadUntil("}"), testing::StartsWith("HTTP/1.1 400 "));
}

TEST_F(LabWatching, LetsOnlySoManyWatch)
{
    std::vector<std::unique_ptr<RawClient>> vecSockets;
    for (int nClient = 0; nClient < 16; ++nClient) {
        vecSockets.push_back(WatchNow());
    }
    EXPECT_THAT(Watch()->ReadUntil("}"), testing::StartsWith("HTTP/1.1 503 "));
    vecSockets.clear(); // the server notices it within moments
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    std::string strHead;
    while (strHead.rfind("HTTP/1.1 200 ", 0) != 0 && std::chrono::steady_clock::now() < end) {
        strHead = Watch()->ReadPast("\r\n\r\n");
    }
    EXPECT_THAT(strHead, testing::StartsWith("HTTP/1.1 200 "));
}

TEST_F(LabWatching, HasAHeadOfItsOwn)
{
    EXPECT_EQ(m_client.Send("HEAD", "/lab/events").nStatus, 200);
}

TEST_F(LabWatching, GoesOnWhateverTheWatcherSays)
{
    const auto pSocket = WatchNow();
    pSocket->Send("anything");
    Post(CYCLES, "[1]");
    EXPECT_THAT(pSocket->ReadPast(CYCLES), HasSubstr("exchange"));
}

TEST_F(LabWatching, EndsForOneWhoResetsTheConnection)
{
    LabServerOptions options;
    options.nMaxConnections = 1;
    LabServer server(options);
    const int nPort = server.Start();
    {
        RawClient socket(nPort);
        socket.Send(EVENTS + std::to_string(nPort) + "\r\n\r\n");
        socket.ReadPast("retry: 2000\n\n");
        socket.ResetAtItsEnd();
    }
    while (LabClient(nPort).Get("/posts/1").nStatus != 200) {
        std::this_thread::yield();
    }
}

TEST_F(LabWatching, EndsAtOnceWithTheServer)
{
    const auto pSocket = WatchNow();
    const auto start = std::chrono::steady_clock::now();
    m_server.Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    pSocket->ReadAll();
    EXPECT_TRUE(pSocket->IsClosed());
}

TEST_F(LabWatching, IsForTheOperatorOnly)
{
    RawClient socket(m_server.Port());
    socket.Send("GET /lab/events HTTP/1.1\r\nHost: evil.example\r\n\r\n");
    EXPECT_THAT(socket.ReadUntil("}"), testing::StartsWith("HTTP/1.1 403 "));
}
