#include "ContainsPattern.h"
#include "KtsagentProcess.h"

#include <gmock/gmock.h>

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

    const QJsonObject inCommon = arrRows[arrRows.size() - 5].toObject();
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
    EXPECT_THAT(run.strOut, Not(HasSubstr("NOT AS EXPECTED")));
}

// Here the calls fail because the library accepts no reply of more than one byte.
TEST_F(Demo, NamesEveryCallThatWentOtherwiseAndFails)
{
    qputenv("CHTTPCLIENT_MAX_REPLY_BYTES", "1");
    const KtsagentRun run = Run({"demo"});

    EXPECT_EQ(run.nExit, 1) << run.strErr;
    EXPECT_THAT(run.strOut, ContainsPattern("\nsupport-ver [^\n]*NOT AS EXPECTED: refused or failed"));
    EXPECT_THAT(run.strOut, ContainsPattern("\nreport-cycle [^\n]*sent"));
    EXPECT_THAT(run.strOut, Not(HasSubstr(" 23 as expected")));
}
