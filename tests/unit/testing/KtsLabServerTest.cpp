// The lab server as a fixture: its start, its data, its faults, and its end in every case.

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/testing/KtsGoogleTest.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>
#include <QHostAddress>
#include <QProcess>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

using ::testing::HasSubstr;

namespace
{

constexpr int LONG_MS = 60'000;

bool IsListening(int nPort)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress(QHostAddress::LocalHost), static_cast<quint16>(nPort));
    return socket.waitForConnected(LONG_MS);
}

class LabFixture : public KtsLabServerTest
{
protected:
    SBlockingOutcome AskForCell(const QString& strCell)
    {
        CUIAgentReq& request = *CUIAgentReq::Instance();
        request.SendGetWhetherInCommonEx(m_lab.Host(), m_lab.Port(), LONG_MS, strCell, m_bCommon);
        return request.LastOutcome();
    }

    bool m_bCommon = false;
};

TEST_F(LabFixture, RunsOnAFreePort)
{
    EXPECT_GT(m_lab.Port(), 0);
    KtsLabServer second;
    ASSERT_TRUE(second.Start()) << second.Error().toStdString();
    EXPECT_NE(second.Port(), m_lab.Port());
    EXPECT_EQ(m_lab.Url(), QStringLiteral("http://127.0.0.1:%1/").arg(m_lab.Port()));
    EXPECT_TRUE(m_lab.Start()) << "it runs already";
}

TEST_F(LabFixture, AnswersByTheRowsOfTheTest)
{
    EXPECT_EQ(AskForCell("CELL-OF-TEST").eEnd, EBlockingEnd::Answered);
    EXPECT_FALSE(m_bCommon);
    ASSERT_TRUE(m_lab.AddRows("shared-barcodes", {QJsonObject{{"dxtm", "CELL-OF-TEST"}, {"common", true}}}))
        << m_lab.Error().toStdString();
    EXPECT_EQ(AskForCell("CELL-OF-TEST").eEnd, EBlockingEnd::Answered);
    EXPECT_TRUE(m_bCommon);
    EXPECT_EQ(m_lab.Rows("shared-barcodes").last().toObject().value("dxtm").toString(), "CELL-OF-TEST");
}

TEST_F(LabFixture, SaysWhyItDoesNotTakeARow)
{
    EXPECT_FALSE(m_lab.AddRows("shared-barcodes", {QJsonObject{{"dxtm", 1}}}));
    EXPECT_THAT(m_lab.Error().toStdString(), HasSubstr("KtsLabServer: POST /lab/shared-barcodes: the lab "
                                                       "server refuses this: "));
    EXPECT_TRUE(m_lab.Rows("no-such-list").isEmpty());
    EXPECT_THAT(m_lab.Error().toStdString(), HasSubstr("GET /lab/no-such-list: "));
}

TEST_F(LabFixture, FailsAsOftenAsTheTestSays)
{
    ASSERT_TRUE(m_lab.AddFault("vomd/system", 502)) << m_lab.Error().toStdString();
    EXPECT_EQ(AskForCell("C").nHttpStatus, 502);
    EXPECT_EQ(AskForCell("C").nHttpStatus, 200);
    ASSERT_TRUE(m_lab.AddFault({{"path", "vomd"}, {"reset", true}, {"count", 9}}));
    EXPECT_EQ(AskForCell("C").eEnd, EBlockingEnd::Failed);
    ASSERT_TRUE(m_lab.ClearFaults());
    EXPECT_EQ(AskForCell("C").nHttpStatus, 200);
    EXPECT_FALSE(m_lab.AddFault(QJsonObject{}));
}

TEST_F(LabFixture, ShowsStoredReportsAlsoAfterARestart)
{
    CUIAgentReq::Instance()->SendPostReportCycleDataEx(m_lab.Url(), LONG_MS, R"({"cycle":7})");
    const int nPort = m_lab.Port();
    for (int nRun = 0; nRun < 2; ++nRun) {
        ASSERT_EQ(m_lab.Reports("cycle-data").size(), 1) << m_lab.Error().toStdString();
        EXPECT_EQ(m_lab.Reports("cycle-data")[0].toObject().value("report").toArray()[0].toObject(),
                  (QJsonObject{{"cycle", 7}}));
        m_lab.Stop();
        EXPECT_FALSE(IsListening(nPort));
        EXPECT_EQ(m_lab.Reports("cycle-data").size(), 0);
        EXPECT_THAT(m_lab.Error().toStdString(), HasSubstr("the lab server is not started"));
        ASSERT_TRUE(m_lab.Start()) << m_lab.Error().toStdString();
        EXPECT_EQ(m_lab.Port(), nPort);
    }
}

TEST_F(LabFixture, BeginsWithTheGivenData)
{
    const QTemporaryDir folder;
    const QString strData = folder.filePath("given.db");
    {
        SKtsLabServerOptions options;
        QProcess maker;
        maker.start(options.strProgram, {"--end-with-input", "--data", strData});
        ASSERT_TRUE(maker.waitForReadyRead(LONG_MS));
        maker.closeWriteChannel();
        ASSERT_TRUE(maker.waitForFinished(LONG_MS));
        EXPECT_EQ(maker.exitCode(), 0);
    }
    SKtsLabServerOptions options;
    options.strDataFile = strData;
    KtsLabServer lab(options);
    ASSERT_TRUE(lab.Start()) << lab.Error().toStdString();
    EXPECT_FALSE(lab.Rows("supported-versions").isEmpty());
}

TEST(KtsLabServer, SaysThatADataFileIsMissing)
{
    SKtsLabServerOptions options;
    options.strDataFile = "/no/such/data.db";
    KtsLabServer lab(options);
    EXPECT_FALSE(lab.Start());
    EXPECT_THAT(lab.Error().toStdString(), HasSubstr("/no/such/data.db can't be copied: "));
}

std::string g_strSaidAtTheEnd;

TEST(KtsLabServer, EndsWithItsObject)
{
    int nPort = 0;
    const auto fnBefore =
        qInstallMessageHandler([](QtMsgType /*eType*/, const QMessageLogContext&, const QString& strText) {
            g_strSaidAtTheEnd += strText.toStdString();
        });
    {
        KtsLabServer lab;
        EXPECT_TRUE(lab.Start()) << lab.Error().toStdString();
        nPort = lab.Port();
        EXPECT_TRUE(IsListening(nPort));
    }
    qInstallMessageHandler(fnBefore);
    EXPECT_FALSE(IsListening(nPort));
    EXPECT_EQ(g_strSaidAtTheEnd, "") << "Qt says so if a process has to be killed";
}

TEST(KtsLabServer, EndsWhenTheTestCrashes)
{
    QProcess test;
    test.start(KTS_CRASHING_TEST, QStringList());
    ASSERT_TRUE(test.waitForFinished(LONG_MS));
    EXPECT_EQ(test.exitStatus(), QProcess::CrashExit);
    const int nPort = test.readAllStandardOutput().trimmed().toInt();
    ASSERT_GT(nPort, 0) << test.readAllStandardError().toStdString();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !IsListening(nPort); }, LONG_MS));
}

TEST(KtsLabServer, SaysWhichProgramIsMissing)
{
    qputenv("KTSLABSERVER", "/no/such/ktslabserver");
    KtsLabServer lab;
    EXPECT_FALSE(lab.Start());
    EXPECT_EQ(lab.Error(), "KtsLabServer: there is no program /no/such/ktslabserver");
    EXPECT_EQ(lab.Port(), 0);
}

TEST(KtsLabServer, SaysWhereItLookedForTheProgram)
{
    qunsetenv("KTSLABSERVER");
    qputenv("PATH", "/no/such/folder");
    SKtsLabServerOptions options;
    options.strProgram.clear();
    KtsLabServer lab(options);
    // The build puts all programs into one folder, so it is found beside this test.
    EXPECT_TRUE(lab.Start()) << lab.Error().toStdString();
}

/// What a test without a QCoreApplication prints that looks for the program in this search path.
QByteArray PrintedByAPlainTest(const QString& strPath)
{
    qunsetenv("KTSLABSERVER");
    qputenv("PATH", strPath.toLocal8Bit());
    QProcess test;
    test.start(KTS_PLAIN_TEST, QStringList());
    EXPECT_TRUE(test.waitForFinished(LONG_MS));
    EXPECT_EQ(test.exitStatus(), QProcess::NormalExit);
    return test.readAllStandardOutput().trimmed();
}

TEST(KtsLabServer, FindsTheProgramInTheSearchPathToo)
{
    EXPECT_GT(PrintedByAPlainTest(QCoreApplication::applicationDirPath()).toInt(), 0);
}

TEST(KtsLabServer, SaysWhereTheProgramIsNot)
{
    EXPECT_EQ(PrintedByAPlainTest("/no/such/folder"),
              "KtsLabServer: the program ktslabserver is not found: it is neither beside the test nor in the "
              "search path. "
              "Install ktshttpagent's tools, or set the environment variable KTSLABSERVER to its path");
}

TEST(KtsLabServer, SaysWhyTheProgramDoesNotStart)
{
    SKtsLabServerOptions options;
    options.strProgram = "/bin/false";
    KtsLabServer lab(options);
    EXPECT_FALSE(lab.Start());
    EXPECT_THAT(lab.Error().toStdString(), HasSubstr("/bin/false does not start: "));
}

/// A program of the shell, in a folder that goes with it.
class ShellProgram
{
public:
    explicit ShellProgram(const QByteArray& baCommands)
    {
        QFile file(Path());
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\n" + baCommands + "\n");
        file.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    }

    QString Path() const { return m_folder.filePath("ktslabserver"); }

private:
    const QTemporaryDir m_folder;
};

TEST(KtsLabServer, SaysWhatAProgramSaidThatDoesNotListen)
{
    const ShellProgram program("echo something else; echo no port is free >&2; cat >/dev/null");
    SKtsLabServerOptions options;
    options.strProgram = program.Path();
    KtsLabServer lab(options);
    EXPECT_FALSE(lab.Start());
    EXPECT_EQ(lab.Port(), 0);
    EXPECT_THAT(lab.Error().toStdString(), HasSubstr("/ktslabserver does not start: "));
}

TEST(KtsLabServer, KillsAProgramThatDoesNotEndWithItsInput)
{
    const ShellProgram program("echo ktslabserver: listening on http://127.0.0.1:1/; exec sleep 600");
    SKtsLabServerOptions options;
    options.strProgram = program.Path();
    options.nMostMilliseconds = 2'000;
    KtsLabServer lab(options);
    ASSERT_TRUE(lab.Start()) << lab.Error().toStdString();
    EXPECT_EQ(lab.Port(), 1);
    lab.Stop();
    EXPECT_FALSE(lab.ClearFaults());
    EXPECT_THAT(lab.Error().toStdString(), HasSubstr("the lab server is not started"));
}

TEST(KtsLabServer, SaysThatItFindsNoFolderForItsData)
{
    qputenv("TMPDIR", "/proc"); // where nobody may make one
    KtsLabServer lab;
    EXPECT_FALSE(lab.Start());
    EXPECT_THAT(lab.Error().toStdString(), HasSubstr("no temporary folder can be made: "));
}

TEST(KtsLabServer, GivesUpOnAProgramThatSaysNothing)
{
    SKtsLabServerOptions options;
    options.strProgram = "/bin/cat";
    options.nMostMilliseconds = 50;
    KtsLabServer lab(options);
    EXPECT_FALSE(lab.Start());
    EXPECT_THAT(lab.Error().toStdString(), HasSubstr("/bin/cat does not start: "));
}

} // namespace
