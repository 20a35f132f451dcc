#include "LabFixture.h"
#include "RawClient.h"

#include <gmock/gmock.h>

namespace
{

using LabRefusals = LabTest;
using testing::HasSubstr;
using testing::StartsWith;

void ExpectRefusal(const LabReply& reply, int nStatus)
{
    EXPECT_EQ(reply.nStatus, nStatus);
    EXPECT_EQ(reply.strContentType, "application/json; charset=utf-8");
    EXPECT_EQ(reply.json["success"], false) << reply.strBody;
    EXPECT_EQ(reply.json["code"], nStatus);
    EXPECT_FALSE(reply.json["message"].asString().empty());
    EXPECT_EQ(reply.json["description"], reply.json["message"]);
}

TEST_F(LabRefusals, AnUnknownPathIsNotFound)
{
    for (const char* szPath : {"/", "/posts", "/posts/", "/posts/1/2", "/vomd/system/getsyxm.action", "/lab",
                               "//posts/1", "/posts%0A"}) {
        ExpectRefusal(Get(szPath), 404);
    }
}

TEST_F(LabRefusals, AWrongMethodIsToldTheRightOnes)
{
    ExpectRefusal(Post("/posts/1", "{}"), 405);
    for (const char* szMethod : {"GET", "PUT", "PATCH", "DELETE", "OPTIONS"}) {
        ExpectRefusal(m_client.Send(szMethod, CYCLES), 405);
    }
    httplib::Client client("127.0.0.1", m_server.Port());
    const auto result = client.Put("/lab/faults");
    ASSERT_TRUE(result);
    EXPECT_EQ(result->get_header_value("Allow"), "GET, POST, DELETE");
}

TEST_F(LabRefusals, HeadIsAnsweredLikeGetButWithoutABody)
{
    const LabReply reply = m_client.Send("HEAD", "/posts/1");
    EXPECT_EQ(reply.nStatus, 200);
    EXPECT_EQ(reply.strBody, "");
}

TEST_F(LabRefusals, ABodyThatIsNotJsonIsRefused)
{
    for (const char* szBody : {"", " ", "{a:1}", "[1,]", "{} {}", "[1", "7", "\"text\"", "null", "/* */ {}",
                               "[NaN]", "{\"a\":1,\"a\":2}", "[\"\\ud800x]"}) {
        ExpectRefusal(Post(CYCLES, szBody), 400);
    }
    EXPECT_EQ(Get("/lab/reports/cycle-data").json["count"], 0);
}

TEST_F(LabRefusals, ABodyThatIsNotUtf8IsRefused)
{
    for (const char* szText : {"\xb5\xe7\xb3\xd8", "\xc0\x80", "\xff", "\xe7\x94"}) {
        const LabReply reply = Post(CYCLES, std::string("[\"") + szText + "\"]");
        ExpectRefusal(reply, 400);
        EXPECT_EQ(reply.json["message"], "The body is not UTF-8.");
    }
}

TEST_F(LabRefusals, AReportThatIsAnArrayIsRefused)
{
    ExpectRefusal(Post("/vomd/system/addstatuslog.action?t=1", "[]"), 400);
    ExpectRefusal(Post("/vomd/system/incubatorStatus.action", "[{}]"), 400);
}

TEST_F(LabRefusals, AMillionBracketsAreRefused)
{
    for (const char* szOpening : {"[", "{\"a\":"}) {
        std::string strBody;
        while (strBody.size() < 1'000'000) {
            strBody += szOpening;
        }
        ExpectRefusal(Post(CYCLES, strBody), 400);
    }
    ExpectRefusal(Post("/lab/faults", std::string(1'000'000, '[')), 400);
    EXPECT_EQ(Get("/posts/1").nStatus, 200);
}

TEST_F(LabRefusals, WhatIsNestedAsDeepAsAllowedIsReadBack)
{
    const std::string strBody = std::string(250, '[') + std::string(250, ']');
    EXPECT_EQ(Post(CYCLES, strBody).nStatus, 200);
    EXPECT_EQ(Get("/lab/reports/cycle-data").json["reports"][0]["report"], JsonFrom(strBody));
}

TEST_F(LabRefusals, ABodyUpToTheLimitIsTakenAndALargerOneRefused)
{
    EXPECT_EQ(Post(CYCLES, "[\"" + std::string(LARGEST_BODY - 4, 'x') + "\"]").nStatus, 200);
    ExpectRefusal(Post(CYCLES, "[\"" + std::string(LARGEST_BODY - 3, 'x') + "\"]"), 413);
    EXPECT_EQ(Get("/lab/reports/cycle-data?limit=0").json["count"], 1);
}

TEST_F(LabRefusals, ABodyOfUnknownLengthIsRefusedAndTheConnectionClosed)
{
    for (const char* szRest : {"Transfer-Encoding: chunked\r\n\r\n2\r\n[]\r\n0\r\n\r\n", "\r\n[]"}) {
        RawClient socket(m_server.Port());
        socket.Send(std::string("POST /open/test-cabinet/add/kostrel/cycle HTTP/1.1\r\nHost: a\r\n") +
                    szRest);
        const std::string strReply = socket.ReadAll();
        EXPECT_THAT(strReply, StartsWith("HTTP/1.1 411 "));
        EXPECT_THAT(strReply, HasSubstr("Connection: close\r\n"));
        EXPECT_TRUE(socket.IsClosed());
    }
}

TEST_F(LabRefusals, ABodyWithAGetIsNotTakenForTheNextRequest)
{
    RawClient socket(m_server.Port());
    socket.Send("GET /posts/1 HTTP/1.1\r\nHost: a\r\nContent-Length: 35\r\n\r\n"
                "GET /posts/2 HTTP/1.1\r\nHost: a\r\n\r\n\r\n");
    const std::string strReply = socket.ReadAll();
    EXPECT_THAT(strReply, StartsWith("HTTP/1.1 200 "));
    EXPECT_THAT(strReply, testing::Not(HasSubstr("Keep-Alive")));
    EXPECT_TRUE(socket.IsClosed());
    EXPECT_EQ(m_server.Exchanges().size(), 1U);
}

TEST_F(LabRefusals, AClientThatLeavesItsConnectionToBeClosedIsToldSoOnce)
{
    RawClient socket(m_server.Port());
    socket.Send("GET /posts/1 HTTP/1.1\r\nHost: a\r\nConnection: close\r\nContent-Length: 2\r\n\r\n{}");
    const std::string strReply = socket.ReadAll();
    const std::string strLine = "\r\nConnection: ";
    const size_t nFirst = strReply.find(strLine);
    ASSERT_NE(nFirst, std::string::npos) << strReply;
    EXPECT_EQ(strReply.substr(nFirst, strLine.size() + 7), strLine + "close\r\n");
    EXPECT_EQ(strReply.find(strLine, nFirst + 1), std::string::npos) << strReply;
    EXPECT_TRUE(socket.IsClosed());
}

TEST_F(LabRefusals, GarbageIsRefusedAndTheConnectionClosed)
{
    for (const char* szGarbage : {"garbage\r\n\r\n", "FOO / HTTP/1.1\r\n\r\n", "GET /posts/1\r\n\r\n"}) {
        RawClient socket(m_server.Port());
        socket.Send(szGarbage);
        const std::string strReply = socket.ReadAll();
        EXPECT_THAT(strReply, StartsWith("HTTP/1.1 400 "));
        EXPECT_THAT(strReply, HasSubstr("\"success\":false"));
        EXPECT_TRUE(socket.IsClosed());
    }
}

TEST_F(LabRefusals, ALongPathIsNotFoundAndATooLongOneRefused)
{
    ExpectRefusal(Get('/' + std::string(8000, 'a')), 404);
    LabClient client(m_server.Port());
    ExpectRefusal(client.Get('/' + std::string(9000, 'a')), 414);
}

TEST_F(LabRefusals, RequestsInARowOnOneConnectionAreAnsweredInOrder)
{
    RawClient socket(m_server.Port());
    socket.Send("GET /posts/1 HTTP/1.1\r\nHost: a\r\n\r\nGET /posts/2 HTTP/1.1\r\nHost: a\r\n\r\n");
    EXPECT_THAT(socket.ReadUntil("\"Test engineer\"}"), HasSubstr("\"id\":1"));
    socket.Send("GET /posts/7 HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n");
    EXPECT_THAT(socket.ReadAll(), HasSubstr("\"id\":7"));
    const auto vecExchanges = m_server.Exchanges();
    ASSERT_EQ(vecExchanges.size(), 3U);
    EXPECT_EQ(vecExchanges[1].strTarget, "/posts/2");
}

TEST_F(LabRefusals, AClientThatAsksBeforeItSendsIsToldToGoOn)
{
    RawClient socket(m_server.Port());
    socket.Send("POST /open/test-cabinet/add/kostrel/cycle HTTP/1.1\r\nHost: a\r\nContent-Length: 3\r\n"
                "Expect: 100-continue\r\nConnection: close\r\n\r\n");
    EXPECT_THAT(socket.ReadUntil("\r\n\r\n"), StartsWith("HTTP/1.1 100 "));
    socket.Send("[1]");
    EXPECT_THAT(socket.ReadAll(), StartsWith("HTTP/1.1 200 "));
}

} // namespace
