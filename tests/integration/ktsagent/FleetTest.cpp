#include "ContainsPattern.h"
#include "KtsagentProcess.h"

#include "labserver/LabServer.h"

#include <gmock/gmock.h>

#include <QJsonDocument>

#include <map>
#include <set>

using testing::HasSubstr;

namespace
{

const char* const ENDPOINT = "/vomd/system/addstatuslog.action";

/// A fleet of three hosts with two channels, five reports per second of each, for a second: thirty reports.
const QStringList SMALL{"--hosts", "3", "--channels", "2", "--rate", "5", "--seconds", "1"};
constexpr int REPORTS = 30;

class Fleet : public KtsagentProcess
{
protected:
    Fleet() { m_server.Start(); }

    KtsagentRun RunFleet(const QStringList& lstOptions) const
    {
        return Run(QStringList{"fleet", "--server", Loopback(m_server.Port())} + lstOptions);
    }

    void AddFault(LabFault fault)
    {
        fault.strPath = ENDPOINT;
        m_server.AddFault(fault);
    }

    LabServer m_server;
};

LabFault ReplyWith(int nStatus, const std::string& strBody, int nCount)
{
    LabFault fault;
    fault.eKind = LabFaultKind::Reply;
    fault.nStatus = nStatus;
    fault.strBody = strBody;
    fault.nCount = nCount;
    return fault;
}

/// Everything that a server got, without the order.
std::multiset<std::string> Received(const LabServer& server)
{
    std::multiset<std::string> setReceived;
    for (const LabExchange& exchange : server.Exchanges()) {
        setReceived.insert(exchange.strMethod + ' ' + exchange.strTarget + ' ' + exchange.strBody);
    }
    return setReceived;
}

} // namespace

TEST_F(Fleet, OfWhichEveryReportGetsAYesSucceeds)
{
    const KtsagentRun run = RunFleet(SMALL + QStringList{"--json"});

    EXPECT_EQ(run.nExit, 0);
    EXPECT_EQ(run.strErr, "");
    const QJsonObject result = run.Object();
    EXPECT_EQ(result["server"].toString().toStdString(),
              "http://" + Loopback(m_server.Port()).toStdString() + "/");
    EXPECT_EQ(result["hosts"], 3);
    EXPECT_EQ(result["channels"], 2);
    EXPECT_EQ(result["rate"], 5);
    EXPECT_EQ(result["seconds"], 1);
    EXPECT_EQ(result["seed"], 1);
    EXPECT_EQ(result["complete"], true);
    EXPECT_EQ(result["planned"], REPORTS);
    EXPECT_EQ(result["sent"], REPORTS);
    EXPECT_EQ(result["yes"], REPORTS);
    EXPECT_EQ(result["no"], 0);
    EXPECT_EQ(result["failed"], QJsonObject());
    EXPECT_LE(result["late"].toInt(), REPORTS);
    const QJsonObject latencies = result["microseconds"].toObject();
    int nBefore = 1;
    for (const char* szName : {"p50", "p90", "p99", "p99.9", "max"}) {
        EXPECT_GE(latencies[szName].toInt(), nBefore) << szName;
        nBefore = latencies[szName].toInt();
    }
}

TEST_F(Fleet, SendsWhatTheLibrarySendsForEachChannel)
{
    RunFleet(SMALL);

    std::map<std::pair<QString, QString>, int> mapChannels;
    for (const LabExchange& exchange : m_server.Exchanges()) {
        EXPECT_EQ(exchange.strMethod, "POST");
        EXPECT_THAT(exchange.strTarget, ContainsPattern("^/vomd/system/addstatuslog[.]action[?]t=[0-9]+$"));
        EXPECT_EQ(exchange.nStatus, 200) << exchange.strReply;
        const QJsonObject report =
            QJsonDocument::fromJson(QByteArray::fromStdString(exchange.strBody)).object();
        ++mapChannels[{report["deviceId"].toString(), report["chl"].toString()}];
    }
    EXPECT_EQ(mapChannels.size(), 6U);
    for (const auto& [channel, nReports] : mapChannels) {
        EXPECT_EQ(nReports, 5) << channel.first.toStdString() << ' ' << channel.second.toStdString();
    }
}

TEST_F(Fleet, IsRepeatedByItsSeed)
{
    std::vector<std::multiset<std::string>> vecReceived;
    for (const char* szSeed : {"7", "7", "8"}) {
        LabServer server;
        const KtsagentRun run =
            Run(QStringList{"fleet", "--server", Loopback(server.Start()), "--seed", szSeed} + SMALL);
        EXPECT_EQ(run.nExit, 0) << run.strErr;
        vecReceived.push_back(Received(server));
        EXPECT_EQ(vecReceived.back().size(), static_cast<std::size_t>(REPORTS));
    }
    EXPECT_EQ(vecReceived[0], vecReceived[1]);
    EXPECT_NE(vecReceived[0], vecReceived[2]);
}

TEST_F(Fleet, CountsWhatTheServerRefusesAndWhatFailsByItsCause)
{
    AddFault(ReplyWith(200, R"({"success":false,"message":"no"})", 3));
    AddFault(ReplyWith(500, "", 2));
    AddFault(ReplyWith(200, "no JSON", 1));
    LabFault reset;
    reset.eKind = LabFaultKind::Reset;
    AddFault(reset);

    const KtsagentRun run = RunFleet(SMALL + QStringList{"--json"});

    EXPECT_EQ(run.nExit, 1);
    const QJsonObject result = run.Object();
    EXPECT_EQ(result["sent"], REPORTS);
    EXPECT_EQ(result["yes"], REPORTS - 7);
    EXPECT_EQ(result["no"], 3);
    EXPECT_EQ(result["failed"], (QJsonObject{{"http_status", 2}, {"unreadable", 1}, {"connection_lost", 1}}));
}

TEST_F(Fleet, WithoutAServerFails)
{
    const int nPort = m_server.Port();
    m_server.Stop();

    const KtsagentRun run = Run(QStringList{"fleet", "--server", Loopback(nPort), "--json"} + SMALL);

    EXPECT_EQ(run.nExit, 1);
    EXPECT_EQ(run.Object()["yes"], 0);
    EXPECT_EQ(run.Object()["failed"], (QJsonObject{{"not_connected", REPORTS}}));
}

TEST_F(Fleet, DoesNotHideThatTheServerStalls)
{
    constexpr int STALL_MS = 2000;
    qputenv("CHTTPCLIENT_HOST_CONNECTIONS", "1"); // so that all reports wait behind the first one
    LabFault delay;
    delay.nDelayMs = STALL_MS;
    AddFault(delay);

    const QJsonObject result =
        RunFleet({"--hosts", "1", "--channels", "1", "--rate", "20", "--seconds", "1", "--json"}).Object();

    // The report that is due k * 50 ms after the first one gets its answer no sooner than that one.
    EXPECT_EQ(result["sent"], 20);
    EXPECT_EQ(result["yes"], 20);
    EXPECT_GE(result["microseconds"].toObject()["max"].toInt(), STALL_MS * 1000);
    EXPECT_GE(result["microseconds"].toObject()["p50"].toInt(), (STALL_MS - 10 * 50) * 1000);
}

TEST_F(Fleet, WaitsForTheLastAnswersNoLongerThanItShould)
{
    LabFault silence;
    silence.eKind = LabFaultKind::Silence;
    AddFault(silence);
    qputenv("CHTTPCLIENT_DRAIN_MS", "100");

    const KtsagentRun run = RunFleet(SMALL + QStringList{"--wait", "0", "--json"});

    EXPECT_EQ(run.nExit, 1);
    const QJsonObject failed = run.Object()["failed"].toObject();
    EXPECT_GE(failed["cancelled"].toInt(), 1) << run.strOut;
    EXPECT_EQ(run.Object()["complete"], true);
}

TEST_F(Fleet, UsesNoProxy)
{
    qunsetenv("no_proxy");
    qputenv("http_proxy", "http://127.0.0.1:1");
    const KtsagentRun run = RunFleet(SMALL);
    qunsetenv("http_proxy");

    EXPECT_EQ(run.nExit, 0) << run.strOut;
    EXPECT_EQ(m_server.Exchanges().size(), static_cast<std::size_t>(REPORTS));
}

TEST_F(Fleet, PrintsATable)
{
    AddFault(ReplyWith(500, "", 2));

    const KtsagentRun run = RunFleet(SMALL);

    EXPECT_EQ(run.strErr, "") << "the progress is for terminals";
    EXPECT_THAT(run.strOut,
                testing::StartsWith("3 hosts with 2 channels, 5 reports per second of each channel, "
                                    "1 s, seed 1: http://127.0.0.1:"));
    for (const char* szRow : {"\nsent +30\n", "\nanswered yes +28\n", "\nanswered no +0\n",
                              "\nfailed +2  2 http_status\n", "\nsent late +[0-9]+  more than 20 ms ",
                              "\n +p50 +p90 +p99 +p99.9 +max\n( +[0-9]+[.][0-9][0-9][0-9]){5}\n$"}) {
        EXPECT_THAT(run.strOut, ContainsPattern(szRow));
    }
}

TEST_F(Fleet, ThatSendsNothingDoesNotSucceed)
{
    const KtsagentRun run =
        RunFleet({"--hosts", "1", "--channels", "1", "--rate", "0.000001", "--seconds", "1"});

    EXPECT_EQ(run.nExit, 1);
    EXPECT_THAT(run.strOut, testing::ContainsRegex("\nsent +0\n"));
    EXPECT_EQ(m_server.Exchanges().size(), 0U);
}
