#include "SyncInterface.h"
#include "ReportPause.h"
#include "Wine.h"

#include <QElapsedTimer>

#include <gmock/gmock.h>

#include <string>

namespace
{

const std::string ALLOWED =
    HttpReply(200, R"({"success":true,"result":{"allowBoot":"Yes","reason":"fine"}})");
const std::string SAVED = HttpReply(200, R"({"code":"success","message":"saved"})");

TEST_F(SyncInterface, AChannelCheckReturnsTheServersAnswer)
{
    const ScriptedServer server(ServerStep{ALLOWED});
    EXPECT_TRUE(Check(server));
    EXPECT_TRUE(m_bAllow);
    EXPECT_EQ(m_strReason, "fine");
    EXPECT_EQ(
        server.Requests().front().Line(),
        "GET /vomd/system/channelCheckData.action?chl=3&deviceId=D1&dxtm=X&purpose=p&wtNumId=12&xmNameId=7 "
        "HTTP/1.1");
    EXPECT_EQ(server.Requests().front().strBody, "");
}

struct AllowCase {
    const char* szName;
    const char* szAllowBoot;
    bool bAllow;
};

class SyncAllow : public SyncInterface, public ::testing::WithParamInterface<AllowCase>
{
};

TEST_P(SyncAllow, IsTheTextYesInAnyCase)
{
    const ScriptedServer server(ServerStep{
        HttpReply(200, std::string(R"({"success":true,"result":{)") + GetParam().szAllowBoot + "}}")});
    m_bAllow = !GetParam().bAllow;
    EXPECT_TRUE(Check(server));
    EXPECT_EQ(m_bAllow, GetParam().bAllow);
}

INSTANTIATE_TEST_SUITE_P(Texts, SyncAllow,
                         ::testing::Values(AllowCase{"Lower", R"("allowBoot":"yes")", true},
                                           AllowCase{"Upper", R"("allowBoot":"YES")", true},
                                           AllowCase{"Mixed", R"("allowBoot":"Yes")", true},
                                           AllowCase{"No", R"("allowBoot":"no")", false},
                                           AllowCase{"WithASpace", R"("allowBoot":"yes ")", false},
                                           AllowCase{"Bool", R"("allowBoot":true)", false},
                                           AllowCase{"Absent", "", false}),
                         [](const auto& allow) { return allow.param.szName; });

TEST_F(SyncInterface, WhetherInCommonReturnsTheServersAnswer)
{
    const ScriptedServer server(ServerStep{HttpReply(200, R"({"success":true,"common":true})")});
    EXPECT_TRUE(InCommon(server));
    EXPECT_TRUE(m_bCommon);
    EXPECT_EQ(server.Requests().front().Line(), "GET /vomd/system/whetherInCommon.action?dxtm=X HTTP/1.1");
}

TEST_F(SyncInterface, AnUploadPostsSevenTextsAndNeverSucceeds)
{
    tagBatteryTestData data{"S1", "B1", "R1", "3.1", "3.0", "4.2", "2026-01-02"};
    for (const char* const szReply : {R"({"code":200,"msg":"ok"})", R"({"code":"200","msg":"ok"})"}) {
        const ScriptedServer server(ServerStep{HttpReply(200, szReply)});
        EXPECT_FALSE(m_request.SendPostUploadDataEx(m_strHost, server.Port(), ENOUGH_MS, data));
        EXPECT_EQ(server.Requests().front().Line(),
                  "POST /dev-api/connector/DataCollectionController_KR_KR/saveData HTTP/1.1");
        EXPECT_EQ(server.Requests().front().strBody,
                  R"({"batchNo":"B1","chargingCapacity":"3.1","dischargeCapacity":"3.0","resourceNo":"R1",)"
                  R"("siteNo":"S1","uploadTime":"2026-01-02","voltage":"4.2"})");
    }
}

// Qt takes U+FEFF at the beginning of UTF-8 for a byte order mark.
TEST_F(SyncInterface, AnUploadKeepsByteOrderMarksAsAnyOtherCharacter)
{
    tagBatteryTestData data{"\ufeffS1", "\ufeff", "\ufeff\ufeffR1", "3\ufeff", "", " ", "电\xff\ufeff"};
    const ScriptedServer server(ServerStep{HttpReply(200, "{}")});
    EXPECT_FALSE(m_request.SendPostUploadDataEx(m_strHost, server.Port(), ENOUGH_MS, data));
    EXPECT_EQ(server.Requests().front().strBody,
              "{\"batchNo\":\"\ufeff\",\"chargingCapacity\":\"3\ufeff\",\"dischargeCapacity\":\"\","
              "\"resourceNo\":\"\ufeff\ufeffR1\",\"siteNo\":\"\ufeffS1\",\"uploadTime\":\"电\ufffd\ufeff\","
              "\"voltage\":\" \"}");
}

struct ReportCase {
    const char* szName;
    bool (CUIAgentReq::*fnSend)(QString, int, std::string);
    std::string strLine;
    std::string strBody;
};

class SyncReport : public SyncInterface, public ::testing::WithParamInterface<ReportCase>
{
protected:
    bool Send(const ScriptedServer& server, int nTimeout)
    {
        return (m_request.*GetParam().fnSend)(Base(server), nTimeout, "{a:1}");
    }
};

TEST_P(SyncReport, IsPostedToItsEndpoint)
{
    const ScriptedServer server(ServerStep{SAVED});
    EXPECT_TRUE(Send(server, ENOUGH_MS));
    ASSERT_EQ(server.Requests().size(), 1U);
    EXPECT_EQ(server.Requests().front().Line(), GetParam().strLine);
    EXPECT_EQ(server.Requests().front().strBody, GetParam().strBody);
    EXPECT_THAT(server.Requests().front().Header("Content-Type"),
                ::testing::ElementsAre("Content-Type: application/json"));
}

TEST_P(SyncReport, HoldsItsCallerBackForTwoSecondsWhenItFails)
{
    const ScriptedServer server(ServerStep{HttpReply(500, "{}")});
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(Send(server, ENOUGH_MS));
    EXPECT_GE(timer.elapsed(), REPORT_PAUSE_MS);
    EXPECT_LT(timer.elapsed() - m_request.LastOutcome().nMilliseconds, 2 * REPORT_PAUSE_MS);
    EXPECT_EQ(server.Requests().size(), 1U) << "there is no second attempt";
}

INSTANTIATE_TEST_SUITE_P(
    Each, SyncReport,
    ::testing::Values(ReportCase{"Cycle", &CUIAgentReq::SendPostReportCycleDataEx,
                                 "POST /open/test-cabinet/add/kostrel/cycle HTTP/1.1", "[{a:1}]"},
                      ReportCase{"Step", &CUIAgentReq::SendPostReportStepDataEx,
                                 "POST /open/test-cabinet/add/kostrel/step HTTP/1.1", "[{a:1}]"},
                      ReportCase{"Orn", &CUIAgentReq::SendPostReportStepData_ORN,
                                 "POST /core/api/public/orn/qm/autoWriteInspection HTTP/1.1", "{a:1}"}),
    [](const auto& report) { return report.param.szName; });

TEST_F(SyncInterface, OrnStepDataIsJudgedByTheExchangeAlone)
{
    const ScriptedServer server(ServerStep{HttpReply(200, R"({"success":false,"code":"failure"})")});
    EXPECT_TRUE(m_request.SendPostReportStepData_ORN(Base(server), ENOUGH_MS, "x"));
}

TEST_F(SyncInterface, AFailedExchangeIsANo)
{
    const RefusingPort refusing;
    m_bAllow = true;
    EXPECT_FALSE(m_request.SendGetChannelCheckDataEx(m_strHost, refusing.Port(), ENOUGH_MS, {}, m_bAllow,
                                                     m_strReason));
    EXPECT_FALSE(m_bAllow);
}

/// Replies to the channel check that are no answer or a bad one.
struct BadReply {
    const char* szName;
    ServerStep step;
    bool bAnswered; ///< otherwise only the timer ends the wait
};

class SyncBadReply : public SyncInterface, public ::testing::WithParamInterface<BadReply>
{
};

TEST_P(SyncBadReply, IsANoAndEndsTheWait)
{
    if (GetParam().step.ending == ServerStep::Ending::Reset && RunsUnderWine()) {
        GTEST_SKIP() << "Wine does not report resets to programs";
    }
    constexpr int TIMEOUT_MS = 400;
    const ScriptedServer server(GetParam().step);
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(Check(server, GetParam().bAnswered ? ENOUGH_MS : TIMEOUT_MS));
    EXPECT_FALSE(m_bAllow);
    EXPECT_EQ(m_strReason, "");
    if (GetParam().bAnswered) {
        EXPECT_LT(timer.elapsed(), ENOUGH_MS);
    } else {
        EXPECT_GE(timer.elapsed(), TIMEOUT_MS);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Each, SyncBadReply,
    ::testing::Values(BadReply{"Reset", {"", ServerStep::Ending::Reset}, true},
                      BadReply{"Closed", {"", ServerStep::Ending::Close}, true},
                      BadReply{"EmptyBody", {HttpReply(200, "")}, true},
                      BadReply{"Scalar", {HttpReply(200, "true")}, true},
                      BadReply{"Garbage", {HttpReply(200, "\x01<>")}, true},
                      BadReply{"NotFoundWithAYes",
                               {HttpReply(404, R"({"success":true,"result":{"allowBoot":"yes"}})")},
                               true},
                      BadReply{"Never", {"", ServerStep::Ending::Hold}, false},
                      BadReply{"EmptyArray", {HttpReply(200, "[]")}, false},
                      BadReply{"ArrayOfNumbers", {HttpReply(200, "[1]")}, false}),
    [](const auto& reply) { return reply.param.szName; });

struct GoodReply {
    const char* szName;
    ServerStep step;
};

class SyncGoodReply : public SyncInterface, public ::testing::WithParamInterface<GoodReply>
{
};

TEST_P(SyncGoodReply, IsTheServersAnswer)
{
    const ScriptedServer server(GetParam().step);
    EXPECT_TRUE(Check(server));
    EXPECT_TRUE(m_bAllow);
}

const std::string YES_BODY = R"({"success":true,"result":{"allowBoot":"yes"}})";

INSTANTIATE_TEST_SUITE_P(
    Each, SyncGoodReply,
    ::testing::Values(
        GoodReply{"Slow",
                  {HttpReply(200, YES_BODY), ServerStep::Ending::KeepAlive, std::chrono::milliseconds(300)}},
        GoodReply{
            "ByteByByte",
            {HttpReply(200, YES_BODY), ServerStep::Ending::KeepAlive, std::chrono::milliseconds(0), true}},
        GoodReply{"ArrayOfObjects", {HttpReply(200, "[" + YES_BODY + R"(,{"success":false}])")}},
        GoodReply{
            "Chunked",
            {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2d\r\n" + YES_BODY + "\r\n0\r\n\r\n"}},
        GoodReply{"WrongContentType", {HttpReply(200, YES_BODY, "Content-Type: text/html\r\n")}}),
    [](const auto& reply) { return reply.param.szName; });

} // namespace
