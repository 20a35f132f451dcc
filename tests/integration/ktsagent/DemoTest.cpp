#include "ContainsPattern.h"
#include "KtsagentProcess.h"

#include <gmock/gmock.h>

#include <QJsonDocument>
#include <QMap>

using testing::HasSubstr;
using testing::Not;

namespace
{

class Demo : public KtsagentProcess
{
};

/// Every sender of the agent, named as in the demo's table.
const QStringList ASYNC{"user-info",       "report-chl-status", "report-incubator", "projects",
                        "support-ver",     "batt-status",       "auto-export",      "ftp-path",
                        "channel-up-down", "channel-check",     "in-common",        "cdlx-files",
                        "upload-data",     "report-cycle",      "report-step"};
const QStringList SYNC{"channel-check", "in-common",   "upload-data",
                       "report-cycle",  "report-step", "report-step-orn"};

} // namespace

TEST_F(Demo, CallsEverySenderAndLetsThreeCallsFailOnPurpose)
{
    const KtsagentRun run = Run({"demo", "--json"});

    EXPECT_EQ(run.nExit, 0) << run.strErr << run.strOut;
    QStringList lstAsync;
    QStringList lstSync;
    QMap<QString, QStringList> mapByVerdict;
    for (const QJsonValue& value : run.List()) {
        const QJsonObject row = value.toObject();
        const QString strOperation = row["operation"].toString();
        if (strOperation == "outbox") {
            continue;
        }
        EXPECT_TRUE(row["asExpected"].toBool()) << strOperation.toStdString();
        (row.contains("returned") ? lstSync : lstAsync) += strOperation;
        mapByVerdict[row["verdict"].toString()] += strOperation;
    }
    EXPECT_EQ(lstAsync, ASYNC + QStringList({"support-ver", "batt-status"}));
    EXPECT_EQ(lstSync, SYNC);
    EXPECT_EQ(lstSync.size() + ASYNC.size(), 21);
    EXPECT_EQ(mapByVerdict["no, as intended"], QStringList({"support-ver", "batt-status"}));
    EXPECT_EQ(mapByVerdict["time-out, as intended"], QStringList({"in-common"}));
    EXPECT_EQ(mapByVerdict["no, as always"], QStringList("upload-data"));
}

TEST_F(Demo, LetsOneBlockingCallRunIntoItsTimeOut)
{
    const QJsonArray arrRows = Run({"demo", "--json"}).List();

    const QJsonObject inCommon = arrRows[arrRows.size() - 6].toObject();
    ASSERT_EQ(inCommon["operation"], "in-common");
    EXPECT_EQ(inCommon["outcome"], "no answer in time");
    EXPECT_EQ(inCommon["returned"].toObject(), (QJsonObject{{"bSucc", false}, {"bCommon", false}}));
}

TEST_F(Demo, ShowsWhatTheServerGotAndSaid)
{
    const QJsonArray arrRows = Run({"demo", "--json"}).List();

    const QJsonObject uploadData = arrRows[12].toObject();
    ASSERT_EQ(uploadData["operation"], "upload-data");
    ASSERT_EQ(uploadData["server"].toArray().size(), 1);
    const QJsonObject seen = uploadData["server"].toArray()[0].toObject();
    EXPECT_EQ(seen["method"], "POST");
    EXPECT_EQ(seen["status"], 200);
    EXPECT_THAT(seen["body"].toString().toStdString(), HasSubstr("\"batchNo\":\"B2405-17\""));

    const QJsonObject gateway = arrRows[ASYNC.size() + 1].toObject()["server"].toArray()[0].toObject();
    EXPECT_EQ(gateway["status"], 502);
    EXPECT_THAT(gateway["reply"].toString().toStdString(), HasSubstr("Bad Gateway"));
}

TEST_F(Demo, SendsWhatEachCallIsGiven)
{
    const QString strCheck = "/vomd/system/channelCheckData.action?chl=8&deviceId=KTS-0007&dxtm=CELL-0001"
                             "&purpose=cycle%20life&wtNumId=1201&xmNameId=107";
    const QString strFtpPath = "/vomd/system/xmmb/getFtpFilePath.action?batteryStatus=2&bjtzser=B01"
                               "&csxmser=C03&supplier=Harbour%20Storage";
    const QString strUpload = "/dev-api/connector/DataCollectionController_KR_KR/saveData";
    const QString strCycle = "/open/test-cabinet/add/kostrel/cycle";
    const QString strData = R"({"batchNo":"B2405-17","chargingCapacity":"3.21","dischargeCapacity":"3.17",)"
                            R"("resourceNo":"R-12","siteNo":"S1","uploadTime":"2024-05-17 08:30:00",)"
                            R"("voltage":"3.65"})";
    const QStringList lstExpected{
        "/posts/7 ",
        "/vomd/system/addstatuslog.action?t=1.1.0 (see the next test)",
        R"(/vomd/system/incubatorStatus.action {"name":"INC-01","status":"idle","temperature":25.5})",
        "/vomd/system/GetSyxm.action?dxtm=CELL-0001,CELL-0002&t=1.1.0 ",
        "/vomd/system/GetSupportVer.action?t=1.1.0 ",
        "/vomd/system/GetDxzt.action?t=1.1.0 ",
        "/vomd/system/autoExport.action?bjtzser=B01&csxmser=C02&dxtm=CELL-0001 ",
        strFtpPath + " ",
        strCheck + " ",
        "/vomd/system/whetherInCommon.action?dxtm=CELL-0099 ",
        strUpload + ' ' + strData,
        strCycle + R"( [{"dxtm":"CELL-0001","cycle":1}])",
        strCycle + R"( [{"dxtm":"CELL-0001","step":1}])",
        "/vomd/system/GetSupportVer.action?t=0.9.0 ",
        "/vomd/system/GetDxzt.action?t=1.1.0 ",
        strCheck + " ",
        "/vomd/system/whetherInCommon.action?dxtm=CELL-0099 ",
        strUpload + ' ' + strData,
        strCycle + R"( [{"dxtm":"CELL-0001","cycle":1}])",
        R"(/open/test-cabinet/add/kostrel/step [{"dxtm":"CELL-0001","step":1}])",
        R"(/core/api/public/orn/qm/autoWriteInspection {"dxtm":"CELL-0001","step":1})",
    };
    QStringList lstSeen;
    for (const QJsonValue& row : Run({"demo", "--json"}).List()) {
        for (const QJsonValue& seen : row.toObject()["server"].toArray()) {
            const bool bStatus = row.toObject()["operation"] == "report-chl-status";
            lstSeen += seen.toObject()["target"].toString() + ' ' +
                       (bStatus ? "(see the next test)" : seen.toObject()["body"].toString().trimmed());
        }
    }
    EXPECT_EQ(lstSeen, lstExpected) << lstSeen.join('\n').toStdString();
}

TEST_F(Demo, SendsAWholeChannelStatus)
{
    const QJsonObject row = Run({"demo", "--json"}).List()[1].toObject();
    ASSERT_EQ(row["operation"], "report-chl-status");
    QJsonObject body =
        QJsonDocument::fromJson(row["server"].toArray()[0].toObject()["body"].toString().toUtf8()).object();
    EXPECT_NE(body.take("hostname").toString(), "");
    const QJsonObject expected{
        {"PEXAVer", "1.1.0"},
        {"action", "start"},
        {"action_desc", "Cycle life test started"},
        {"backup_dir", "/data/backup/KTS-0007"},
        {"box", 1},
        {"cMax", ""},
        {"chl", "3"},
        {"chlType", 0},
        {"com", "2.1"},
        {"current", 1.5},
        {"cycle", 1},
        {"dczt", ""},
        {"deviceId", "KTS-0007"},
        {"deviceModelType", ""},
        {"deviceRange", ""},
        {"disch_capacity", 3.17},
        {"disch_retention", 98.6},
        {"dxtm", "CELL-0001"},
        {"errorParam", ""},
        {"errorTime", ""},
        {"reason", 0},
        {"reason_desc", ""},
        {"retentionUnder", ""},
        {"stepStatus", "running"},
        {"step_state", ""},
        {"stopTime", ""},
        {"ver", "1.1.0"},
        {"voltage", 3.65},
        {"wtNumId", 1201},
        {"xmNameId", 107},
    };
    EXPECT_EQ(body, expected) << QJsonDocument(body).toJson().toStdString();
}

TEST_F(Demo, PrintsATableThatNamesEverySender)
{
    const KtsagentRun run = Run({"demo"});

    EXPECT_EQ(run.nExit, 0) << run.strErr;
    for (const QString& strOperation : ASYNC) {
        EXPECT_THAT(run.strOut, HasSubstr("\n" + strOperation.toStdString() + "  "));
    }
    for (const QString& strOperation : SYNC) {
        EXPECT_THAT(run.strOut, HasSubstr("\n" + strOperation.toStdString() + " --sync  "));
    }
    EXPECT_THAT(run.strOut, HasSubstr("no, as always"));
    EXPECT_THAT(run.strOut, HasSubstr("no, as intended"));
    EXPECT_THAT(run.strOut, HasSubstr("    the host is killed\n"));
    EXPECT_THAT(run.strOut, HasSubstr("    the server has 5 reports, 0 of them twice\n"));
    EXPECT_THAT(run.strOut, HasSubstr("23 calls and the outbox, 24 as expected"));
    EXPECT_THAT(run.strOut, Not(HasSubstr("NOT AS EXPECTED")));
}

TEST_F(Demo, ShowsThatTheOutboxLosesNoReportOfAHostThatIsKilled)
{
    const QJsonArray arrRows = Run({"demo", "--json"}).List();
    EXPECT_EQ(arrRows.last().toObject(), (QJsonObject{{"operation", "outbox"},
                                                      {"reports", 5},
                                                      {"arrived", 5},
                                                      {"twice", 0},
                                                      {"verdict", "no report lost, none twice"},
                                                      {"asExpected", true}}));
}

// Here the calls fail because the library accepts no reply of more than one byte.
TEST_F(Demo, NamesEveryCallThatWentOtherwiseAndFails)
{
    qputenv("CHTTPCLIENT_MAX_REPLY_BYTES", "1");
    qputenv("KTSHTTPAGENT_OUTBOX_SYNC", "none"); // is not for the demo's own hosts
    const KtsagentRun run = Run({"demo"});

    EXPECT_EQ(run.nExit, 1) << run.strErr;
    EXPECT_THAT(run.strOut, ContainsPattern("\nsupport-ver [^\n]*NOT AS EXPECTED: refused or failed"));
    EXPECT_THAT(run.strOut, ContainsPattern("\nreport-cycle [^\n]*sent"));
    EXPECT_THAT(run.strOut, Not(HasSubstr(" 24 as expected")));
}
