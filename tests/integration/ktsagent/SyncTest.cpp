#include "KtsagentProcess.h"
#include "ReportPause.h"
#include "ScriptedServer.h"

#include "labserver/LabServer.h"

#include <gmock/gmock.h>

#include <QJsonDocument>

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{

/// An operation by its blocking sender, against a fresh lab server.
struct SyncCall {
    const char* szName;
    int nId;
    QStringList lstOptions; ///< besides the server
    int nExit;
    const char* szOutcome;
    const char* szReturned; ///< as JSON
    const char* szText;     ///< the same for people
    const char* szTarget;   ///< of the request
    const char* szBody;
};

const SyncCall CHANNEL_CHECK{
    "channel-check",
    3109,
    {"--wtNumId", "1201", "--xmNameId=-7", "--dxtm", "CELL-0001", "--deviceId", "KTS-0007", "--chl", "8",
     "--purpose", "cycle life"},
    0,
    "success",
    R"({"bSucc": true, "bAllow": false, "strReason": "Channel 8 waits for calibration"})",
    "  bSucc: true\n  bAllow: false\n  strReason: Channel 8 waits for calibration\n",
    "/vomd/system/channelCheckData.action"
    "?chl=8&deviceId=KTS-0007&dxtm=CELL-0001&purpose=cycle%20life&wtNumId=1201&xmNameId=-7",
    ""};
const SyncCall IN_COMMON{"in-common",
                         3110,
                         {"--dxtm", "CELL-0099"},
                         0,
                         "success",
                         R"({"bSucc": true, "bCommon": true})",
                         "  bSucc: true\n  bCommon: true\n",
                         "/vomd/system/whetherInCommon.action?dxtm=CELL-0099",
                         ""};
const SyncCall UPLOAD_DATA{"upload-data",
                           3112,
                           {"--siteNo", "S1", "--voltage", "3.65"},
                           1,
                           "no, as always",
                           R"({"bSucc": false})",
                           "  bSucc: false\n",
                           "/dev-api/connector/DataCollectionController_KR_KR/saveData",
                           R"({"batchNo":"","chargingCapacity":"","dischargeCapacity":"","resourceNo":"",)"
                           R"("siteNo":"S1","uploadTime":"","voltage":"3.65"})"};
const SyncCall REPORT_CYCLE{"report-cycle",
                            3113,
                            {"--data", R"({"cycle":1})"},
                            0,
                            "success",
                            R"({"bSucc": true})",
                            "  bSucc: true\n",
                            "/open/test-cabinet/add/kostrel/cycle",
                            R"([{"cycle":1}])"};
const SyncCall REPORT_STEP{"report-step",
                           3114,
                           {"--data", R"({"step":1},{"step":2})"},
                           0,
                           "success",
                           R"({"bSucc": true})",
                           "  bSucc: true\n",
                           "/open/test-cabinet/add/kostrel/step",
                           R"([{"step":1},{"step":2}])"};
const SyncCall REPORT_STEP_ORN{"report-step-orn",
                               3115,
                               {"--data", R"({"step":1})"},
                               0,
                               "success",
                               R"({"bSucc": true})",
                               "  bSucc: true\n",
                               "/core/api/public/orn/qm/autoWriteInspection",
                               R"({"step":1})"};

/// Calls of blocking senders.
class Sync : public KtsagentProcess
{
protected:
    /// Runs a call with --sync. The reports that take a base URL get that instead of the server.
    KtsagentRun RunSync(const SyncCall& call, int nPort, const QStringList& lstMore) const
    {
        const bool bUrl = call.lstOptions.contains("--data");
        const QStringList lstServer = bUrl ? QStringList{"--url", "http://" + Loopback(nPort) + "/"}
                                           : QStringList{"--server", Loopback(nPort)};
        return Run(QStringList{call.szName, "--sync"} + lstServer + call.lstOptions + lstMore);
    }
};

class SyncCalls : public Sync, public testing::WithParamInterface<SyncCall>
{
protected:
    SyncCalls() { m_server.Start(); }

    LabServer m_server;
};

} // namespace

TEST_P(SyncCalls, PrintWhatTheCallReturnedAsJson)
{
    const KtsagentRun run = RunSync(GetParam(), m_server.Port(), {"--json"});

    EXPECT_EQ(run.nExit, GetParam().nExit) << run.strErr;
    const QJsonObject object = run.Object();
    EXPECT_EQ(object.keys(),
              QStringList({"exchange", "id", "milliseconds", "operation", "outcome", "returned"}));
    EXPECT_EQ(object["operation"], GetParam().szName);
    EXPECT_EQ(object["id"], GetParam().nId);
    EXPECT_EQ(object["outcome"], GetParam().szOutcome);
    EXPECT_EQ(object["returned"].toObject(), QJsonDocument::fromJson(GetParam().szReturned).object())
        << run.strOut;
    const QJsonObject exchange = object["exchange"].toObject();
    EXPECT_EQ(exchange.keys(), QStringList({"error", "httpStatus", "milliseconds", "url"}));
    EXPECT_EQ(exchange["error"], "");
    EXPECT_EQ(exchange["httpStatus"], 200);
    EXPECT_LE(exchange["milliseconds"].toInt(), object["milliseconds"].toInt());
    EXPECT_THAT(exchange["url"].toString().toStdString(),
                StartsWith("http://127.0.0.1:" + std::to_string(m_server.Port()) + "/"));
}

TEST_P(SyncCalls, PrintTextForPeopleWithoutJson)
{
    const KtsagentRun run = RunSync(GetParam(), m_server.Port(), {});

    EXPECT_EQ(run.nExit, GetParam().nExit) << run.strErr;
    EXPECT_THAT(run.strOut, StartsWith("operation: " + std::string(GetParam().szName) +
                                       "\nid: " + std::to_string(GetParam().nId) +
                                       "\noutcome: " + GetParam().szOutcome + "\nmilliseconds: "));
    EXPECT_THAT(run.strOut, testing::EndsWith("\nreturned:\n" + std::string(GetParam().szText)));
}

TEST_P(SyncCalls, SendOneRequestToTheirOwnEndpoint)
{
    RunSync(GetParam(), m_server.Port(), {});

    const std::vector<LabExchange> vecSeen = m_server.Exchanges();
    ASSERT_EQ(vecSeen.size(), 1U);
    EXPECT_EQ(vecSeen[0].strTarget, GetParam().szTarget);
    EXPECT_EQ(vecSeen[0].strBody, GetParam().szBody);
    EXPECT_EQ(vecSeen[0].nStatus, 200) << vecSeen[0].strReply;
}

INSTANTIATE_TEST_SUITE_P(Sync, SyncCalls,
                         testing::Values(CHANNEL_CHECK, IN_COMMON, UPLOAD_DATA, REPORT_CYCLE, REPORT_STEP,
                                         REPORT_STEP_ORN),
                         [](const auto& param) {
                             return QString(param.param.szName).remove('-').toStdString();
                         });

TEST_F(Sync, IsTheOnlyWayOfTheOrnReportSoItNeedNotBeAskedFor)
{
    LabServer server;
    server.Start();

    const KtsagentRun run = Run(
        {"report-step-orn", "--url", "http://" + Loopback(server.Port()) + "/", "--data", "{}", "--json"});

    EXPECT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_EQ(run.Object()["returned"].toObject(), (QJsonObject{{"bSucc", true}}));
}

TEST_F(Sync, ASilentServerIsGivenUpAfterTheTimeOut)
{
    const ScriptedServer server(ServerStep{"", ServerStep::Ending::Hold});

    const KtsagentRun run = RunSync(CHANNEL_CHECK, server.Port(), {"--timeout", "300", "--json"});

    EXPECT_EQ(run.nExit, 3);
    EXPECT_EQ(run.Object()["outcome"], "no answer in time");
    EXPECT_EQ(run.Object()["returned"].toObject(),
              (QJsonObject{{"bSucc", false}, {"bAllow", false}, {"strReason", ""}}));
    EXPECT_GE(run.Object()["milliseconds"].toInt(), 300);
    EXPECT_THAT(run.strErr, HasSubstr("no answer came within 300 ms"));
    const QJsonObject exchange = run.Object()["exchange"].toObject();
    EXPECT_EQ(exchange["error"], "no answer came within 300 ms");
    EXPECT_EQ(exchange["httpStatus"], 0);
    EXPECT_GE(exchange["milliseconds"].toInt(), 300);
}

TEST_F(Sync, ASilentServerIsToldFromANoAlsoByTheUploadThatIsNeverASuccess)
{
    const ScriptedServer server(ServerStep{"", ServerStep::Ending::Hold});

    const KtsagentRun run = RunSync(UPLOAD_DATA, server.Port(), {"--timeout", "300"});

    EXPECT_EQ(run.nExit, 3) << run.strOut;
}

TEST_F(Sync, ASilentServerHoldsUpAReportForTheTimeOutAndThePause)
{
    const ScriptedServer server(ServerStep{"", ServerStep::Ending::Hold});

    const KtsagentRun run = RunSync(REPORT_STEP, server.Port(), {"--timeout", "300", "--json"});

    EXPECT_EQ(run.nExit, 3) << run.strOut;
    EXPECT_GE(run.Object()["milliseconds"].toInt(), REPORT_PAUSE_MS + 300);
}

TEST_F(Sync, AReplyThatEndsNoWaitLeavesItToTheTimeOut)
{
    const ScriptedServer server(ServerStep{HttpReply(200, "[]")});

    const KtsagentRun run = RunSync(IN_COMMON, server.Port(), {"--timeout", "300"});

    EXPECT_EQ(run.nExit, 3) << run.strOut;
}

TEST_F(Sync, NobodyListens)
{
    const RefusingPort port;

    const KtsagentRun run = RunSync(IN_COMMON, port.Port(), {"--json"});

    EXPECT_EQ(run.nExit, 1);
    EXPECT_EQ(run.Object()["outcome"], "failed");
    EXPECT_EQ(run.Object()["returned"].toObject(), (QJsonObject{{"bSucc", false}, {"bCommon", false}}));
    EXPECT_THAT(run.strErr, HasSubstr("in-common: Connection refused"));
    EXPECT_EQ(run.Object()["exchange"].toObject()["error"], "Connection refused");
}

TEST_F(Sync, AServerThatFailsIsToldWithItsStatus)
{
    const ScriptedServer server(ServerStep{HttpReply(503, R"({"success": true})")});

    const KtsagentRun run = RunSync(IN_COMMON, server.Port(), {});

    EXPECT_EQ(run.nExit, 1);
    EXPECT_THAT(run.strOut, HasSubstr("outcome: failed\n"));
    EXPECT_THAT(run.strOut, HasSubstr("\n  httpStatus: 503\n"));
    EXPECT_THAT(run.strErr, HasSubstr("server replied"));
}

TEST_F(Sync, AReplyThatIsNotJsonIsNoNo)
{
    const ScriptedServer server(ServerStep{HttpReply(200, "<html>")});

    const KtsagentRun run = RunSync(UPLOAD_DATA, server.Port(), {"--json"});

    EXPECT_EQ(run.nExit, 1);
    EXPECT_EQ(run.Object()["outcome"], "failed");
    EXPECT_EQ(run.Object()["exchange"].toObject()["httpStatus"], 200);
    EXPECT_THAT(run.strErr, HasSubstr("the body is not JSON"));
}

TEST_F(Sync, ThePauseOfAReportThatFailsCountsToTheCallAndNotToTheWait)
{
    const RefusingPort port;

    const KtsagentRun run = RunSync(REPORT_CYCLE, port.Port(), {"--timeout", "1500", "--json"});

    EXPECT_EQ(run.nExit, 1) << run.strOut;
    EXPECT_EQ(run.Object()["outcome"], "failed");
    EXPECT_GE(run.Object()["milliseconds"].toInt(),
              REPORT_PAUSE_MS + run.Object()["exchange"].toObject()["milliseconds"].toInt());
}

TEST_F(Sync, AServerThatSaysNoEndsTheWait)
{
    const ScriptedServer server(ServerStep{HttpReply(200, R"({"success": false, "common": true})")});

    const KtsagentRun run = RunSync(IN_COMMON, server.Port(), {"--json"});

    EXPECT_EQ(run.nExit, 1);
    EXPECT_EQ(run.Object()["outcome"], "refused");
    EXPECT_EQ(run.Object()["returned"].toObject(), (QJsonObject{{"bSucc", false}, {"bCommon", false}}));
    EXPECT_THAT(run.strErr, HasSubstr("the server answered, and did not say success"));
}

TEST_F(Sync, TheUploadSaysThatNoReplyCountsAsASuccess)
{
    const ScriptedServer server(ServerStep{HttpReply(200, R"({"code": "success", "msg": "stored"})")});

    const KtsagentRun run = RunSync(UPLOAD_DATA, server.Port(), {});

    EXPECT_EQ(run.nExit, 1);
    EXPECT_THAT(run.strErr, HasSubstr("no reply counts as a success here"));
}

TEST_F(Sync, TheHelpOfTheUploadSaysThatItsStatusIsNeverZero)
{
    EXPECT_THAT(Run({"upload-data", "--help"}).strOut, HasSubstr("With --sync the exit status is never 0"));
    EXPECT_THAT(Run({"channel-check", "--help"}).strOut, Not(HasSubstr("never 0")));
}

TEST_F(Sync, TheAgentsDebugLinesComeOnlyWhenAskedFor)
{
    LabServer server;
    server.Start();
    qunsetenv("QT_LOGGING_RULES");

    EXPECT_EQ(RunSync(REPORT_CYCLE, server.Port(), {}).strErr, "");

    qputenv("QT_LOGGING_RULES", "ktshttpagent.reply=true");
    EXPECT_THAT(RunSync(REPORT_CYCLE, server.Port(), {}).strErr,
                HasSubstr("CUIAgentReq::Slot_PostReportCycleData_Reply"));
}
