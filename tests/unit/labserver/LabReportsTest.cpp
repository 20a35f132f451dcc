#include "LabFixture.h"

#include <gmock/gmock.h>
#include <set>
#include <thread>

namespace
{

using LabReports = LabTest;

const char* const CHANNEL_STATUS = R"({"com": "2.1", "ver": "1.1.0", "PEXAVer": "P3", "deviceId": "KTS-0007",
    "box": 12, "disch_retention": 98.5, "retentionUnder": "80", "stepStatus": "CC", "stopTime": "",
    "cMax": "3.2", "errorParam": "", "errorTime": "", "chl": "3", "dxtm": "CELL-0001", "cycle": 41,
    "disch_capacity": 3.1875, "step_state": "running", "voltage": 3.65, "current": -1.5,
    "backup_dir": "D:\\data", "hostname": "bench-4", "action": "start", "action_desc": "启动", "chlType": 2,
    "reason": 4294967295, "reason_desc": "", "deviceModelType": "KTS5V", "deviceRange": "5V30A",
    "wtNumId": 1201, "xmNameId": 107, "dczt": "3"})";
const char* const INCUBATOR_STATUS = R"({"name": "Oven 3", "status": "idle", "temperature": 25.5})";
const char* const BATTERY_DATA = R"({"siteNo": "S1", "batchNo": "B2405-17", "resourceNo": "R9",
    "chargingCapacity": "3.21", "dischargeCapacity": "3.19", "voltage": "4.18",
    "uploadTime": "2024-05-31 08:15:30"})";

/// A kind of report: where it is sent, and a report with every member.
struct RowKind {
    std::string strName;
    std::string strTarget;
    Json::Value report;
};

std::vector<RowKind> RowKinds()
{
    return {
        {"channel-status", "/vomd/system/addstatuslog.action?t=1717143330", JsonFrom(CHANNEL_STATUS)},
        {"incubator-status", "/vomd/system/incubatorStatus.action", JsonFrom(INCUBATOR_STATUS)},
        {"battery-data", "/dev-api/connector/DataCollectionController_KR_KR/saveData",
         JsonFrom(BATTERY_DATA)},
    };
}

/// A kind of report that is a list of elements of any shape.
struct ListKind {
    std::string strName;
    std::string strTarget;
};

const ListKind LIST_KINDS[] = {
    {"cycle-data", "/open/test-cabinet/add/kostrel/cycle"},
    {"step-data", "/open/test-cabinet/add/kostrel/step"},
    {"orn-step-data", "/core/api/public/orn/qm/autoWriteInspection"},
};

void ExpectAcknowledged(const LabReply& reply)
{
    EXPECT_EQ(reply.nStatus, 200) << reply.strBody;
    EXPECT_EQ(reply.json["success"], true);
    EXPECT_EQ(reply.json["code"], "success");
    EXPECT_FALSE(reply.json["message"].asString().empty());
    EXPECT_FALSE(reply.json["msg"].asString().empty());
}

TEST_F(LabReports, EachRowIsAcknowledgedAndReadBackAsSent)
{
    for (const RowKind& kind : RowKinds()) {
        const LabReply reply = Post(kind.strTarget, Json::FastWriter().write(kind.report));
        ExpectAcknowledged(reply);
        const Json::Value stored = Get("/lab/reports/" + kind.strName).json;
        EXPECT_EQ(stored["count"], 1);
        ASSERT_EQ(stored["reports"].size(), 1U);
        EXPECT_EQ(stored["reports"][0]["id"], reply.json["id"]);
        Json::Value expected = kind.report;
        if (kind.strName == "channel-status") {
            expected["t"] = "1717143330";
        }
        EXPECT_EQ(stored["reports"][0]["report"], expected) << kind.strName;
    }
}

TEST_F(LabReports, TheTimeOfReceiptIsUtcInMilliseconds)
{
    Post("/vomd/system/incubatorStatus.action", INCUBATOR_STATUS);
    const std::string strTime =
        Get("/lab/reports/incubator-status").json["reports"][0]["receivedAt"].asString();
    EXPECT_THAT(strTime, testing::MatchesRegex("....-..-..T..:..:..\\....Z"));
}

TEST_F(LabReports, EachListIsAcknowledgedAndReadBackAsSent)
{
    for (const ListKind& kind : LIST_KINDS) {
        const std::vector<std::string> vecBodies = {
            R"([{"cycle":1,"ah":[3.5,{"x":null}]},{"名":"值"},7,"text"])", R"({"single":{"step":[1,2]}})",
            "[]"};
        for (const std::string& strBody : vecBodies) {
            ExpectAcknowledged(Post(kind.strTarget, strBody));
        }
        const Json::Value stored = Get("/lab/reports/" + kind.strName).json;
        EXPECT_EQ(stored["count"], 3);
        for (Json::ArrayIndex nReport = 0; nReport < 3; ++nReport) {
            EXPECT_EQ(stored["reports"][nReport]["report"], JsonFrom(vecBodies[nReport])) << kind.strName;
        }
    }
}

TEST_F(LabReports, AReportWithoutAMemberIsRefusedByNameAndNotStored)
{
    for (const RowKind& kind : RowKinds()) {
        for (const std::string& strMember : kind.report.getMemberNames()) {
            Json::Value report = kind.report;
            report.removeMember(strMember);
            const LabReply reply = Post(kind.strTarget, Json::FastWriter().write(report));
            EXPECT_EQ(reply.nStatus, 400) << strMember;
            EXPECT_EQ(reply.json["success"], false);
            EXPECT_EQ(reply.json["message"], "The member \"" + strMember + "\" is missing.");
        }
        EXPECT_EQ(Get("/lab/reports/" + kind.strName).json["count"], 0);
    }
}

TEST_F(LabReports, AReportWithAMemberOfAnotherTypeIsRefusedByNameAndNotStored)
{
    for (const RowKind& kind : RowKinds()) {
        for (const std::string& strMember : kind.report.getMemberNames()) {
            for (const char* szWrong : {"null", "true", "[]", R"({"a": 1})"}) {
                Json::Value report = kind.report;
                report[strMember] = JsonFrom(szWrong);
                const LabReply reply = Post(kind.strTarget, Json::FastWriter().write(report));
                EXPECT_EQ(reply.nStatus, 400) << strMember << ' ' << szWrong;
                EXPECT_EQ(
                    reply.json["message"].asString().rfind("The member \"" + strMember + "\" is not", 0), 0U)
                    << reply.strBody;
            }
        }
        EXPECT_EQ(Get("/lab/reports/" + kind.strName).json["count"], 0);
    }
}

TEST_F(LabReports, NumbersAndTextsAreNotTakenForEachOther)
{
    const RowKind kind = RowKinds().front();
    const std::pair<const char*, Json::Value> aWrong[] = {
        {"box", "12"}, {"box", 1.5}, {"chl", 3}, {"voltage", "3.65"}, {"cycle", Json::UInt64{1} << 63U}};
    for (const auto& [szMember, wrong] : aWrong) {
        Json::Value report = kind.report;
        report[szMember] = wrong;
        EXPECT_EQ(Post(kind.strTarget, Json::FastWriter().write(report)).nStatus, 400) << szMember;
    }
}

TEST_F(LabReports, EachChannelIsListedWithItsLatestStatus)
{
    Json::Value status = JsonFrom(CHANNEL_STATUS);
    for (const char* szChannel : {"2", "1", "2"}) {
        status["chl"] = szChannel;
        status["cycle"] = status["cycle"].asInt() + 1;
        Post("/vomd/system/addstatuslog.action?t=1", Json::FastWriter().write(status));
    }
    const Json::Value list = Get("/lab/channels").json;
    EXPECT_EQ(list["count"], 2);
    ASSERT_EQ(list["channels"].size(), 2U);
    EXPECT_EQ(list["channels"][0]["chl"], "1");
    EXPECT_EQ(list["channels"][1]["chl"], "2");
    EXPECT_EQ(list["channels"][1]["cycle"], status["cycle"]);
    EXPECT_EQ(list["channels"][1]["time"],
              Get("/lab/reports/channel-status?after=2").json["reports"][0]["receivedAt"]);
}

TEST_F(LabReports, AChannelStatusWithoutItsQueryParameterIsRefused)
{
    const LabReply reply = Post("/vomd/system/addstatuslog.action", CHANNEL_STATUS);
    EXPECT_EQ(reply.nStatus, 400);
    EXPECT_EQ(reply.json["message"], "The query parameter \"t\" is missing.");
}

TEST_F(LabReports, AFormAsContentTypeDoesNotCutTheBody)
{
    // Some HTTP clients label a body so when no type is given.
    const std::string strBody = "[\"" + std::string(100'000, 'x') + "&a=b\"]";
    httplib::Client client("127.0.0.1", m_server.Port());
    const auto result =
        client.Post("/open/test-cabinet/add/kostrel/cycle", strBody, "application/x-www-form-urlencoded");
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 200);
    EXPECT_EQ(Get("/lab/reports/cycle-data").json["reports"][0]["report"], JsonFrom(strBody));
}

TEST_F(LabReports, TextsKeepEveryCharacter)
{
    const std::string strBody =
        R"({"name": "a\u0000b\"\\\n\u6e29\ud83d\ude00'; DROP TABLE user; --", "status": "busy", "temperature": -1.5})";
    ExpectAcknowledged(Post("/vomd/system/incubatorStatus.action", strBody));
    EXPECT_EQ(Get("/lab/reports/incubator-status").json["reports"][0]["report"], JsonFrom(strBody));
    EXPECT_EQ(Get("/posts/1").nStatus, 200);
}

TEST_F(LabReports, ReadingBackPagesByIdAndLimit)
{
    for (int nReport = 0; nReport < 5; ++nReport) {
        Post("/open/test-cabinet/add/kostrel/step", '[' + std::to_string(nReport) + ']');
    }
    const Json::Value first = Get("/lab/reports/step-data?limit=2").json;
    EXPECT_EQ(first["count"], 5);
    ASSERT_EQ(first["reports"].size(), 2U);
    EXPECT_EQ(first["reports"][0]["report"][0], 0);
    const std::string strLast = first["reports"][1]["id"].asString();
    const Json::Value next = Get("/lab/reports/step-data?limit=9&after=" + strLast).json;
    ASSERT_EQ(next["reports"].size(), 3U);
    EXPECT_EQ(next["reports"][2]["report"][0], 4);
    EXPECT_EQ(Get("/lab/reports/step-data?limit=0").json["reports"].size(), 0U);
}

TEST_F(LabReports, ReadingBackRefusesWhatItCanNotRead)
{
    EXPECT_EQ(Get("/lab/reports/nothing").nStatus, 404);
    for (const char* szBad : {"limit=x", "limit=-1", "after=1.5", "after="}) {
        EXPECT_EQ(Get(std::string("/lab/reports/step-data?") + szBad).nStatus, 400) << szBad;
    }
}

TEST_F(LabReports, TwoHundredAtOnceAreEachStoredOnce)
{
    constexpr int REPORTS = 200;
    std::vector<std::thread> vecThreads;
    for (int nReport = 0; nReport < REPORTS; ++nReport) {
        vecThreads.emplace_back([this, nReport] {
            LabClient client(m_server.Port());
            ExpectAcknowledged(
                client.Post("/open/test-cabinet/add/kostrel/cycle", "[" + std::to_string(nReport) + ",1,2]"));
        });
    }
    for (std::thread& thread : vecThreads) {
        thread.join();
    }
    std::multiset<int> setStored;
    const Json::Value stored = Get("/lab/reports/cycle-data").json;
    for (const Json::Value& report : stored["reports"]) {
        setStored.insert(report["report"][0].asInt());
        EXPECT_EQ(report["report"].size(), 3U);
    }
    std::multiset<int> setSent;
    for (int nReport = 0; nReport < REPORTS; ++nReport) {
        setSent.insert(nReport);
    }
    EXPECT_EQ(setStored, setSent);
}

} // namespace
