#include "KtsagentProcess.h"
#include "ScriptedServer.h"

#include "labserver/LabServer.h"

#include <gmock/gmock.h>

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;

namespace
{

class Failure : public KtsagentProcess
{
};

} // namespace

TEST_F(Failure, NobodyListens)
{
    const RefusingPort port;

    const KtsagentRun run = Run({"support-ver", "--server", Loopback(port.Port()), "--t", "1.0.0", "--json"});

    EXPECT_EQ(run.nExit, 1);
    EXPECT_EQ(run.Object()["outcome"], "refused or failed");
    EXPECT_EQ(run.Signal(), (QJsonObject{{"bSucc", false}, {"strTickCount", ""}}));
    EXPECT_THAT(run.strErr, AllOf(HasSubstr("the server said no, or the exchange failed"),
                                  HasSubstr(m_log.Path().string())));
    EXPECT_THAT(m_log.Lines(), Contains(HasSubstr("proctol:vomd/system/GetSupportVer.action http-error:-7")));
}

TEST_F(Failure, IsPrintedWithItsCause)
{
    const RefusingPort port;

    const KtsagentRun run = Run({"support-ver", "--server", Loopback(port.Port()), "--t", "1.0.0"});

    EXPECT_THAT(run.strErr, AllOf(HasSubstr("cause: "), HasSubstr("Failed to connect"),
                                  HasSubstr("127.0.0.1 port " + std::to_string(port.Port()))));
}

TEST_F(Failure, OfAnAnswerThatSaysNoIsPrintedWithTheServersWordsOnBothInterfaces)
{
    const ScriptedServer server(ServerStep{HttpReply(200, R"({"success":false,"message":"cell unknown"})")});
    const QStringList lstCommand{"in-common", "--server", Loopback(server.Port()), "--dxtm", "X"};

    EXPECT_THAT(Run(lstCommand).strErr, HasSubstr("the server refused it: \"cell unknown\""));
    EXPECT_THAT(Run(lstCommand + QStringList("--sync")).strErr, HasSubstr("cell unknown"));
}

TEST_F(Failure, IsCountedInTheFileOfFigures)
{
    const RefusingPort port;
    const QString strFile = WriteFile("host.prom", "");
    qputenv("KTSHTTPAGENT_METRICS_FILE", strFile.toLocal8Bit());

    const KtsagentRun run = Run({"support-ver", "--server", Loopback(port.Port()), "--t", "1.0.0"});
    qunsetenv("KTSHTTPAGENT_METRICS_FILE");

    EXPECT_EQ(run.nExit, 1);
    EXPECT_THAT(Run({"stats", strFile}).strOut,
                testing::ContainsRegex("support-ver +asynchronous +1 +0 +0 .*1 not_connected"));
}

TEST_F(Failure, ABlockingCallNamesTheUrlThatItAskedWithTlsToo)
{
    const RefusingPort port;
    qputenv("KTSHTTPAGENT_TLS", "on");

    const KtsagentRun run =
        Run({"in-common", "--sync", "--server", Loopback(port.Port()), "--dxtm", "X", "--json"});

    EXPECT_EQ(run.nExit, 1);
    EXPECT_EQ(run.Object()["exchange"].toObject()["url"],
              "https://" + Loopback(port.Port()) + "/vomd/system/whetherInCommon.action?dxtm=X");
}

TEST_F(Failure, AUrlWinsOverTheSettingOfTls)
{
    const RefusingPort port;
    qputenv("KTSHTTPAGENT_TLS", "off");

    const KtsagentRun run =
        Run({"in-common", "--sync", "--server", "https://" + Loopback(port.Port()), "--dxtm", "X", "--json"});

    EXPECT_EQ(run.nExit, 1);
    EXPECT_EQ(run.Object()["exchange"].toObject()["url"],
              "https://" + Loopback(port.Port()) + "/vomd/system/whetherInCommon.action?dxtm=X");
}

TEST_F(Failure, ASilentServerIsGivenUpAfterTheTimeOut)
{
    const ScriptedServer server(ServerStep{"", ServerStep::Ending::Hold});
    qputenv("CHTTPCLIENT_DRAIN_MS", "0");

    const KtsagentRun run =
        Run({"batt-status", "--server", Loopback(server.Port()), "--t", "1", "--timeout", "300", "--json"});

    EXPECT_EQ(run.nExit, 3);
    EXPECT_EQ(run.Object()["outcome"], "no answer in time");
    EXPECT_TRUE(run.Object()["signal"].isNull());
    EXPECT_GE(run.Object()["milliseconds"].toInt(), 300);
    EXPECT_THAT(run.strErr, HasSubstr("no answer came in time"));
}

TEST_F(Failure, AnUnsupportedVersionIsNoSuccess)
{
    LabServer server;
    server.Start();

    const KtsagentRun run =
        Run({"support-ver", "--server", Loopback(server.Port()), "--t", "0.9.0", "--json"});

    EXPECT_EQ(run.nExit, 1);
    EXPECT_EQ(run.Signal()["bSucc"], false);
    ASSERT_EQ(server.Exchanges().size(), 1U);
    EXPECT_EQ(server.Exchanges()[0].nStatus, 200);
}

TEST_F(Failure, AServerThatSaysWhyIsToldFromAFailedExchange)
{
    const ScriptedServer server(
        ServerStep{HttpReply(200, R"({"success": false, "message": "channel is locked"})")});

    const KtsagentRun run =
        Run({"channel-check", "--server", Loopback(server.Port()), "--chl", "1", "--json"});

    EXPECT_EQ(run.nExit, 1);
    EXPECT_EQ(run.Object()["outcome"], "refused");
    EXPECT_EQ(run.Signal()["strMessage"], "channel is locked");
    EXPECT_EQ(run.Signal()["strAllowBoot"], "no");
    EXPECT_THAT(run.strErr, HasSubstr("the server answered"));
}

TEST_F(Failure, AGatewaysPageIsNoAnswer)
{
    const ScriptedServer server(ServerStep{HttpReply(200, "<html>502 Bad Gateway</html>")});

    const KtsagentRun run = Run({"ftp-path", "--server", Loopback(server.Port()), "--bjtzser", "B",
                                 "--csxmser", "C", "--supplier", "S", "--batteryStatus", "1", "--json"});

    EXPECT_EQ(run.nExit, 1);
    EXPECT_EQ(run.Signal(), (QJsonObject{{"bSucc", false}, {"vData", QJsonValue::Null}}));
    EXPECT_THAT(m_log.Lines(),
                Contains(HasSubstr("proctol:vomd/system/xmmb/getFtpFilePath.action http-error:0")));
}

TEST_F(Failure, AReportWhoseChannelIsNoNumberIsNotSent)
{
    LabServer server;
    server.Start();

    const KtsagentRun run = Run({"report-chl-status", "--server", Loopback(server.Port()), "--t", "1.1.0",
                                 "--box", "1", "--chl", "A", "--json"});

    EXPECT_EQ(run.nExit, 1);
    EXPECT_EQ(run.Signal(), (QJsonObject{{"bSucc", false}}));
    EXPECT_TRUE(server.Exchanges().empty());
}
