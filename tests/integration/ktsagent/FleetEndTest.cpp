// How a fleet looks on a terminal, and how a signal ends it.

#include "KtsagentProcess.h"

#include "labserver/LabServer.h"

#include <gmock/gmock.h>

#include <QFile>
#include <QProcess>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

namespace
{

constexpr int PATIENCE_WITH_FLEET_MS = 60000;

/// A terminal, with the side that a program writes to and the side that a test reads.
class Terminal
{
public:
    Terminal() : m_nOurs(posix_openpt(O_RDWR | O_NOCTTY))
    {
        EXPECT_EQ(grantpt(m_nOurs), 0);
        EXPECT_EQ(unlockpt(m_nOurs), 0);
        m_strName = ptsname(m_nOurs);
        m_nTheirs =
            open(m_strName.c_str(), O_RDWR | O_NOCTTY); // kept open, or our side would fail at their end
    }
    ~Terminal()
    {
        close(m_nTheirs);
        close(m_nOurs);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    QString Name() const { return QString::fromStdString(m_strName); }

    /// Reads up to the end of a line that contains a text.
    std::string ReadLineWith(const std::string& strText) const
    {
        std::string strRead;
        for (char c = 0; ::read(m_nOurs, &c, 1) == 1;) {
            strRead += c;
            if (c == '\n' && strRead.find(strText) != std::string::npos) {
                break;
            }
        }
        return strRead;
    }

private:
    int m_nOurs;
    int m_nTheirs;
    std::string m_strName;
};

class FleetEnd : public KtsagentProcess
{
protected:
    FleetEnd()
    {
        m_server.Start();
        qputenv("CHTTPCLIENT_DRAIN_MS",
                "60000"); // time for the answers that are on their way, on a busy machine too
    }

    void Start(QProcess& process, const QStringList& lstOptions) const
    {
        process.start(KTSAGENT_PROGRAM,
                      QStringList{"fleet", "--server", Loopback(m_server.Port()), "--hosts", "4", "--rate",
                                  "5", "--seconds", "600"} +
                          lstOptions,
                      QIODevice::ReadOnly);
        ASSERT_TRUE(process.waitForStarted(PATIENCE_WITH_FLEET_MS));
    }

    static KtsagentRun End(QProcess& process, int nSignal)
    {
        EXPECT_EQ(::kill(static_cast<pid_t>(process.processId()), nSignal), 0);
        EXPECT_TRUE(process.waitForFinished(PATIENCE_WITH_FLEET_MS));
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                process.readAllStandardOutput().toStdString(), process.readAllStandardError().toStdString()};
    }

    void KeepServerSilent()
    {
        LabFault silence;
        silence.strPath = "vomd";
        silence.nCount = 1'000'000;
        silence.eKind = LabFaultKind::Silence;
        m_server.AddFault(silence);
    }

    LabServer m_server;
};

} // namespace

TEST_F(FleetEnd, ByASignalPrintsTheResultSoFar)
{
    for (const int nSignal : {SIGINT, SIGTERM}) {
        const std::size_t nBefore = m_server.Exchanges().size();
        QProcess process;
        Start(process, {"--json"});
        while (m_server.Exchanges().size() < nBefore + 10) {
            std::this_thread::yield();
        }
        const KtsagentRun run = End(process, nSignal);

        EXPECT_EQ(run.nExit, 0) << run.strErr;
        const QJsonObject result = run.Object();
        EXPECT_EQ(result["complete"], false);
        EXPECT_EQ(result["planned"], 4 * 8 * 5 * 600);
        EXPECT_GE(result["sent"].toInt(), 10);
        EXPECT_EQ(result["yes"], result["sent"]);
        EXPECT_EQ(m_server.Exchanges().size() - nBefore, static_cast<std::size_t>(result["sent"].toInt()));
    }
}

TEST_F(FleetEnd, ByASignalIsToldInTheTable)
{
    QProcess process;
    Start(process, {});
    while (m_server.Exchanges().empty()) {
        std::this_thread::yield();
    }
    EXPECT_THAT(End(process, SIGINT).strOut,
                testing::ContainsRegex("\nsent +[0-9]+  of 96000: a signal ended the run\n"));
}

TEST_F(FleetEnd, ByASignalDoesNotWaitForASilentServer)
{
    qputenv("CHTTPCLIENT_DRAIN_MS", "100");
    KeepServerSilent();
    QProcess process;
    Start(process, {"--json"});
    while (m_server.Exchanges().empty()) {
        std::this_thread::yield();
    }
    const KtsagentRun run = End(process, SIGINT);

    EXPECT_EQ(run.nExit, 1);
    const QJsonObject result = run.Object();
    EXPECT_EQ(result["yes"], 0);
    EXPECT_EQ(result["failed"], (QJsonObject{{"cancelled", result["sent"]}}));
}

TEST_F(FleetEnd, ByASignalDoesNotWaitForTheLastAnswersEither)
{
    qputenv("CHTTPCLIENT_DRAIN_MS", "100");
    KeepServerSilent();
    QProcess process;
    process.start(KTSAGENT_PROGRAM,
                  {"fleet", "--server", Loopback(m_server.Port()), "--hosts", "1", "--channels", "1",
                   "--rate", "1", "--seconds", "1", "--wait", "600", "--json"},
                  QIODevice::ReadOnly);
    ASSERT_TRUE(process.waitForStarted(PATIENCE_WITH_FLEET_MS));
    while (m_server.Exchanges().empty()) { // there is only one report
        std::this_thread::yield();
    }
    const KtsagentRun run = End(process, SIGINT);

    EXPECT_EQ(run.nExit, 1);
    EXPECT_EQ(run.Object()["complete"], false);
    EXPECT_EQ(run.Object()["sent"], run.Object()["planned"]);
}

TEST_F(FleetEnd, OnATerminalIsPrecededByALineASecond)
{
    const Terminal terminal;
    QProcess process;
    process.setStandardErrorFile(terminal.Name(), QIODevice::Append);
    Start(process, {});
    const std::string strLines = terminal.ReadLineWith("    2 s: ");
    EXPECT_THAT(strLines,
                testing::MatchesRegex("    1 s: sent [0-9]+, yes [0-9]+, no or failed 0, outstanding [0-9]+, "
                                      "p50 [0-9.]+ ms, p99 [0-9.]+ ms\r\n    2 s: sent [^\n]+\n"));
    EXPECT_EQ(End(process, SIGINT).nExit, 0);
}
