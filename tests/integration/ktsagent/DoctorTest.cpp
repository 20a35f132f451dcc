// What "ktsagent doctor" says about servers that answer wrongly, late or not at all.

#include "DoctorProcess.h"
#include "ScriptedServer.h"

#include "labserver/LabServer.h"

#include <ostream>

using testing::AllOf;
using testing::HasSubstr;

namespace
{

constexpr const char* YES = R"({"success":true,"code":0})";

class Doctor : public DoctorProcess
{
};

/// A server that does everything wrong in the same way.
struct WrongServer {
    const char* szName;
    ServerStep step;
    const char* szStage;
    const char* szSays;
    const char* szScheme = "http";
    const char* szTimeout = ENOUGH_MS;
};

void PrintTo(const WrongServer& row, std::ostream* pOut)
{
    *pOut << row.szName;
}

class DoctorFindsAServer : public DoctorProcess, public testing::WithParamInterface<WrongServer>
{
};

} // namespace

TEST_F(Doctor, PassesAHealthyServerInEveryStage)
{
    LabServer server;
    server.Start();

    const KtsagentRun run = Examine(Loopback(server.Port()));

    EXPECT_EQ(run.nExit, 0);
    const QJsonObject report = run.Object();
    EXPECT_TRUE(report["failed"].isNull());
    EXPECT_EQ(report["server"].toString(), "http://" + Loopback(server.Port()) + "/");
    const QJsonArray arrStages = report["stages"].toArray();
    ASSERT_EQ(static_cast<std::size_t>(arrStages.size()), StagesOfDoctor().size());
    for (int i = 0; i < arrStages.size(); ++i) {
        EXPECT_EQ(arrStages[i]["stage"].toString(), StagesOfDoctor()[static_cast<std::size_t>(i)].first);
        EXPECT_EQ(arrStages[i]["mark"], "ok") << run.strOut;
    }
    EXPECT_EQ(run.strErr, "");
}

TEST_F(Doctor, SendsOnlyQueriesAndSaysWhich)
{
    LabServer server;
    server.Start();

    const KtsagentRun run = Examine(Loopback(server.Port()));

    const std::string strSaid = Sentences(run.Object(), "paths", "ok");
    EXPECT_EQ(server.Exchanges().size(),
              2 * 3U + 2 * 8U); // three to measure, and each path, by each interface
    for (const LabExchange& exchange : server.Exchanges()) {
        EXPECT_EQ(exchange.strMethod, "GET");
        EXPECT_EQ(exchange.nStatus, 200) << exchange.strTarget;
        EXPECT_THAT(strSaid, HasSubstr(exchange.strTarget));
    }
    for (const QJsonValue& stage : run.Object()["stages"].toArray()) {
        const double dMilliseconds = stage["milliseconds"].toDouble(-1);
        EXPECT_GE(dMilliseconds, 0);
        EXPECT_LT(dMilliseconds, 600'000) << "the test does not take ten minutes";
    }
}

TEST_F(Doctor, SendsOnlyTheChosenQueries)
{
    LabServer server;
    server.Start();

    const KtsagentRun run = Examine(Loopback(server.Port()), {"--paths", "in-common,batt-status"});

    EXPECT_EQ(run.nExit, 0);
    EXPECT_EQ(FindingsOf(run.Object(), "paths").size(), 2);
    EXPECT_THAT(
        Sentences(run.Object(), "paths", "ok"),
        AllOf(HasSubstr("in-common: GET "), HasSubstr("batt-status: GET "), HasSubstr("both interfaces")));
}

TEST_F(Doctor, SaysTheSameInPlainText)
{
    const ScriptedServer server(ServerStep{HttpReply(502, "<html>Bad Gateway</html>")});
    const QString strUrl = QString::fromStdString(server.Url("/lab"));

    const KtsagentRun text = Run({"doctor", "--server", strUrl, "--timeout", ENOUGH_MS});
    const KtsagentRun json = Examine(strUrl);

    EXPECT_EQ(text.nExit, json.nExit);
    EXPECT_THAT(text.strOut, HasSubstr("The first stage that failed is \"paths\" (exit status 20)."));
    for (const char* szStage :
         {"proxy", "connection", "paths"}) { // they hold no times but that of the connection
        for (const QJsonValue& finding : FindingsOf(json.Object(), szStage)) {
            const std::string strSays = finding["says"].toString().toStdString();
            EXPECT_THAT(text.strOut, HasSubstr(strSays.substr(0, strSays.find(" ("))));
            EXPECT_THAT(text.strOut, HasSubstr(finding["do"].toString().toStdString()));
        }
    }
    EXPECT_THAT(Sentences(json.Object(), "paths", "FAILED"),
                HasSubstr("/lab/vomd/system/GetDxzt.action?t=1.1.0"));
}

TEST_P(DoctorFindsAServer, ThatIsWrong)
{
    const ScriptedServer server(GetParam().step);

    const KtsagentRun run = Examine(QString("%1://%2").arg(GetParam().szScheme, Loopback(server.Port())),
                                    {"--timeout", GetParam().szTimeout});

    ExpectFailure(run, GetParam().szStage, GetParam().szSays);
}

INSTANTIATE_TEST_SUITE_P(
    Each, DoctorFindsAServer,
    testing::Values(
        WrongServer{"AnotherService",
                    {"SSH-2.0-OpenSSH_9.2\r\n", ServerStep::Ending::Close},
                    "http",
                    "asynchronous interface (libcurl) reached something that does not speak HTTP"},
        WrongServer{"WithALengthThatIsNone",
                    {"HTTP/1.1 200 OK\r\nContent-Length: x\r\n\r\n", ServerStep::Ending::Close},
                    "http",
                    "asynchronous interface (libcurl) reached something that does not speak HTTP"},
        WrongServer{"ThatWantsTls",
                    {HttpReply(400, "<html>The plain HTTP request was sent to HTTPS port</html>")},
                    "http",
                    "The server wants https on this port."},
        WrongServer{"OfBadRequests",
                    {HttpReply(400, "bad")},
                    "paths",
                    "brought a body that is not a JSON object (status 400), on both interfaces."},
        WrongServer{"Silent", Silent(), "http", "got no reply within", "http", "6000"},
        WrongServer{"ThatCloses", {"", ServerStep::Ending::Close}, "http", "got no reply: "},
        WrongServer{"BehindAGateway",
                    {HttpReply(502, "<html><body><h1>502 Bad Gateway</h1></body></html>")},
                    "paths",
                    "brought a gateway's error (status 502), on both interfaces."},
        WrongServer{"BehindALoginPage",
                    {HttpReply(200, "<!DOCTYPE html><title>Sign in</title><input type=password>",
                               "Content-Type: text/html\r\n")},
                    "paths",
                    "brought a login page, not JSON (status 200, title \"Sign in\"), on both interfaces."},
        WrongServer{"OfWebPages",
                    {HttpReply(200, "<html>It works!</html>")},
                    "paths",
                    "brought a web page, not JSON (status 200), on both interfaces."},
        WrongServer{"ThatRefuses",
                    {HttpReply(200, R"({"success":false,"message":"closed for stocktaking"})")},
                    "paths",
                    "which says no (status 200): \"closed for stocktaking\", on both interfaces."},
        WrongServer{"ThatRedirects",
                    {HttpReply(302, "", "Location: https://login.invalid/\r\n")},
                    "paths",
                    "brought a redirect to \"https://login.invalid/\" (status 302)"},
        WrongServer{"WithoutTheDoor", {HttpReply(403, "no")}, "paths", "brought a refusal (status 403)"},
        WrongServer{
            "WithoutThePath", {HttpReply(404, "nothing")}, "paths", "brought \"not found\" (status 404)"},
        WrongServer{"OfEmptyReplies", {HttpReply(200, "")}, "paths", "brought an empty body (status 200)"},
        WrongServer{
            "OfOtherTexts", {HttpReply(200, "pong")}, "paths", "brought a body that is not a JSON object"},
        WrongServer{"InAnotherTime",
                    {HttpReply(200, YES, "Date: Sun, 06 Nov 1994 08:49:37 GMT\r\n")},
                    "clock",
                    " s ahead of the server's."},
        WrongServer{"WithoutTls", {HttpReply(200, YES)}, "tls", "makes no TLS connection", "https", "6000"}),
    testing::PrintToStringParamName());

TEST_F(Doctor, FindsAServerThatIsDown)
{
    const RefusingPort port;
    const KtsagentRun run = Examine(Loopback(port.Port()));
    ExpectFailure(run, "connection", Loopback(port.Port()).toStdString() + " accepts no connection: ");
    for (const char* szStage : {"http", "paths", "clock"}) {
        EXPECT_NE(Sentences(run.Object(), szStage, "skipped"), "") << szStage;
    }
}

TEST_F(Doctor, FindsASilentPort)
{
    const BlackHolePort port;
    ExpectFailure(Examine(Loopback(port.Port()), {"--timeout", "1000"}), "connection",
                  " is silent: no answer within ");
}

TEST_F(Doctor, FindsAWrongName)
{
    ExpectFailure(Examine("no-such-laboratory.invalid:80"), "name",
                  "The name no-such-laboratory.invalid has no address: ");
}

TEST_F(Doctor, FindsAServerThatIsOnlySlow)
{
    const ScriptedServer server(
        ServerStep{HttpReply(200, YES), ServerStep::Ending::KeepAlive, std::chrono::milliseconds(1100)});
    const KtsagentRun run = Examine(Loopback(server.Port()), {"--paths", "support-ver"});
    EXPECT_EQ(run.nExit, 0) << run.strOut;
    EXPECT_THAT(Sentences(run.Object(), "http", "warning"), HasSubstr(" ms for the first request"));
}

TEST_F(Doctor, NoticesThatTheServerKeepsNoConnection)
{
    const ScriptedServer server(
        ServerStep{HttpReply(200, YES, "Connection: close\r\n"), ServerStep::Ending::Close});
    const KtsagentRun run = Examine(Loopback(server.Port()));
    EXPECT_EQ(run.nExit, 0);
    EXPECT_THAT(Sentences(run.Object(), "http", "warning"), HasSubstr("closes the connection after a reply"));
}

TEST_F(Doctor, TakesOneNoAmongManyForAnAnswer)
{
    const ScriptedServer server([](const WireRequest& request) {
        const bool bNo = request.Target().find("autoExport") != std::string::npos;
        return ServerStep{HttpReply(200, bNo ? R"({"success":false,"message":"no such cell"})" : YES)};
    });
    const KtsagentRun run = Examine(Loopback(server.Port()));
    EXPECT_EQ(run.nExit, 0);
    EXPECT_THAT(Sentences(run.Object(), "paths", "ok"), HasSubstr("\"no such cell\""));
}

TEST_F(Doctor, FindsASinglePathWithoutAReplyBelowThePathOfTheUrl)
{
    const ScriptedServer server([](const WireRequest& request) {
        const bool bSilent = request.Target().find("autoExport") != std::string::npos;
        return bSilent ? ServerStep{"", ServerStep::Ending::Close} : ServerStep{HttpReply(200, YES)};
    });
    const KtsagentRun run = Examine(QString::fromStdString(server.Url("/lab/")));
    ExpectFailure(run, "paths", "/lab/vomd/");
    EXPECT_THAT(Sentences(run.Object(), "paths", "FAILED"),
                AllOf(HasSubstr("brought no reply: "), HasSubstr("on the asynchronous interface"),
                      HasSubstr("on the blocking interface")));
}

TEST_F(Doctor, DoesTheTerminalNoHarm)
{
    const ScriptedServer server(ServerStep{
        HttpReply(200, "{\"success\":false,\"message\":\"\\u001b[2J\"}", "Server: evil\x1b[2J\r\n")});
    const KtsagentRun run = Run({"doctor", "--server", Loopback(server.Port()), "--timeout", ENOUGH_MS});
    EXPECT_THAT(run.strOut, AllOf(HasSubstr("evil\\x1b[2J"), HasSubstr("\"\\x1b[2J\"")));
    EXPECT_EQ(run.strOut.find('\x1b'), std::string::npos);
}

TEST_F(Doctor, FindsADeadProxy)
{
    const RefusingPort port;
    qunsetenv("no_proxy");
    qputenv("http_proxy", "http://user:secret@" + Loopback(port.Port()).toLatin1());

    const KtsagentRun run = Examine("laboratory.invalid:80");

    ExpectFailure(run, "proxy",
                  "The asynchronous interface (libcurl) uses the proxy http://" +
                      Loopback(port.Port()).toStdString() + " (variable http_proxy); ");
    EXPECT_EQ(run.strOut.find("secret"), std::string::npos);
}

TEST_F(Doctor, UsesAProxyThatLives)
{
    const ScriptedServer proxy(ServerStep{HttpReply(200, YES)});
    qunsetenv("no_proxy");
    qputenv("http_proxy", Loopback(proxy.Port()).toLatin1());

    const KtsagentRun run = Examine("laboratory.invalid:80");

    EXPECT_THAT(Sentences(run.Object(), "proxy", "ok"), HasSubstr("which accepts connections"));
    EXPECT_THAT(Sentences(run.Object(), "paths", "ok"), HasSubstr("http://laboratory.invalid:80/"));
    EXPECT_THAT(proxy.Requests().front().Line(), HasSubstr("GET http://laboratory.invalid/vomd/"));
}

TEST_F(Doctor, ListsItsExitStatuses)
{
    const KtsagentRun run = Run({"doctor", "--help"});
    for (const auto& [strStage, nExit] : StagesOfDoctor()) {
        EXPECT_THAT(run.strOut,
                    HasSubstr("\n  " + std::to_string(nExit) + "  " + strStage.toStdString() + ": "));
    }
}
