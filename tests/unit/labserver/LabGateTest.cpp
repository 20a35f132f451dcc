#include "LabFixture.h"
#include "RawClient.h"

#include "labserver/LabGate.h"

#include <gmock/gmock.h>

namespace
{

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const char* const RULE = R"({"deviceId": "D1", "chl": "9", "allowBoot": "no", "reason": "planted"})";

/// Requests that a web page could make a browser on this machine send to a lab server, and those of its
/// operator.
class LabGateTest : public LabTest
{
protected:
    std::string WithPort(const std::string& strHost) const
    {
        return strHost + ':' + std::to_string(m_server.Port());
    }

    /// Sends a request after adding the end of its header. @return the whole reply
    std::string Send(const std::string& strHead, const std::string& strBody = "") const
    {
        RawClient socket(m_server.Port());
        socket.Send(strHead + "Connection: close\r\n\r\n" + strBody);
        return socket.ReadAll();
    }

    /// @param strLines further header lines, each with its end
    std::string GetFaults(const std::string& strLines) const
    {
        return Send("GET /lab/faults HTTP/1.1\r\n" + strLines);
    }

    std::string GetFaultsFrom(const std::string& strLine) const
    {
        return GetFaults("Host: " + WithPort("127.0.0.1") + "\r\n" + strLine + "\r\n");
    }

    std::string PostRule(const std::string& strLines, const std::string& strBody = RULE) const
    {
        return Send("POST /lab/channel-rules HTTP/1.1\r\nHost: " + WithPort("127.0.0.1") + "\r\n" + strLines +
                        "Content-Length: " + std::to_string(strBody.size()) + "\r\n",
                    strBody);
    }

    int Rules() { return Get("/lab/channel-rules").json["count"].asInt(); }
};

void ExpectRefused(const std::string& strReply, int nStatus, const std::string& strWord,
                   const std::string& strAsked)
{
    EXPECT_THAT(strReply, StartsWith("HTTP/1.1 " + std::to_string(nStatus) + ' ')) << strAsked;
    EXPECT_THAT(strReply, HasSubstr("\"success\":false")) << strAsked;
    EXPECT_THAT(strReply, HasSubstr(strWord)) << strAsked;
}

TEST_F(LabGateTest, ARequestByAnyNameOfThisServerIsServed)
{
    for (const char* szHost : {"localhost", "LocalHost", "127.0.0.1", "[::1]"}) {
        EXPECT_THAT(GetFaults("Host: " + WithPort(szHost) + "\r\n"), StartsWith("HTTP/1.1 200 ")) << szHost;
    }
}

TEST_F(LabGateTest, ARequestByAnotherNameIsRefused)
{
    const std::vector<std::string> vecHosts = {
        "rebound.example",
        WithPort("rebound.example"),
        WithPort("localhost.rebound.example"),
        WithPort("127.0.0.1.rebound.example"),
        WithPort("127.0.0.1") + ".rebound.example",
        WithPort("user@127.0.0.1"),
        WithPort("::1"),
        WithPort(""),
        "localhost",
        "127.0.0.1",
        "127.0.0.1:",
        "localhost:1",
        WithPort("127.0.0.1") + ", " + WithPort("rebound.example"),
    };
    for (const std::string& strHost : vecHosts) {
        ExpectRefused(GetFaults("Host: " + strHost + "\r\n"), 403, "Host", strHost);
    }
}

TEST_F(LabGateTest, ARequestByNoNameOrSeveralIsRefused)
{
    const std::string strOwn = "Host: " + WithPort("127.0.0.1") + "\r\n";
    ExpectRefused(GetFaults(""), 403, "Host", "none");
    ExpectRefused(GetFaults("Host:\r\n"), 403, "Host", "an empty one");
    ExpectRefused(GetFaults(strOwn + "Host: rebound.example\r\n"), 403, "Host", "the right one first");
    ExpectRefused(GetFaults("host: rebound.example\r\n" + strOwn), 403, "Host", "the right one last");
    ExpectRefused(GetFaults(strOwn + strOwn), 403, "Host", "the right one twice");
    ExpectRefused(Send("GET /lab/faults HTTP/1.0\r\n"), 403, "Host", "HTTP/1.0");
}

TEST_F(LabGateTest, APageOfAnotherSiteIsRefused)
{
    const std::vector<std::string> vecOrigins = {
        "http://rebound.example",
        "http://" + WithPort("rebound.example"),
        "null",
        "NULL",
        "https://" + WithPort("127.0.0.1"),
        "http://127.0.0.1",
        "http://127.0.0.1:1",
        "http://" + WithPort("127.0.0.1") + "/",
        "http://" + WithPort("127.0.0.1") + " http://rebound.example",
        "file://",
        WithPort("127.0.0.1"),
    };
    for (const std::string& strOrigin : vecOrigins) {
        ExpectRefused(GetFaultsFrom("Origin: " + strOrigin), 403, "Origin", strOrigin);
    }
    const std::string strOwn = "Origin: http://" + WithPort("127.0.0.1");
    ExpectRefused(GetFaultsFrom(strOwn + "\r\nOrigin: http://rebound.example"), 403, "Origin", "two");
    ExpectRefused(GetFaultsFrom(strOwn + "\r\n" + strOwn), 403, "Origin", "the same twice");
}

TEST_F(LabGateTest, APageOfItsOwnIsServed)
{
    for (const char* szHost : {"127.0.0.1", "localhost", "[::1]"}) {
        EXPECT_THAT(GetFaultsFrom("Origin: http://" + WithPort(szHost)), StartsWith("HTTP/1.1 200 "))
            << szHost;
    }
}

TEST_F(LabGateTest, WhatTheBrowserSaysOfWhoAsksCounts)
{
    for (const char* szSite : {"cross-site", "same-site", "something-new"}) {
        ExpectRefused(GetFaultsFrom(std::string("Sec-Fetch-Site: ") + szSite), 403, "Sec-Fetch-Site", szSite);
    }
    for (const char* szSite : {"same-origin", "none"}) {
        EXPECT_THAT(GetFaultsFrom(std::string("Sec-Fetch-Site: ") + szSite), StartsWith("HTTP/1.1 200 "))
            << szSite;
    }
}

TEST_F(LabGateTest, ARefusedPagePlantsNothingAndLearnsNothing)
{
    const int nBefore = Rules();
    const std::string strPage = "Origin: http://rebound.example\r\nContent-Type: application/json\r\n";
    ExpectRefused(PostRule(strPage), 403, "Origin", "POST");
    ExpectRefused(Send("OPTIONS /lab/channel-rules HTTP/1.1\r\nHost: " + WithPort("127.0.0.1") +
                       "\r\nOrigin: http://rebound.example\r\nAccess-Control-Request-Method: POST\r\n"),
                  403, "Origin", "OPTIONS");
    EXPECT_EQ(Rules(), nBefore);
    Post("/open/test-cabinet/add/kostrel/cycle", R"(["a secret"])");
    EXPECT_THAT(Send("GET /lab/reports/cycle-data HTTP/1.1\r\nHost: rebound.example\r\n"),
                Not(HasSubstr("a secret")));
}

TEST_F(LabGateTest, ABodyThatIsNotCalledJsonIsRefused)
{
    const int nBefore = Rules();
    for (const char* szType :
         {"Content-Type: text/plain\r\n", "Content-Type: application/x-www-form-urlencoded\r\n",
          "Content-Type: multipart/form-data; boundary=x\r\n",
          "Content-Type: text/plain;application/json\r\n", "Content-Type: application/jsonx\r\n",
          "Content-Type: application/json, text/plain\r\n", "Content-Type:\r\n", "",
          "Content-Type: text/plain\r\nContent-Type: application/json\r\n",
          "Content-Type: application/json\r\nContent-Type: text/plain\r\n"}) {
        ExpectRefused(PostRule(szType), 415, "Content-Type: application/json", szType);
    }
    EXPECT_EQ(Rules(), nBefore);
}

TEST_F(LabGateTest, ABodyThatIsCalledJsonIsServedWhateverTheParameters)
{
    for (const char* szType : {"application/json", "Application/JSON", "application/json; charset=utf-8",
                               "application/json ;x=y", "application/json; charset=utf-8/gb2312"}) {
        EXPECT_THAT(PostRule(std::string("Content-Type: ") + szType + "\r\n"), StartsWith("HTTP/1.1 200 "))
            << szType;
    }
}

TEST_F(LabGateTest, ARequestWithoutABodyNeedsNoType)
{
    EXPECT_THAT(Send("DELETE /lab/faults HTTP/1.1\r\nHost: " + WithPort("localhost") + "\r\n"),
                StartsWith("HTTP/1.1 200 "));
    EXPECT_THAT(PostRule("", ""), StartsWith("HTTP/1.1 400 "));
}

TEST_F(LabGateTest, EveryReplyTellsABrowserWhatItMayNotDo)
{
    const std::string strHost = "Host: " + WithPort("127.0.0.1") + "\r\n";
    const std::vector<std::string> vecReplies = {
        GetFaults(strHost),
        GetFaults("Host: rebound.example\r\n"),
        Send("GET /lab/nothing HTTP/1.1\r\n" + strHost),
        Send("GET /lab HTTP/1.1\r\n" + strHost),
        Send("PUT /lab/faults HTTP/1.1\r\nContent-Length: 0\r\n" + strHost),
        Send("POST /lab/faults HTTP/1.1\r\n" + strHost),
        Send("POST /lab/faults HTTP/1.1\r\nContent-Length: 99999999\r\nContent-Type: application/json\r\n" +
             strHost),
        PostRule("Content-Type: text/plain\r\n"),
        PostRule("Content-Type: application/json\r\n", "{"),
    };
    for (const std::string& strReply : vecReplies) {
        EXPECT_THAT(strReply, HasSubstr("\r\nX-Content-Type-Options: nosniff\r\n"));
        EXPECT_THAT(strReply, HasSubstr("\r\nContent-Security-Policy: default-src 'none'; base-uri 'none'; "
                                        "form-action 'none'; frame-ancestors 'none'\r\n"));
        EXPECT_THAT(strReply, HasSubstr("\r\nCross-Origin-Resource-Policy: same-origin\r\n"));
        EXPECT_THAT(strReply, HasSubstr("\r\nCache-Control: no-store\r\n"));
        EXPECT_THAT(strReply, Not(HasSubstr("Access-Control-")));
    }
}

TEST_F(LabGateTest, TheHostsPathsAnswerAnybodyAsEver)
{
    const std::string strReply = Send(
        "GET /posts/1 HTTP/1.1\r\nHost: rebound.example\r\nOrigin: null\r\nSec-Fetch-Site: cross-site\r\n");
    const std::string strBody = Get("/posts/1").strBody;
    EXPECT_EQ(strReply,
              "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: " + std::to_string(strBody.size()) +
                  "\r\nContent-Type: application/json; charset=utf-8\r\n\r\n" + strBody);
    EXPECT_THAT(Send("POST /open/test-cabinet/add/kostrel/cycle HTTP/1.0\r\nContent-Type: text/plain\r\n"
                     "Content-Length: 3\r\n",
                     "[1]"),
                StartsWith("HTTP/1.1 200 "));
}

TEST_F(LabGateTest, APathThatOnlyBeginsAlikeIsNoneOfTheOperators)
{
    for (const char* szPath :
         {"/laboratory", "/lab-reports", "/labs/faults", "/posts/1/lab", "//lab/faults"}) {
        const std::string strReply = Send(std::string("GET ") + szPath + " HTTP/1.1\r\nHost: any\r\n");
        EXPECT_THAT(strReply, StartsWith("HTTP/1.1 404 ")) << szPath;
        EXPECT_THAT(strReply, Not(HasSubstr("nosniff"))) << szPath;
    }
    m_server.AddFault({"laboratory", 1, LabFaultKind::Reply, 0, 418, ""});
    EXPECT_EQ(Get("/laboratory").nStatus, 418);
}

TEST_F(LabGateTest, AnOperatorsPathIsOneHoweverItIsWritten)
{
    for (const char* szPath : {"/lab", "/lab/", "/lab/none", "/l%61b/faults", "/lab%2ffaults",
                               "/lab/faults?x", "/lab?x", "/lab#x"}) {
        ExpectRefused(Send(std::string("GET ") + szPath + " HTTP/1.1\r\nHost: any\r\n"), 403, "Host", szPath);
    }
    m_server.AddFault({"lab", 1, LabFaultKind::Reply, 0, 418, ""});
    EXPECT_EQ(Get("/lab").nStatus, 404);
}

/// @param bTls  whether the request came over TLS
int StatusFrom(const LabGate& gate, const httplib::Headers& headers, bool bTls = false)
{
    httplib::Request request;
    request.headers = headers;
    return gate.RefusalOf(request, bTls).nStatus;
}

TEST(LabGateAlone, ThePageOverTlsIsItsOwnOnlyOverTls)
{
    const LabGate gate("lab.example", 443);
    const httplib::Headers overTls = {{"Host", "lab.example"}, {"Origin", "https://lab.example"}};
    const httplib::Headers plain = {{"Host", "lab.example"}, {"Origin", "http://lab.example"}};
    EXPECT_EQ(StatusFrom(gate, overTls, true), 0);
    EXPECT_EQ(StatusFrom(gate, overTls, false), 403);
    EXPECT_EQ(StatusFrom(gate, plain, true), 403);
    EXPECT_EQ(StatusFrom(gate, plain, false), 0);
}

TEST(LabGateAlone, TheDefaultPortMayBeLeftOut)
{
    const LabGate gate("lab.example", 80);
    for (const char* szHost :
         {"lab.example", "lab.example:80", "LAB.example", "localhost", "127.0.0.1:80", "[::1]", "[::1]:80"}) {
        EXPECT_EQ(StatusFrom(gate, {{"Host", szHost}}), 0) << szHost;
        EXPECT_EQ(StatusFrom(gate, {{"Host", szHost}, {"Origin", std::string("http://") + szHost}}), 0)
            << szHost;
    }
    for (const char* szHost : {"lab.example:8080", "::1", "[::1", "other.example", "lab.example:80:80"}) {
        EXPECT_EQ(StatusFrom(gate, {{"Host", szHost}}), 403) << szHost;
    }
}

TEST(LabGateAlone, TheAddressThatItListensOnIsItsOwn)
{
    const LabGate gate("fe80::1", 8080);
    EXPECT_EQ(StatusFrom(gate, {{"Host", "[fe80::1]:8080"}}), 0);
    EXPECT_EQ(StatusFrom(gate, {{"Host", "[FE80::1]:8080"}}), 0);
    EXPECT_EQ(StatusFrom(gate, {{"Host", "[fe80::1]"}}), 403);
    EXPECT_EQ(StatusFrom(gate, {{"Host", "[fe80::2]:8080"}}), 403);
}

TEST(LabGateAlone, AServerOfAnotherAddressIsAskedByIt)
{
    LabServer server({"127.0.0.2", 0, ""});
    server.Start();
    httplib::Client client("127.0.0.2", server.Port());
    const auto result = client.Get("/lab/faults");
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 200);
}

} // namespace
