#include "KtsagentProcess.h"

#include "labserver/LabServer.h"

#include <gmock/gmock.h>

#include <QJsonDocument>

using testing::HasSubstr;

namespace
{

#if defined(Q_OS_WIN)
constexpr const char* NO_SUCH_FILE = "Path not found";
#else
constexpr const char* NO_SUCH_FILE = "No such file";
#endif

struct BadFile {
    const char* szName;
    std::string strText;
    const char* szSaid; ///< after the file's name
};

class BadReportFile : public KtsagentProcess, public testing::WithParamInterface<BadFile>
{
};

/// Sends reports to a lab server and checks what has arrived there.
class ReportFile : public KtsagentProcess
{
protected:
    ReportFile() { m_server.Start(); }

    QString Server() const { return Loopback(m_server.Port()); }

    QJsonObject Arrived() const
    {
        const std::vector<LabExchange> vecSeen = m_server.Exchanges();
        EXPECT_EQ(vecSeen.size(), 1U);
        return vecSeen.empty()
                   ? QJsonObject()
                   : QJsonDocument::fromJson(QByteArray::fromStdString(vecSeen[0].strBody)).object();
    }

    LabServer m_server;
};

} // namespace

TEST_P(BadReportFile, IsRefusedWithFileLineAndField)
{
    const QString strFile = WriteFile("report.json", GetParam().strText);

    const KtsagentRun run = Run({"report-chl-status", "--server", "h:1", "--t", "1", "--file", strFile});

    EXPECT_EQ(run.nExit, 2);
    EXPECT_THAT(run.strErr, HasSubstr(strFile.toStdString() + GetParam().szSaid));
    EXPECT_EQ(run.strOut, "");
}

INSTANTIATE_TEST_SUITE_P(
    ReportFile, BadReportFile,
    testing::Values(
        BadFile{"SyntaxError", "{\n  \"chl\": \"1\",\n  \"com\" 3\n}", ":3:9: "},
        BadFile{"Empty", "", ":1:1: "}, BadFile{"TextBehindTheObject", "{}\n{}", ":2:1: "},
        BadFile{"NulByteBehindTheObject", std::string("{}\0{}", 5), ":1:3: a NUL byte"},
        BadFile{"InvalidUtf8", "{\"com\": \"\xFF\"}", ":1:"},
        BadFile{"UnknownField", "{\n  \"box\": \"1\",\n  \"voltag\": 3.6\n}",
                ":3: field \"voltag\" is unknown"},
        BadFile{"TextForNumber", "{\n\n  \"voltage\": \"3.6\"}", ":3: field \"voltage\" must be a number"},
        BadFile{"NumberForText", "{\"box\": 1}", ":1: field \"box\" must be a text"},
        BadFile{"FractionForInteger", "{\"cycle\": 1.5}", ":1: field \"cycle\" must be an integer"},
        BadFile{"NegativeForNatural", "{\"cycle\": -1}", ":1: field \"cycle\" must be an integer from 0"},
        BadFile{"TooLargeInteger", "{\"cycle\": 4294967296}", ":1: field \"cycle\" must be an integer"},
        BadFile{"NullForText", "{\"com\": null}", ":1: field \"com\" must be a text"},
        BadFile{"TruthForText", "{\"com\": true}", ":1: field \"com\" must be a text"},
        BadFile{"ObjectForText", "{\"com\":\n{\"a\": 1}}", ":1: field \"com\" must be a text"},
        BadFile{"ListForNumber", "{\"reason\": [1]}", ":1: field \"reason\" must be an integer"},
        BadFile{"FieldGivenTwice", "{\"com\": \"a\",\n\"com\": \"b\"}",
                ":2: field \"com\" appears a second time"},
        BadFile{"TextAlone", "\"name\"", ":1: the file must hold one object"},
        BadFile{"ListOfRecords", "[{}]", ":1: the file must hold one object"},
        BadFile{"DeepNesting", std::string(1000000, '['), ":1: the file must hold one object"}),
    [](const auto& param) { return std::string(param.param.szName); });

TEST_F(ReportFile, ThatIsMissingIsNamed)
{
    const KtsagentRun run = Run({"report-incubator", "--server", "h:1", "--file", "/no/such/file.json"});

    EXPECT_EQ(run.nExit, 2);
    EXPECT_THAT(run.strErr, HasSubstr(std::string("/no/such/file.json: ") + NO_SUCH_FILE));
}

TEST_F(ReportFile, FillsTheRecord)
{
    const QString strFile =
        WriteFile("report.json", "{\n  \"box\": \"4\",\n  \"chl\": \"2\",\n  \"cycle\": 9,\n"
                                 "  \"voltage\": 4.2001,\n  \"com\": \"\u6d4b\\n\"\n}\n");

    const KtsagentRun run =
        Run({"report-chl-status", "--server", Server(), "--t", "1.1.0", "--file", strFile});

    EXPECT_EQ(run.nExit, 0) << run.strErr;
    const QJsonObject arrived = Arrived();
    EXPECT_EQ(arrived["box"], 4);
    EXPECT_EQ(arrived["chl"], "3"); // in requests counted from 1
    EXPECT_EQ(arrived["cycle"], 10);
    EXPECT_EQ(arrived["voltage"], 4.2001);
    EXPECT_EQ(arrived["com"], QString::fromUtf8("\u6d4b\n"));
}

TEST_F(ReportFile, GivesWayToOptions)
{
    const QString strFile =
        WriteFile("report.json", R"({"name": "INC-01", "status": "busy", "temperature": 25})");

    const KtsagentRun run = Run({"report-incubator", "--server", Server(), "--file", strFile, "--status",
                                 "idle", "--temperature=-20.5"});

    EXPECT_EQ(run.nExit, 0) << run.strErr;
    const QJsonObject arrived = Arrived();
    EXPECT_EQ(arrived["name"], "INC-01");
    EXPECT_EQ(arrived["status"], "idle");
    EXPECT_EQ(arrived["temperature"], -20.5);
}

TEST_F(ReportFile, MayBeginWithAByteOrderMark)
{
    const QString strFile = WriteFile("report.json", "\xEF\xBB\xBF{\"name\": \"INC-02\"}");

    const KtsagentRun run = Run({"report-incubator", "--server", Server(), "--file", strFile});

    EXPECT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_EQ(Arrived()["name"], "INC-02");
}
