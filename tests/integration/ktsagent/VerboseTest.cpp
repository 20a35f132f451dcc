// `--verbose` prints each exchange on standard error.

#include "KtsagentProcess.h"
#include "ScriptedServer.h"

#include "labserver/LabServer.h"

#include <gmock/gmock.h>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{

constexpr const char* YES = R"({"success":true,"common":true})";

class Verbose : public KtsagentProcess
{
};

} // namespace

TEST_F(Verbose, PrintsAnAsynchronousExchangeAsItIsOnTheWire)
{
    const ScriptedServer server(ServerStep{HttpReply(200, YES, "X-Lab: \x1b[2J\r\n")});
    const KtsagentRun run =
        Run({"in-common", "--server", Loopback(server.Port()), "--dxtm", "X", "--verbose"});
    EXPECT_EQ(run.nExit, 0);
    EXPECT_THAT(run.strErr,
                AllOf(HasSubstr("> GET /vomd/system/whetherInCommon.action?dxtm=X HTTP/1.1\n> Host: "),
                      HasSubstr("\n>\n"), HasSubstr("\n< HTTP/1.1 200 "), HasSubstr("\n< X-Lab: \\x1b[2J\n"),
                      HasSubstr(std::string("\n< ") + YES + "\n* GET http://"), HasSubstr("; ms: ")));
    EXPECT_EQ(run.strErr.find('\x1b'), std::string::npos);
    EXPECT_THAT(run.strOut, AllOf(StartsWith("operation: in-common\n"), Not(HasSubstr("GET"))));
}

TEST_F(Verbose, PrintsABlockingExchangeAsQtReportsIt)
{
    const ScriptedServer server(ServerStep{HttpReply(200, YES)});
    const KtsagentRun run =
        Run({"in-common", "--sync", "--server", Loopback(server.Port()), "--dxtm", "X", "-v"});
    EXPECT_EQ(run.nExit, 0);
    EXPECT_THAT(run.strErr, AllOf(HasSubstr("* Qt does not tell the bytes on the wire"),
                                  HasSubstr("\n* no proxy\n> GET "), HasSubstr("\n< HTTP 200 "),
                                  HasSubstr(std::string("\n<\n< ") + YES + "\n* GET http://")));
}

TEST_F(Verbose, PrintsTheBodyOfAReportAndNoPassword)
{
    const ScriptedServer server(ServerStep{HttpReply(200, R"({"code":"200"})")});
    const QString strUrl = QString("http://user:SECRET@%1/").arg(Loopback(server.Port()));
    const QStringList lstCommand{"report-cycle", "--url", strUrl, "--data", R"({"barcode":"B1"})", "-v"};
    for (const QStringList& lstMore : {QStringList(), QStringList("--sync")}) {
        const KtsagentRun run = Run(lstCommand + lstMore);
        EXPECT_THAT(run.strErr, AllOf(HasSubstr("\n> [{\"barcode\":\"B1\"}]\n"), Not(HasSubstr("SECRET")),
                                      Not(HasSubstr("dXNlcjpTRUNSRVQ")))); // the same in Base64
    }
    EXPECT_THAT(Run(lstCommand).strErr, HasSubstr("\n> Authorization: ***\n"));
}

TEST_F(Verbose, PrintsTheWayThroughAProxyWithoutItsPassword)
{
    const ScriptedServer proxy(ServerStep{HttpReply(200, YES)});
    qunsetenv("no_proxy");
    qputenv("http_proxy", "user:SECRET@" + Loopback(proxy.Port()).toLatin1());
    const KtsagentRun run = Run({"in-common", "--server", "laboratory.invalid:80", "--dxtm", "X", "-v"});
    EXPECT_EQ(run.nExit, 0);
    EXPECT_THAT(run.strErr,
                AllOf(HasSubstr("> GET http://laboratory.invalid/vomd/"),
                      HasSubstr("\n> Proxy-Authorization: ***\n"), HasSubstr("proxy user:***@127.0.0.1:"),
                      Not(HasSubstr("SECRET")), Not(HasSubstr("dXNlcjpTRUNSRVQ"))));
}

TEST_F(Verbose, PrintsHowAnExchangeFailed)
{
    const RefusingPort port;
    const QStringList lstCommand{"in-common", "--server", Loopback(port.Port()), "--dxtm", "X", "-v"};
    EXPECT_THAT(Run(lstCommand).strErr, HasSubstr("outcome -7: Failed to connect to 127.0.0.1 port"));
    EXPECT_THAT(Run(lstCommand + QStringList("--sync")).strErr, HasSubstr("type 3110: Connection refused"));
}

TEST_F(Verbose, PrintsEveryExchangeOfTheDemo)
{
    const KtsagentRun run = Run({"demo", "--verbose"});
    EXPECT_EQ(run.nExit, 0);
    EXPECT_THAT(run.strErr, AllOf(HasSubstr("\n> GET /vomd/system/GetSupportVer.action?t="),
                                  HasSubstr("\n> POST http://127.0.0.1:"), HasSubstr("\n< HTTP/1.1 502 ")));
}

TEST_F(Verbose, PrintsTheQueriesOfTheDoctor)
{
    LabServer server;
    server.Start();
    const KtsagentRun run =
        Run({"doctor", "--server", Loopback(server.Port()), "--paths", "in-common,batt-status", "-v"});
    EXPECT_EQ(run.nExit, 0);
    EXPECT_THAT(run.strErr,
                AllOf(HasSubstr("\n> GET /vomd/system/whetherInCommon.action"),
                      HasSubstr("> GET http://" + Loopback(server.Port()).toStdString() + "/vomd/system/"),
                      HasSubstr("\n< HTTP/1.1 200 OK\n"), HasSubstr("\n< HTTP 200\n")));
}

TEST_F(Verbose, PrintsTheQueriesOfTheDoctorThatFail)
{
    const ScriptedServer server(ServerStep{"", ServerStep::Ending::Close});
    const KtsagentRun run = Run({"doctor", "--server", Loopback(server.Port()), "-v"});
    EXPECT_EQ(run.nExit, 19);
    EXPECT_THAT(run.strErr, AllOf(HasSubstr("\n* Server returned nothing (no headers, no data); ms: whole "),
                                  HasSubstr("\n* Connection closed; ms: whole "), Not(HasSubstr("< HTTP"))));
}
