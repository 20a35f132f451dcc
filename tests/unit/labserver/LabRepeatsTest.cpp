// What becomes of a report that comes again with its key.

#include "LabFixture.h"

#include <array>
#include <set>
#include <sqlite3.h>

namespace
{

const char* const STEPS = "/open/test-cabinet/add/kostrel/step";
const char* const INCUBATOR = "/vomd/system/incubatorStatus.action";
const char* const OVEN = R"({"name": "Oven 3", "status": "idle", "temperature": 25.5})";
const char* const CHANNEL = "/vomd/system/addstatuslog.action?t=";
const char* const REPEATED_KIND = R"({"com": "", "ver": "", "PEXAVer": "", "deviceId": "", "box": 1,
    "disch_retention": 1, "retentionUnder": "", "stepStatus": "", "stopTime": "", "cMax": "", "errorParam": "",
    "errorTime": "", "chl": "3", "dxtm": "", "cycle": 1, "disch_capacity": 1, "step_state": "", "voltage": 1,
    "current": 1, "backup_dir": "", "hostname": "", "action": "", "action_desc": "", "chlType": 1, "reason": 1,
    "reason_desc": "", "deviceModelType": "", "deviceRange": "", "wtNumId": 1, "xmNameId": 1, "dczt": ""})";

using LabRepeats = LabTest;

void ExpectOther(const LabReply& reply)
{
    EXPECT_EQ(reply.nStatus, 422) << reply.strBody;
    EXPECT_EQ(reply.json["success"], false);
    EXPECT_EQ(reply.json["code"], 422);
    EXPECT_EQ(reply.json["message"],
              "The key in the header Idempotency-Key came with another report before.");
    EXPECT_EQ(reply.json["description"], reply.json["message"]);
}

TEST_F(LabRepeats, GetTheSameReplyAndStoreNothing)
{
    for (const auto& [strTarget, strBody, strKind] :
         {std::array<std::string, 3>{CYCLES, "[1,2]", "cycle-data"},
          std::array<std::string, 3>{INCUBATOR, OVEN, "incubator-status"},
          std::array<std::string, 3>{CHANNEL + std::string("1.1.0"), REPEATED_KIND, "channel-status"}}) {
        Post(strTarget, strBody); // so that the reply's id is not the only one
        const LabReply first = PostWithKey(strTarget, strBody, '"' + strKind + '"');
        EXPECT_EQ(first.nStatus, 200);
        for (int nRepeat = 0; nRepeat < 3; ++nRepeat) {
            const LabReply again = PostWithKey(strTarget, strBody, '"' + strKind + '"');
            EXPECT_EQ(again.nStatus, 200);
            EXPECT_EQ(again.strBody, first.strBody);
            EXPECT_EQ(again.strContentType, first.strContentType);
        }
        EXPECT_EQ(Get("/lab/reports/" + strKind).json["count"], 2) << strKind;
    }
}

TEST_F(LabRepeats, AreCountedInTheListOfReports)
{
    Post(CYCLES, "[0]");
    for (const char* szKey : {"\"a\"", "\"b\"", "\"a\"", "\"a\""}) {
        PostWithKey(CYCLES, "[1]", szKey);
    }
    PostWithKey(STEPS, "[1]", "\"c\"");
    const Json::Value reports = Get("/lab/reports/cycle-data").json["reports"];
    ASSERT_EQ(reports.size(), 3U);
    EXPECT_EQ(reports[0].getMemberNames(), (std::vector<std::string>{"id", "receivedAt", "report"}));
    EXPECT_EQ(reports[1]["key"], "a");
    EXPECT_EQ(reports[1]["repeats"], 2);
    EXPECT_EQ(reports[2]["key"], "b");
    EXPECT_EQ(reports[2]["repeats"], 0);
    const std::string strAfter = "?after=" + reports[1]["id"].asString();
    const Json::Value page = Get("/lab/reports/cycle-data" + strAfter).json["reports"];
    ASSERT_EQ(page.size(), 1U);
    EXPECT_EQ(page[0]["key"], "b");
    EXPECT_EQ(Get("/lab/reports/step-data").json["reports"][0]["key"], "c");
}

TEST_F(LabRepeats, WithAnotherBodyAreRefused)
{
    PostWithKey(CYCLES, "[1]", "\"k\"");
    for (const char* szBody : {"[2]", "[1] ", "no JSON", ""}) {
        ExpectOther(PostWithKey(CYCLES, szBody, "\"k\""));
    }
    const Json::Value stored = Get("/lab/reports/cycle-data").json;
    ASSERT_EQ(stored["count"], 1);
    EXPECT_EQ(stored["reports"][0]["repeats"], 0);
    EXPECT_EQ(PostWithKey(CYCLES, "[1]", "\"k\"").nStatus, 200);
}

TEST_F(LabRepeats, ToAnotherEndpointAreRefused)
{
    PostWithKey(CYCLES, "[1]", "\"k\"");
    ExpectOther(PostWithKey(STEPS, "[1]", "\"k\""));
    EXPECT_EQ(Get("/lab/reports/step-data").json["count"], 0);
}

TEST_F(LabRepeats, WithAnotherFieldInTheQueryAreRefused)
{
    EXPECT_EQ(PostWithKey(CHANNEL + std::string("1"), REPEATED_KIND, "\"k\"").nStatus, 200);
    ExpectOther(PostWithKey(CHANNEL + std::string("2"), REPEATED_KIND, "\"k\""));
    EXPECT_EQ(PostWithKey(CHANNEL + std::string("1"), REPEATED_KIND, "\"k\"").nStatus, 200);
    EXPECT_EQ(Get("/lab/reports/channel-status").json["count"], 1);
}

TEST_F(LabRepeats, OfARefusedReportAreJudgedAnew)
{
    EXPECT_EQ(PostWithKey(CYCLES, "no JSON", "\"k\"").nStatus, 400);
    EXPECT_EQ(PostWithKey(INCUBATOR, R"({"name": "Oven 3"})", "\"k\"").nStatus, 400);
    EXPECT_EQ(PostWithKey(CYCLES, "[1]", "\"k\"").nStatus, 200);
    EXPECT_EQ(Get("/lab/reports/cycle-data").json["reports"][0]["repeats"], 0);
}

TEST_F(LabRepeats, WithoutAKeyAreReportsOfTheirOwn)
{
    std::set<int> setIds;
    for (int nTry = 0; nTry < 3; ++nTry) {
        setIds.insert(Post(CYCLES, "[1]").json["id"].asInt());
    }
    EXPECT_EQ(setIds.size(), 3U);
    EXPECT_EQ(Get("/lab/reports/cycle-data").json["count"], 3);
}

/// Runs SQL on a data file.
void Execute(const std::string& strFile, const char* szSql)
{
    sqlite3* pDb = nullptr;
    ASSERT_EQ(sqlite3_open(strFile.c_str(), &pDb), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(pDb, szSql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(pDb);
    sqlite3_close(pDb);
}

TEST(LabRepeatsInAFile, AreRecognisedByTheNextServer)
{
    const TemporaryFolder folder;
    const LabServerOptions options{"127.0.0.1", 0, folder.File("lab.db")};
    std::string strFirst;
    for (int nRound = 0; nRound < 3; ++nRound) {
        LabServer server(options);
        LabClient client(server.Start());
        const LabReply reply = client.PostWithKey(CYCLES, "[1]", "\"k\"");
        EXPECT_EQ(reply.nStatus, 200);
        strFirst = nRound == 0 ? reply.strBody : strFirst;
        EXPECT_EQ(reply.strBody, strFirst);
        ExpectOther(client.PostWithKey(CYCLES, "[2]", "\"k\""));
        const Json::Value stored = client.Get("/lab/reports/cycle-data").json;
        ASSERT_EQ(stored["count"], 1);
        EXPECT_EQ(stored["reports"][0]["repeats"], nRound);
    }
}

TEST(LabRepeatsInAFile, KeepNoKeyIfTheReportCanNotBeStored)
{
    const TemporaryFolder folder;
    LabServer server({"127.0.0.1", 0, folder.File("lab.db")});
    LabClient client(server.Start());
    for (const char* szTable : {"cycle_element", "report_key"}) {
        Execute(folder.File("lab.db"), (std::string("CREATE TRIGGER full BEFORE INSERT ON ") + szTable +
                                        " BEGIN SELECT RAISE(ABORT, 'disk full'); END")
                                           .c_str());
        EXPECT_EQ(client.PostWithKey(CYCLES, "[1]", "\"k\"").nStatus, 500) << szTable;
        EXPECT_EQ(client.Get("/lab/reports/cycle-data").json["count"], 0) << szTable;
        Execute(folder.File("lab.db"), "DROP TRIGGER full");
    }
    EXPECT_EQ(client.PostWithKey(CYCLES, "[2]", "\"k\"").nStatus, 200);
    EXPECT_EQ(client.Get("/lab/reports/cycle-data").json["count"], 1);
}

TEST(LabRepeatsInAFile, AreRecognisedInOneThatAnEarlierServerMade)
{
    const TemporaryFolder folder;
    const LabServerOptions options{"127.0.0.1", 0, folder.File("lab.db")};
    {
        LabServer server(options);
        EXPECT_EQ(LabClient(server.Start()).Post(CYCLES, "[0]").nStatus, 200);
    }
    Execute(folder.File("lab.db"), "DROP TABLE report_key; PRAGMA user_version = 1");
    LabServer server(options);
    LabClient client(server.Start());
    const LabReply first = client.PostWithKey(CYCLES, "[1]", "\"k\"");
    EXPECT_EQ(first.nStatus, 200);
    EXPECT_EQ(client.PostWithKey(CYCLES, "[1]", "\"k\"").strBody, first.strBody);
    const Json::Value stored = client.Get("/lab/reports/cycle-data").json;
    ASSERT_EQ(stored["count"], 2);
    EXPECT_EQ(stored["reports"][0]["report"], JsonFrom("[0]"));
    EXPECT_EQ(stored["reports"][1]["repeats"], 1);
    EXPECT_EQ(client.Get("/lab/channel-rules").json["count"], 3) << "the seed is planted once";
}

} // namespace
