#include "AgentProbe.h"
#include "SyncWait.h"

#include <QJsonObject>
#include <QLoggingCategory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

/// A reply to a slot, and what its record must hold afterwards.
struct SlotCase {
    const char* szName;
    const char* szSlot;
    int nType;
    bool bExchange;
    QJsonObject object;
    bool bSucc;
    QString strResult = {};
    QString strReason = {};
    bool bFlag = false;
    int nCode = 404;
    QString strMessage = {};
};

constexpr const char* CHECK = "Slot_GetChannelCheckData_Reply";
constexpr const char* COMMON = "Slot_GetWhetherInCommon_Reply";
constexpr const char* UPLOAD = "Slot_PostUploadData_Reply";
constexpr const char* CYCLE = "Slot_PostReportCycleData_Reply";
constexpr const char* STEP = "Slot_PostReportStepData_Reply";
constexpr const char* ORN = "Slot_PostReportStepDataORN_Reply";

QJsonObject Result(const QJsonValue& allowBoot, const QJsonValue& reason)
{
    return {{"allowBoot", allowBoot}, {"reason", reason}};
}

const SlotCase CASES[] = {
    {"CheckYes",
     CHECK,
     3109,
     true,
     {{"success", true}, {"result", Result("yes", "fine")}},
     true,
     "yes",
     "fine"},
    {"CheckIgnoresTheExchange",
     CHECK,
     3109,
     false,
     {{"success", true}, {"result", Result("no", "x")}},
     true,
     "no",
     "x"},
    {"CheckSuccessAsText",
     CHECK,
     3109,
     true,
     {{"success", "true"}, {"result", Result("yes", "fine")}},
     false},
    {"CheckSuccessFalse", CHECK, 3109, true, {{"success", false}, {"result", Result("yes", "fine")}}, false},
    {"CheckSuccessMissing", CHECK, 3109, true, {{"result", Result("yes", "fine")}}, false},
    {"CheckResultAsText", CHECK, 3109, true, {{"success", true}, {"result", "yes"}}, true},
    {"CheckResultMembersOfOtherTypes",
     CHECK,
     3109,
     true,
     {{"success", true}, {"result", Result(true, 5)}},
     true},
    {"CommonYes", COMMON, 3110, false, {{"success", true}, {"common", true}}, true, {}, {}, true},
    {"CommonNo", COMMON, 3110, true, {{"success", true}, {"common", false}}, true},
    {"CommonWithoutSuccess", COMMON, 3110, true, {{"success", false}, {"common", true}}, false},
    {"CommonAsText", COMMON, 3110, true, {{"success", true}, {"common", "true"}}, true},
    {"CommonInsideResult",
     COMMON,
     3110,
     true,
     {{"success", true}, {"result", QJsonObject{{"common", true}}}},
     true},
    {"UploadNumber", UPLOAD, 3112, true, {{"code", 200}, {"msg", "fine"}}, false, {}, {}, false, 404, "fine"},
    {"UploadText", UPLOAD, 3112, true, {{"code", "200"}}, false, {}, {}, false, 0},
    {"UploadMessageOfAnotherType", UPLOAD, 3112, true, {{"msg", 5}}, false},
    {"CycleYes",
     CYCLE,
     3113,
     false,
     {{"code", "SUCCESS"}, {"message", "saved"}},
     true,
     {},
     {},
     false,
     200,
     "saved"},
    {"CycleSuccessHasNoInfluence",
     CYCLE,
     3113,
     true,
     {{"code", "success"}, {"message", "saved"}, {"success", false}},
     true,
     {},
     {},
     false,
     200,
     "saved"},
    {"CycleWithoutMessage", CYCLE, 3113, true, {{"code", "success"}}, false},
    {"CycleEmptyMessage", CYCLE, 3113, true, {{"code", "success"}, {"message", ""}}, false},
    {"CycleCodeAsNumber",
     CYCLE,
     3113,
     true,
     {{"code", 200}, {"message", "saved"}},
     false,
     {},
     {},
     false,
     404,
     "saved"},
    {"CycleOtherCode",
     CYCLE,
     3113,
     true,
     {{"code", "failure"}, {"message", "why"}},
     false,
     {},
     {},
     false,
     404,
     "why"},
    {"StepYes", STEP, 3114, true, {{"code", "Success"}, {"message", "ok"}}, true, {}, {}, false, 200, "ok"},
    {"StepWithoutMessage", STEP, 3114, true, {{"code", "success"}}, false},
    {"OrnYes", ORN, 3115, true, {{"success", false}, {"message", "ignored"}}, true, {}, {}, false, 0},
    {"OrnNo", ORN, 3115, false, {{"success", true}}, false, {}, {}, false, 0},
};

class ReplySlot : public ::testing::TestWithParam<SlotCase>
{
protected:
    void Receive(const SlotCase& reply)
    {
        ASSERT_TRUE(QMetaObject::invokeMethod(&m_request, reply.szSlot, Q_ARG(bool, reply.bExchange),
                                              Q_ARG(QJsonObject, reply.object)));
    }

    AgentRequestProbe m_request;
};

TEST_P(ReplySlot, WritesItsJudgementIntoTheRecordOfItsRequest)
{
    Receive(GetParam());
    for (auto it = m_request.m_mapSyncWait.cbegin(); it != m_request.m_mapSyncWait.cend(); ++it) {
        const SlotCase untouched{};
        const bool bOwn = it.key() == GetParam().nType;
        const SlotCase& expected = bOwn ? GetParam() : untouched;
        EXPECT_EQ(it.value()->bSucc, expected.bSucc) << it.key();
        EXPECT_EQ(it.value()->strResult, expected.strResult) << it.key();
        EXPECT_EQ(it.value()->strReason, expected.strReason) << it.key();
        EXPECT_EQ(it.value()->bFlag, expected.bFlag) << it.key();
        EXPECT_EQ(it.value()->nCode, expected.nCode) << it.key();
        EXPECT_EQ(it.value()->strMessage, expected.strMessage) << it.key();
    }
}

// Whatever its request has had as an answer before.
TEST_P(ReplySlot, LeavesNothingOfAnEarlierReplyInItsFields)
{
    const SlotCase& expected = GetParam();
    SyncWait& wait = *m_request.m_mapSyncWait.value(expected.nType);
    wait.bSucc = true;
    wait.strResult = wait.strReason = wait.strMessage = "stale";
    wait.bFlag = true;
    wait.nCode = 5;
    Receive(expected);
    EXPECT_EQ(wait.bSucc, expected.bSucc);
    if (expected.nType == 3109) {
        EXPECT_EQ(wait.strResult, expected.strResult);
        EXPECT_EQ(wait.strReason, expected.strReason);
    } else if (expected.nType == 3110) {
        EXPECT_EQ(wait.bFlag, expected.bFlag);
    } else {
        EXPECT_EQ(wait.nCode, expected.nCode);
        EXPECT_EQ(wait.strMessage, expected.strMessage);
    }
}

INSTANTIATE_TEST_SUITE_P(Each, ReplySlot, ::testing::ValuesIn(CASES),
                         [](const auto& reply) { return reply.param.szName; });

class ReplySlots : public ReplySlot
{
};

TEST_F(ReplySlots, WriteOnlyTheirOwnFields)
{
    SyncWait& wait = *m_request.m_mapSyncWait.value(3109);
    wait.bFlag = true;
    wait.nCode = 5;
    wait.strMessage = "kept";
    Receive(CASES[0]);
    EXPECT_TRUE(wait.bFlag);
    EXPECT_EQ(wait.nCode, 5);
    EXPECT_EQ(wait.strMessage, "kept");
}

TEST_F(ReplySlots, ALaterNoReplacesAnEarlierYes)
{
    Receive(CASES[0]);
    Receive({"", CHECK, 3109, true, {}, false});
    EXPECT_FALSE(m_request.m_mapSyncWait.value(3109)->bSucc);
    EXPECT_EQ(m_request.m_mapSyncWait.value(3109)->strResult, "");
}

TEST(WaitRecord, ThatIsClearedIsAsANewOne)
{
    SyncWait wait;
    wait.bSucc = true;
    wait.strResult = wait.strReason = wait.strMessage = "stale";
    wait.bFlag = true;
    wait.nCode = 5;
    wait.Clear();
    const SyncWait fresh;
    EXPECT_EQ(wait.bSucc, fresh.bSucc);
    EXPECT_EQ(wait.strResult, fresh.strResult);
    EXPECT_EQ(wait.strReason, fresh.strReason);
    EXPECT_EQ(wait.bFlag, fresh.bFlag);
    EXPECT_EQ(wait.nCode, fresh.nCode);
    EXPECT_EQ(wait.strMessage, fresh.strMessage);
}

std::vector<std::string> g_vecDebugLines;

void KeepDebugLine(QtMsgType eType, const QMessageLogContext& context, const QString& strText)
{
    if (eType == QtDebugMsg && std::string(context.category) == "ktshttpagent.reply") {
        g_vecDebugLines.push_back(strText.toStdString());
    }
}

TEST_F(ReplySlots, TheReportsSayWhatTheyReceivedAtDebugLevel)
{
    qInstallMessageHandler(&KeepDebugLine);
    const QJsonObject object{{"code", "success"}, {"message", "saved"}};
    Receive({"", CYCLE, 3113, true, object, true});
    Receive({"", STEP, 3114, false, object, true});
    Receive({"", ORN, 3115, true, object, true});
    Receive({"", CHECK, 3109, true, object, true});
    qInstallMessageHandler(nullptr);
    using ::testing::StartsWith;
    EXPECT_THAT(g_vecDebugLines,
                ::testing::ElementsAre(
                    StartsWith("CUIAgentReq::Slot_PostReportCycleData_Reply  true QJsonObject("),
                    "\"message: saved\"",
                    StartsWith("CUIAgentReq::Slot_PostReportStepData_Reply  false QJsonObject("),
                    "\"message: saved\"",
                    StartsWith("CUIAgentReq::Slot_PostReportStepDataORN_Reply  true QJsonObject(")));
}

TEST_F(ReplySlots, TheirDebugLinesCanBeTurnedOff)
{
    qInstallMessageHandler(&KeepDebugLine);
    QLoggingCategory::setFilterRules("ktshttpagent.reply=false");
    Receive({"", CYCLE, 3113, true, {{"code", "success"}}, false});
    qInstallMessageHandler(nullptr);
    EXPECT_THAT(g_vecDebugLines, ::testing::IsEmpty());
}

} // namespace
