#include "LabFixture.h"

#include <fstream>
#include <gmock/gmock.h>
#include <sqlite3.h>

namespace
{

/// A server that keeps its data in a file, at which a test can get behind its back.
class LabDataFile : public ::testing::Test
{
protected:
    void Start()
    {
        m_pServer = std::make_unique<LabServer>(LabServerOptions{"127.0.0.1", 0, m_folder.File("lab.db")});
        m_pClient = std::make_unique<LabClient>(m_pServer->Start());
    }

    void Stop()
    {
        m_pClient.reset();
        m_pServer.reset();
    }

    void Execute(const char* pszSql)
    {
        sqlite3* pDb = nullptr;
        ASSERT_EQ(sqlite3_open(m_folder.File("lab.db").c_str(), &pDb), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(pDb, pszSql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(pDb);
        sqlite3_close(pDb);
    }

    LabReply PostCycles(const std::string& strBody)
    {
        return m_pClient->Post("/open/test-cabinet/add/kostrel/cycle", strBody);
    }

    Json::Value Cycles() { return m_pClient->Get("/lab/reports/cycle-data").json; }

    TemporaryFolder m_folder;
    std::unique_ptr<LabServer> m_pServer;
    std::unique_ptr<LabClient> m_pClient;
};

TEST_F(LabDataFile, ANewServerFindsTheReportsAndSettingsOfTheOldOne)
{
    Start();
    PostCycles(R"([{"cycle":1}])");
    m_pClient->Post("/lab/shared-barcodes", R"({"dxtm": "CELL-0001", "common": true})");
    const Json::Value before = Cycles();
    Stop();
    Start();
    EXPECT_EQ(before["count"], 1);
    EXPECT_EQ(Cycles(), before);
    EXPECT_EQ(m_pClient->Get("/vomd/system/whetherInCommon.action?dxtm=CELL-0001").json["common"], true);
}

TEST_F(LabDataFile, TheSeedIsPlantedOnce)
{
    Start();
    const int nRules = m_pClient->Get("/lab/channel-rules").json["count"].asInt();
    Stop();
    Start();
    EXPECT_GT(nRules, 0);
    EXPECT_EQ(m_pClient->Get("/lab/channel-rules").json["count"], nRules);
}

TEST_F(LabDataFile, IdsAreNotGivenTwice)
{
    Start();
    const int nFirst = PostCycles("[1]").json["id"].asInt();
    Execute("DELETE FROM cycle_data");
    EXPECT_GT(PostCycles("[1]").json["id"].asInt(), nFirst);
}

TEST_F(LabDataFile, AReportThatFailsMidwayStoresNothing)
{
    Start();
    Execute("CREATE TRIGGER full BEFORE INSERT ON cycle_element WHEN NEW.position = 2 "
            "BEGIN SELECT RAISE(ABORT, 'disk full'); END");
    const LabReply reply = PostCycles("[1,2,3,4]");
    EXPECT_EQ(reply.nStatus, 500);
    EXPECT_EQ(reply.json["success"], false);
    EXPECT_EQ(reply.json["code"], 500);
    EXPECT_THAT(reply.json["message"].asString(), testing::HasSubstr("disk full"));
    EXPECT_EQ(Cycles()["count"], 0);

    Execute("DROP TRIGGER full");
    EXPECT_EQ(PostCycles("[1,2,3,4]").nStatus, 200);
    const Json::Value stored = Cycles();
    ASSERT_EQ(stored["count"], 1);
    EXPECT_EQ(stored["reports"][0]["report"], JsonFrom("[1,2,3,4]"));
}

TEST_F(LabDataFile, AMissingTableIsAnErrorOfThatRequestOnly)
{
    Start();
    Execute("DROP TABLE battery_state");
    EXPECT_EQ(m_pClient->Get("/vomd/system/GetDxzt.action?t=1").nStatus, 500);
    EXPECT_EQ(m_pClient->Get("/posts/1").nStatus, 200);
}

TEST_F(LabDataFile, TwoServersShareOneFile)
{
    Start();
    LabServer other({"127.0.0.1", 0, m_folder.File("lab.db")});
    LabClient client(other.Start());
    PostCycles("[1]");
    client.Post("/open/test-cabinet/add/kostrel/cycle", "[2]");
    EXPECT_EQ(Cycles()["count"], 2);
}

TEST(LabDataFiles, AFileThatCanNotBeOneIsSaidAtStart)
{
    const TemporaryFolder folder;
    std::ofstream(folder.File("notes.txt")) << std::string(4096, 'x');
    for (const char* pszFile : {"notes.txt", ".", "missing/lab.db"}) {
        LabServer server({"127.0.0.1", 0, folder.File(pszFile)});
        try {
            server.Start();
            ADD_FAILURE() << pszFile;
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), testing::StartsWith("can't open data file " + folder.File(pszFile)));
        }
    }
}

} // namespace
