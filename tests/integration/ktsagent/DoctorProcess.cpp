#include "DoctorProcess.h"

#include <algorithm>

KtsagentRun DoctorProcess::Examine(const QString& strServer, const QStringList& lstMore) const
{
    const QStringList lstTimeout =
        lstMore.contains("--timeout") ? QStringList() : QStringList{"--timeout", ENOUGH_MS};
    return Run(QStringList{"doctor", "--json", "--server", strServer} + lstTimeout + lstMore);
}

void DoctorProcess::ExpectFailure(const KtsagentRun& run, const QString& strStage,
                                  const std::string& strWords)
{
    const QJsonObject report = run.Object();
    EXPECT_EQ(report["failed"].toString(), strStage) << run.strOut;
    const auto& vecStages = StagesOfDoctor();
    const auto it = std::find_if(vecStages.begin(), vecStages.end(),
                                 [&](const auto& stage) { return stage.first == strStage; });
    ASSERT_NE(it, vecStages.end());
    EXPECT_EQ(run.nExit, it->second);
    EXPECT_EQ(report["exit"].toInt(), it->second);
    EXPECT_THAT(Sentences(report, strStage, "FAILED"), testing::HasSubstr(strWords));
    for (const QJsonValue& finding : FindingsOf(report, strStage)) {
        if (finding["mark"] == "FAILED") {
            EXPECT_NE(finding["do"].toString(), "") << finding["says"].toString().toStdString();
        }
    }
}

QJsonArray DoctorProcess::FindingsOf(const QJsonObject& report, const QString& strStage)
{
    for (const QJsonValue& stage : report["stages"].toArray()) {
        if (stage["stage"] == strStage) {
            return stage["findings"].toArray();
        }
    }
    ADD_FAILURE() << "no stage " << strStage.toStdString();
    return {};
}

std::string DoctorProcess::Sentences(const QJsonObject& report, const QString& strStage,
                                     const QString& strMark)
{
    QStringList lstSentences;
    for (const QJsonValue& finding : FindingsOf(report, strStage)) {
        if (finding["mark"] == strMark) {
            lstSentences += finding["says"].toString();
        }
    }
    return lstSentences.join('\n').toStdString();
}

const std::vector<std::pair<QString, int>>& StagesOfDoctor()
{
    static const std::vector<std::pair<QString, int>> STAGES{
        {"library", 11}, {"settings", 12}, {"environment", 13}, {"log", 14},
        {"outbox", 22},  {"proxy", 15},    {"name", 16},        {"connection", 17},
        {"tls", 18},     {"http", 19},     {"paths", 20},       {"clock", 21}};
    return STAGES;
}
