#include "LabFixture.h"
#include "Socket.h"

#include <chrono>
#include <gmock/gmock.h>

namespace
{

using testing::HasSubstr;

const std::string USER_REQUEST = "GET /posts/1 HTTP/1.1\r\nHost: a\r\n\r\n";

class LabFaultsTest : public LabTest
{
protected:
    void Script(const std::string& strFault)
    {
        const LabReply reply = Post("/lab/faults", strFault);
        EXPECT_EQ(reply.nStatus, 200) << reply.strBody;
    }
};

TEST_F(LabFaultsTest, AStatusAnswersTheNextRequestsAndThenNoMore)
{
    Script(R"({"path": "posts", "count": 2, "status": 502, "body": "<html>502 Bad Gateway</html>",
               "contentType": "text/html"})");
    for (int nTry = 0; nTry < 2; ++nTry) {
        const LabReply reply = Get("/posts/1");
        EXPECT_EQ(reply.nStatus, 502);
        EXPECT_EQ(reply.strBody, "<html>502 Bad Gateway</html>");
        EXPECT_EQ(reply.strContentType, "text/html");
    }
    EXPECT_EQ(Get("/posts/1").nStatus, 200);
}

TEST_F(LabFaultsTest, AStatusWithoutABodyGetsTheUsualEnvelope)
{
    Script(R"({"path": "/posts/1", "status": 503})");
    const LabReply reply = Get("/posts/1");
    EXPECT_EQ(reply.nStatus, 503);
    EXPECT_EQ(reply.json["success"], false);
    EXPECT_EQ(reply.json["code"], 503);
}

TEST_F(LabFaultsTest, ABodyAloneComesWithStatus200)
{
    for (const char* szBody : {"not json", ""}) {
        LabFault fault;
        fault.strPath = "posts/1";
        fault.eKind = LabFaultKind::Reply;
        fault.strBody = szBody;
        m_server.AddFault(fault);
        const LabReply reply = Get("/posts/1");
        EXPECT_EQ(reply.nStatus, 200);
        EXPECT_EQ(reply.strBody, szBody);
    }
    Script(R"({"path": "posts/1", "body": "[1"})");
    EXPECT_EQ(Get("/posts/1").strBody, "[1");
}

TEST_F(LabFaultsTest, AnEmptyBodyIsSentEmptyWithAnyStatus)
{
    Script(R"({"path": "posts", "status": 500, "body": ""})");
    const LabReply reply = Get("/posts/1");
    EXPECT_EQ(reply.nStatus, 500);
    EXPECT_EQ(reply.strBody, "");
}

TEST_F(LabFaultsTest, AFaultReplyStoresNothing)
{
    Script(R"({"path": "open/test-cabinet/add/kostrel/cycle", "status": 500})");
    EXPECT_EQ(Post(CYCLES, "[1]").nStatus, 500);
    EXPECT_EQ(Get("/lab/reports/cycle-data").json["count"], 0);
}

TEST_F(LabFaultsTest, ADelayPutsTheAnswerOff)
{
    Script(R"({"path": "posts", "delayMs": 150})");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Get("/posts/1").json["id"], 1);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(150));
}

TEST_F(LabFaultsTest, ADelayGoesBeforeAnyOtherFault)
{
    Script(R"({"path": "posts", "delayMs": 150, "status": 504})");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Get("/posts/1").nStatus, 504);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(150));
}

TEST_F(LabFaultsTest, ATruncatedReplyPromisesMoreThanComes)
{
    const size_t nWhole = Get("/posts/1").strBody.size();
    Script(R"({"path": "posts", "truncate": true})");
    Socket socket(m_server.Port());
    socket.Send(USER_REQUEST);
    const std::string strReply = socket.ReadAll();
    EXPECT_TRUE(socket.IsClosed());
    EXPECT_THAT(strReply, HasSubstr("Content-Length: " + std::to_string(nWhole) + "\r\n"));
    EXPECT_EQ(strReply.size() - strReply.find("\r\n\r\n") - 4, nWhole / 2);
}

TEST_F(LabFaultsTest, AReportWhoseReplyIsTruncatedIsStored)
{
    Script(R"({"path": "open/test-cabinet/add/kostrel/cycle", "truncate": true})");
    EXPECT_EQ(Post(CYCLES, "[1]").nStatus, 0);
    EXPECT_EQ(Get("/lab/reports/cycle-data").json["count"], 1);
    EXPECT_THAT(m_server.Exchanges().at(1).strReply, HasSubstr("\"success\":true}"));
}

TEST_F(LabFaultsTest, AResetComesInsteadOfAReply)
{
    Script(R"({"path": "posts", "reset": true})");
    Socket socket(m_server.Port());
    socket.Send(USER_REQUEST);
    EXPECT_EQ(socket.ReadAll(), "");
    EXPECT_TRUE(socket.IsReset());
}

TEST_F(LabFaultsTest, AReportThatMetAResetIsNotStored)
{
    Script(R"({"path": "open/test-cabinet/add/kostrel/cycle", "reset": true})");
    EXPECT_EQ(Post(CYCLES, "[1]").nStatus, 0);
    EXPECT_EQ(Get("/lab/reports/cycle-data").json["count"], 0);
    const LabExchange exchange = m_server.Exchanges().at(1);
    EXPECT_EQ(exchange.strBody, "[1]");
    EXPECT_EQ(exchange.nStatus, 0);
    EXPECT_EQ(exchange.strReply, "");
}

TEST_F(LabFaultsTest, FaultsOfAPathTakeTurnsAndSpareOtherPaths)
{
    Script(R"({"path": "posts/1", "status": 500})");
    Script(R"({"path": "posts", "status": 501})");
    EXPECT_EQ(Get("/posts/2").nStatus, 501);
    EXPECT_EQ(Get("/posts/2").nStatus, 200);
    Script(R"({"path": "pos", "status": 502})");
    EXPECT_EQ(Get("/posts/1").nStatus, 500);
    EXPECT_EQ(Get("/posts/1").nStatus, 200);
}

TEST_F(LabFaultsTest, AFaultStrikesPathsThatTheServerDoesNotHave)
{
    Script(R"({"path": "api/ver", "body": "{\"success\":true}"})");
    EXPECT_EQ(Get("/api/ver?t=1").json["success"], true);
    EXPECT_EQ(Get("/api/ver?t=1").nStatus, 404);
}

TEST_F(LabFaultsTest, PendingFaultsAreListedCountedDownAndCleared)
{
    EXPECT_EQ(Get("/lab/faults").json, JsonFrom(R"({"count": 0, "faults": []})"));
    Script(R"({"path": "/posts", "count": 3, "delayMs": 1})");
    Script(R"({"path": "a", "status": 418, "body": "tea", "contentType": "text/plain"})");
    Script(R"({"path": "b", "truncate": true})");
    Script(R"({"path": "c", "reset": true})");
    Script(R"({"path": "d", "silence": true, "stored": true})");
    Get("/posts/1");
    EXPECT_EQ(Get("/lab/faults").json, JsonFrom(R"({"count": 5, "faults": [
        {"path": "posts", "count": 2, "delayMs": 1},
        {"path": "a", "count": 1, "delayMs": 0, "status": 418, "body": "tea", "contentType": "text/plain"},
        {"path": "b", "count": 1, "delayMs": 0, "truncate": true},
        {"path": "c", "count": 1, "delayMs": 0, "reset": true},
        {"path": "d", "count": 1, "delayMs": 0, "silence": true, "stored": true}]})"));
    m_client.Send("DELETE", "/lab/faults");
    EXPECT_EQ(Get("/lab/faults").json["count"], 0);
    EXPECT_EQ(Get("/a").nStatus, 404);
}

TEST_F(LabFaultsTest, TheOperatorsOwnPathsNeverFail)
{
    Script(R"({"path": "lab", "status": 500})");
    Script(R"({"path": "lab/faults", "reset": true})");
    EXPECT_EQ(Get("/lab/faults").nStatus, 200);
}

TEST_F(LabFaultsTest, AFaultThatMakesNoSenseIsRefused)
{
    for (const char* szFault : {"[]",
                                "{}",
                                R"({"path": "a"})",
                                R"({"status": 500})",
                                R"({"path": 7, "status": 500})",
                                R"({"path": "a", "status": 99})",
                                R"({"path": "a", "status": 600})",
                                R"({"path": "a", "status": 199})",
                                R"({"path": "a", "delayMs": 600001})",
                                R"({"path": "a", "count": 1000001, "reset": true})",
                                R"({"path": "a", "status": "500"})",
                                R"({"path": "a", "delayMs": -1})",
                                R"({"path": "a", "delayMs": 1e12})",
                                R"({"path": "a", "count": 0, "reset": true})",
                                R"({"path": "a", "reset": 1})",
                                R"({"path": "a", "reset": false})",
                                R"({"path": "a", "reset": true, "truncate": true})",
                                R"({"path": "a", "status": 500, "truncate": true})",
                                R"({"path": "a", "body": {}})",
                                R"({"path": "a", "reset": true, "silence": true})",
                                R"({"path": "a", "silence": false})",
                                R"({"path": "a", "stored": true})",
                                R"({"path": "a", "stored": true, "delayMs": 1})",
                                R"({"path": "a", "stored": true, "truncate": true})",
                                R"({"path": "a", "stored": 1, "reset": true})"}) {
        const LabReply reply = Post("/lab/faults", szFault);
        EXPECT_EQ(reply.nStatus, 400) << szFault;
        EXPECT_EQ(reply.json["success"], false);
    }
    EXPECT_EQ(Get("/lab/faults").json["count"], 0);
}

TEST_F(LabFaultsTest, AFaultAtItsLimitsIsTaken)
{
    for (const char* szFault :
         {R"({"path": "a", "status": 200})", R"({"path": "a", "status": 599})",
          R"({"path": "a", "delayMs": 600000})", R"({"path": "a", "delayMs": 0, "reset": true})",
          R"({"path": "a", "count": 1000000, "reset": true})",
          R"({"path": "a", "delayMs": 0, "stored": false})"}) {
        EXPECT_NE(Post("/lab/faults", szFault).nStatus, 400) << szFault;
    }
    EXPECT_EQ(Get("/lab/faults").json["count"], 6);
}

TEST_F(LabFaultsTest, OfAProgramIsByDefaultOneDelayOfNothing)
{
    const LabFault fault;
    EXPECT_EQ(fault.nCount, 1);
    EXPECT_EQ(fault.nDelayMs, 0);
    EXPECT_EQ(fault.nStatus, 200);
    EXPECT_EQ(fault.eKind, LabFaultKind::Delay);
    EXPECT_FALSE(fault.bStored);
}

} // namespace
