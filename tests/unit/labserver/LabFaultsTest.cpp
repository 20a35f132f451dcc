#include "LabFixture.h"
#include "RawClient.h"

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
    RawClient socket(m_server.Port());
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
    RawClient socket(m_server.Port());
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
    LabFault fault;
    fault.strPath = "pos";
    fault.eKind = LabFaultKind::Reset;
    m_server.AddFault(fault);
    EXPECT_EQ(Get("/posts/1").nStatus, 500);
    EXPECT_EQ(Get("/posts/1").nStatus, 200);
}

TEST_F(LabFaultsTest, AFaultStrikesPathsThatTheServerDoesNotHave)
{
    LabFault fault;
    fault.strPath = "api/ver";
    fault.eKind = LabFaultKind::Reply;
    fault.strBody = R"({"success":true})";
    m_server.AddFault(fault);
    EXPECT_EQ(Get("/api/ver?t=1").json["success"], true);
    EXPECT_EQ(Get("/api/ver?t=1").nStatus, 404);
}

TEST_F(LabFaultsTest, PendingFaultsAreListedCountedDownAndCleared)
{
    EXPECT_EQ(Get("/lab/faults").json, JsonFrom(R"({"count": 0, "faults": []})"));
    Script(R"({"path": "/posts", "count": 3, "delayMs": 1})");
    Script(R"({"path": "posts/2", "status": 418, "body": "tea", "contentType": "text/plain"})");
    Script(R"({"path": "vomd", "truncate": true})");
    Script(R"({"path": "open", "reset": true})");
    Script(R"({"path": "/", "silence": true, "stored": true})");
    Get("/posts/1");
    EXPECT_EQ(Get("/lab/faults").json, JsonFrom(R"({"count": 5, "faults": [
        {"id": 1, "path": "posts", "count": 2, "delayMs": 1},
        {"id": 2, "path": "posts/2", "count": 1, "delayMs": 0, "status": 418, "body": "tea", "contentType": "text/plain"},
        {"id": 3, "path": "vomd", "count": 1, "delayMs": 0, "truncate": true},
        {"id": 4, "path": "open", "count": 1, "delayMs": 0, "reset": true},
        {"id": 5, "path": "/", "count": 1, "delayMs": 0, "silence": true, "stored": true}]})"));
    m_client.Send("DELETE", "/lab/faults");
    EXPECT_EQ(Get("/lab/faults").json["count"], 0);
    EXPECT_EQ(Get("/posts/2").nStatus, 200);
}

TEST_F(LabFaultsTest, TheOperatorsOwnPathsNeverFail)
{
    for (const char* szPath : {"lab", "lab/faults"}) {
        LabFault fault;
        fault.strPath = szPath;
        fault.eKind = LabFaultKind::Reset;
        m_server.AddFault(fault);
    }
    Script(R"({"path": "/", "reset": true})");
    EXPECT_EQ(Get("/lab/faults").nStatus, 200);
    EXPECT_EQ(Get("/laboratory").nStatus, 0);
}

TEST_F(LabFaultsTest, OfEveryPathItStrikesAny)
{
    Script(R"({"path": "/", "status": 502, "count": 3})");
    for (const char* szTarget : {"/posts/1", "/vomd/system/GetDxzt.action?t=1", "/no/such/path"}) {
        EXPECT_EQ(Get(szTarget).nStatus, 502) << szTarget;
    }
    EXPECT_EQ(Get("/posts/1").nStatus, 200);
}

TEST_F(LabFaultsTest, OneLastsUntilItIsSwitchedOff)
{
    const Json::Value first =
        Post("/lab/faults", R"({"path": "posts", "status": 502, "untilCleared": true})").json;
    const Json::Value second = Post("/lab/faults", R"({"path": "posts", "status": 503})").json;
    EXPECT_EQ(first["id"], 1);
    EXPECT_EQ(second["id"], 2);
    for (int nTry = 0; nTry < 3; ++nTry) {
        EXPECT_EQ(Get("/posts/1").nStatus, 502);
    }
    EXPECT_EQ(Get("/lab/faults").json["faults"][0]["untilCleared"], true);
    EXPECT_FALSE(Get("/lab/faults").json["faults"][0].isMember("count"));
    EXPECT_EQ(m_client.Send("DELETE", "/lab/faults/1").json["success"], true);
    EXPECT_EQ(m_client.Send("DELETE", "/lab/faults/1").nStatus, 404);
    EXPECT_EQ(m_client.Send("DELETE", "/lab/faults/-2").nStatus, 404);
    EXPECT_EQ(m_client.Send("DELETE", "/lab/faults/x").nStatus, 400);
    EXPECT_EQ(Get("/posts/1").nStatus, 503);
    EXPECT_EQ(Get("/posts/1").nStatus, 200);
    EXPECT_EQ(Post("/lab/faults", R"({"path": "posts", "status": 502})").json["id"], 3);
}

TEST_F(LabFaultsTest, AListedOneCanBeSwitchedOnAgain)
{
    Script(R"({"path": "posts", "status": 502, "untilCleared": true})");
    const Json::Value listed = Get("/lab/faults").json["faults"][0];
    m_client.Send("DELETE", "/lab/faults");
    Script(Json::FastWriter().write(listed));
    EXPECT_EQ(Get("/posts/1").nStatus, 502);
}

TEST_F(LabFaultsTest, OnesThatHaveNotBegunOrAreOverAreNotListed)
{
    Post("/lab/scenarios", R"({"name": "own", "steps": [
        {"afterMs": 3600000, "faults": [{"path": "posts", "status": 500, "untilCleared": true}]},
        {"forMs": 0, "faults": [{"path": "posts", "status": 501, "untilCleared": true}]},
        {"faults": [{"path": "posts", "status": 502, "untilCleared": true}]}]})");
    const Json::Value faults = Get("/lab/faults").json["faults"];
    ASSERT_EQ(faults.size(), 1U);
    EXPECT_EQ(faults[0]["status"], 502);
}

TEST_F(LabFaultsTest, OneForAPathThatNoHostUsesIsRefused)
{
    for (const char* szPath : {"", "a", "pos", "post", "/posts/1/2", "lab", "lab/faults",
                               "/vomd/system/GetDxzt.actio", "/vomd/system/GetDxzt.action/x", "//"}) {
        const LabReply reply =
            Post("/lab/faults", R"({"path": ")" + std::string(szPath) + R"(", "status": 500})");
        EXPECT_EQ(reply.nStatus, 400) << szPath;
        EXPECT_THAT(reply.json["message"].asString(), HasSubstr("\"" + std::string(szPath) + "\""));
    }
    for (const char* szPath :
         {"posts", "/posts", "posts/1", "vomd", "vomd/system", "/vomd/system/GetDxzt.action", "/"}) {
        EXPECT_EQ(Post("/lab/faults", R"({"path": ")" + std::string(szPath) + R"(", "status": 500})").nStatus,
                  200)
            << szPath;
    }
}

TEST_F(LabFaultsTest, AFaultThatMakesNoSenseIsRefused)
{
    for (const char* szFault : {"[]",
                                "{}",
                                R"({"path": "posts"})",
                                R"({"status": 500})",
                                R"({"path": 7, "status": 500})",
                                R"({"path": "posts", "status": 99})",
                                R"({"path": "posts", "status": 600})",
                                R"({"path": "posts", "status": 199})",
                                R"({"path": "posts", "delayMs": 600001})",
                                R"({"path": "posts", "count": 1000001, "reset": true})",
                                R"({"path": "posts", "status": "500"})",
                                R"({"path": "posts", "delayMs": -1})",
                                R"({"path": "posts", "delayMs": 1e12})",
                                R"({"path": "posts", "count": 0, "reset": true})",
                                R"({"path": "posts", "reset": 1})",
                                R"({"path": "posts", "reset": false})",
                                R"({"path": "posts", "reset": true, "truncate": true})",
                                R"({"path": "posts", "status": 500, "truncate": true})",
                                R"({"path": "posts", "body": {}})",
                                R"({"path": "posts", "reset": true, "silence": true})",
                                R"({"path": "posts", "silence": false})",
                                R"({"path": "posts", "stored": true})",
                                R"({"path": "posts", "stored": true, "delayMs": 1})",
                                R"({"path": "posts", "stored": true, "truncate": true})",
                                R"({"path": "posts", "stored": 1, "reset": true})",
                                R"({"path": "posts", "staus": 500, "reset": true})",
                                R"({"path": "posts", "count": 1, "untilCleared": true, "reset": true})",
                                R"({"path": "posts", "untilCleared": 1, "reset": true})"}) {
        const LabReply reply = Post("/lab/faults", szFault);
        EXPECT_EQ(reply.nStatus, 400) << szFault;
        EXPECT_EQ(reply.json["success"], false);
    }
    EXPECT_EQ(Get("/lab/faults").json["count"], 0);
}

TEST_F(LabFaultsTest, AFaultAtItsLimitsIsTaken)
{
    for (const char* szFault :
         {R"({"path": "posts", "status": 200})", R"({"path": "posts", "status": 599})",
          R"({"path": "posts", "delayMs": 600000})", R"({"path": "posts", "delayMs": 0, "reset": true})",
          R"({"path": "posts", "count": 1000000, "reset": true})",
          R"({"path": "posts", "delayMs": 0, "stored": false})"}) {
        EXPECT_EQ(Post("/lab/faults", szFault).nStatus, 200) << szFault;
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
