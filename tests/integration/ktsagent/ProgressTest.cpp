// A line on a terminal tells how long a command has waited.

#include "KtsagentProcess.h"
#include "OnTerminal.h"
#include "ScriptedServer.h"

#include <gmock/gmock.h>

#include <chrono>
#include <string>

#include <unistd.h>

using testing::HasSubstr;
using testing::Not;

namespace
{

class Progress : public KtsagentProcess
{
protected:
    static std::string RunOnTerminal(const QStringList& lstArguments)
    {
        return OnTerminal(lstArguments, STDERR_FILENO);
    }

    static QStringList AskSilent(const ScriptedServer& server, const QStringList& lstMore = {})
    {
        qputenv("CHTTPCLIENT_DRAIN_MS", "0");
        return QStringList{"in-common", "--server", Loopback(server.Port()), "--dxtm", "X",
                           "--timeout", "5500"} +
               lstMore;
    }
};

} // namespace

TEST_F(Progress, IsALineThatIsRewrittenAndErasedOnATerminal)
{
    const ScriptedServer server(Silent());
    for (const QStringList& lstMore : {QStringList(), QStringList("--sync")}) {
        const std::string strSaid = RunOnTerminal(AskSilent(server, lstMore));
        const std::string strLine = "waiting for " + Loopback(server.Port()).toStdString() + ", ";
        const auto fnErased = [](const std::string& strShown) {
            return '\r' + std::string(strShown.size(), ' ') + '\r';
        };
        EXPECT_EQ(strSaid.find(strLine + "1 s of 6 s …"), 0U) << strSaid;
        EXPECT_THAT(strSaid, HasSubstr(fnErased(strLine + "1 s of 6 s …") + strLine));
        const std::size_t nLast = strSaid.rfind(strLine);
        const std::string strLast = strLine + "5 s of 6 s …"; // or less, on a busy machine
        EXPECT_EQ(strSaid.substr(nLast + strLast.size(), strLast.size() + 2), fnErased(strLast)) << strSaid;
        EXPECT_THAT(strSaid, HasSubstr("no answer came"));
    }
}

TEST_F(Progress, IsNotThereInAPipe)
{
    const ScriptedServer server(Silent());
    const KtsagentRun run = Run(AskSilent(server));
    EXPECT_EQ(run.nExit, 3);
    EXPECT_THAT(run.strErr, HasSubstr("no answer came in time"));
    EXPECT_THAT(run.strErr, Not(HasSubstr("waiting for")));
    EXPECT_EQ(run.strErr.find('\r'), std::string::npos);
}

TEST_F(Progress, IsOnlyTheTimesIfTheLineWouldBeTooLong)
{
    const ScriptedServer proxy(Silent());
    qunsetenv("no_proxy");
    qputenv("http_proxy", Loopback(proxy.Port()).toLatin1());
    qputenv("CHTTPCLIENT_DRAIN_MS", "0");
    const QString strHost = QString(60, 'h') + ".invalid:80"; // only the proxy would look it up
    const std::string strSaid =
        RunOnTerminal({"in-common", "--server", strHost, "--dxtm", "X", "--timeout", "2500"});
    EXPECT_EQ(strSaid.find("1 s of 3 s …\r"), 0U) << strSaid;
}

TEST_F(Progress, LeavesLinesOfTheTraceWhole)
{
    const ScriptedServer server(ServerStep{HttpReply(200, R"({"success":true,"common":true})"),
                                           ServerStep::Ending::KeepAlive, std::chrono::milliseconds(3000)});
    const std::string strSaid =
        RunOnTerminal({"in-common", "--server", Loopback(server.Port()), "--dxtm", "X", "--verbose"});
    EXPECT_THAT(strSaid, HasSubstr(" s of 70 s …\r   "));
    EXPECT_THAT(strSaid, HasSubstr("   \r< HTTP/1.1 200 "));
}

TEST_F(Progress, NamesTheStageOfTheDoctor)
{
    const BlackHolePort port;
    EXPECT_THAT(RunOnTerminal({"doctor", "--server", Loopback(port.Port()), "--timeout", "3000"}),
                HasSubstr("stage connection, 1 s of 3 s …\r"));
}
