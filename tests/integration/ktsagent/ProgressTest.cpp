// A line on a terminal tells how long a command has waited.

#include "KtsagentProcess.h"
#include "ScriptedServer.h"

#include <QElapsedTimer>
#include <QProcess>

#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

using testing::HasSubstr;
using testing::Not;

namespace
{

/// A terminal without a screen: what is written to it can be read.
class Terminal
{
public:
    Terminal() : m_nMaster(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        EXPECT_GE(m_nMaster, 0);
        EXPECT_EQ(::grantpt(m_nMaster), 0);
        EXPECT_EQ(::unlockpt(m_nMaster), 0);
        m_nSlave = ::open(::ptsname(m_nMaster), O_RDWR | O_NOCTTY | O_CLOEXEC);
        EXPECT_GE(m_nSlave, 0);
    }
    ~Terminal()
    {
        ::close(m_nSlave);
        ::close(m_nMaster);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    int Slave() const { return m_nSlave; }

    /// What was written since the last call, so far.
    std::string Read() const
    {
        std::string strAll;
        pollfd waiting{m_nMaster, POLLIN, 0};
        while (::poll(&waiting, 1, 0) == 1) {
            char buffer[4096];
            const ssize_t nRead = ::read(m_nMaster, buffer, sizeof buffer);
            if (nRead <= 0) {
                break;
            }
            strAll.append(buffer, static_cast<std::size_t>(nRead));
        }
        return strAll;
    }

private:
    const int m_nMaster;
    int m_nSlave = -1;
};

/// A process whose standard error is a terminal.
class ProcessOnTerminal : public QProcess
{
public:
    explicit ProcessOnTerminal(const Terminal& terminal) : m_nTerminal(terminal.Slave()) {}

protected:
    void setupChildProcess() override { ::dup2(m_nTerminal, STDERR_FILENO); }

private:
    const int m_nTerminal;
};

class Progress : public KtsagentProcess
{
protected:
    /// Runs the program on a terminal to its end.
    /// @return what it wrote to standard error
    std::string RunOnTerminal(const QStringList& lstArguments) const
    {
        constexpr int PATIENCE_MS = 60'000;
        constexpr int READ_EACH_MS = 100;
        const Terminal terminal;
        ProcessOnTerminal process(terminal);
        process.start(KTSAGENT_PROGRAM, lstArguments, QIODevice::ReadOnly);
        std::string strSaid;
        QElapsedTimer clock;
        clock.start();
        while (!process.waitForFinished(READ_EACH_MS) && !clock.hasExpired(PATIENCE_MS)) {
            strSaid += terminal.Read(); // what it says must not fill the terminal's buffer
        }
        EXPECT_EQ(process.state(), QProcess::NotRunning);
        return strSaid + terminal.Read();
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
