#include "LabFixture.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

std::atomic<bool> g_bModesAreKept = true; ///< by the file system

} // namespace

extern "C" int chmod(const char* szFile, mode_t nMode) noexcept
{
    return fchmodat(AT_FDCWD, szFile, nMode, 0);
}

extern "C" int fchmodat(int nFolder, const char* szFile, mode_t nMode, int nFlags) noexcept
{
    if (!g_bModesAreKept) {
        errno = EPERM;
        return -1;
    }
    static const auto pfn = reinterpret_cast<decltype(&fchmodat)>(dlsym(RTLD_NEXT, "fchmodat"));
    return pfn(nFolder, szFile, nMode, nFlags);
}

namespace
{

/// A server that keeps its data in a file, which the test can also change directly.
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

    void Execute(const char* szSql)
    {
        sqlite3* pDb = nullptr;
        ASSERT_EQ(sqlite3_open(m_folder.File("lab.db").c_str(), &pDb), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(pDb, szSql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(pDb);
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

TEST_F(LabDataFile, ARowOfTheSeedThatTheOperatorReplacedStaysReplaced)
{
    Start();
    EXPECT_EQ(m_pClient->Get("/vomd/system/whetherInCommon.action?dxtm=CELL-0002").json["common"], true);
    m_pClient->Post("/lab/shared-barcodes", R"({"dxtm": "CELL-0002", "common": false})");
    Stop();
    Start();
    EXPECT_EQ(m_pClient->Get("/vomd/system/whetherInCommon.action?dxtm=CELL-0002").json["common"], false);
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
    for (const char* szFile : {"notes.txt", ".", "missing/lab.db"}) {
        const auto tpBegin = std::chrono::steady_clock::now();
        LabServer server({"127.0.0.1", 0, folder.File(szFile)});
        try {
            server.Start();
            ADD_FAILURE() << szFile;
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), testing::StartsWith("can't open data file " + folder.File(szFile)));
        }
        // It must not be tried again as one that another server holds.
        EXPECT_LT(std::chrono::steady_clock::now() - tpBegin, std::chrono::seconds(4)) << szFile;
    }
}

TEST(LabDataFiles, OneThatAnotherProgramHoldsIsWaitedForAndThenSaidToBeLocked)
{
    const TemporaryFolder folder;
    sqlite3* pHolder = nullptr;
    ASSERT_EQ(sqlite3_open(folder.File("lab.db").c_str(), &pHolder), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(pHolder, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
    const auto tpBegin = std::chrono::steady_clock::now();
    LabServer server({"127.0.0.1", 0, folder.File("lab.db")});
    try {
        server.Start();
        ADD_FAILURE() << "it starts";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), testing::HasSubstr("locked"));
    }
    EXPECT_GE(std::chrono::steady_clock::now() - tpBegin, std::chrono::seconds(5));
    sqlite3_close(pHolder);
    EXPECT_NO_THROW(server.Start());
}

/// The mode of a file, in the form that chmod takes.
mode_t ModeOf(const std::string& strFile)
{
    struct stat status = {};
    EXPECT_EQ(stat(strFile.c_str(), &status), 0) << strFile;
    return status.st_mode & 07777U;
}

std::string WhyItDoesNotStart(const std::string& strFile)
{
    LabServer server({"127.0.0.1", 0, strFile});
    try {
        server.Start();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "it starts";
}

TEST_F(LabDataFile, IsItsOwnersAloneWhateverTheUmask)
{
    for (const mode_t nUmask : {0U, 022U, 0777U}) {
        const mode_t nBefore = umask(nUmask);
        Start();
        PostCycles("[1]");
        for (const char* szBeside : {"", "-wal", "-shm"}) {
            EXPECT_EQ(ModeOf(m_folder.File("lab.db") + szBeside), 0600U) << nUmask << szBeside;
        }
        Stop();
        umask(nBefore);
        std::filesystem::remove(m_folder.File("lab.db"));
    }
}

TEST_F(LabDataFile, OfAnEarlierServerIsTakenFromOtherUsers)
{
    Start();
    PostCycles("[1]");
    for (const char* szBeside : {"", "-wal", "-shm"}) { // a server beside this one still has it open
        ASSERT_EQ(chmod((m_folder.File("lab.db") + szBeside).c_str(), 0664), 0);
    }
    LabServer second({"127.0.0.1", 0, m_folder.File("lab.db")});
    LabClient client(second.Start());
    for (const char* szBeside : {"", "-wal", "-shm"}) {
        EXPECT_EQ(ModeOf(m_folder.File("lab.db") + szBeside), 0600U) << szBeside;
    }
    client.Post("/open/test-cabinet/add/kostrel/cycle", "[2]");
    EXPECT_EQ(Cycles()["count"], 2);
}

TEST(LabDataFiles, AFileThatIsNoneOfOursStaysOpenToOthers)
{
    const TemporaryFolder folder;
    std::ofstream(folder.File("notes.txt")) << std::string(4096, 'x');
    ASSERT_EQ(chmod(folder.File("notes.txt").c_str(), 0644), 0);
    EXPECT_THAT(WhyItDoesNotStart(folder.File("notes.txt")), testing::HasSubstr("not a database"));
    EXPECT_EQ(ModeOf(folder.File("notes.txt")), 0644U);
}

TEST(LabDataFiles, ASymbolicLinkIsNotFollowed)
{
    const TemporaryFolder folder;
    std::ofstream(folder.File("empty")).flush();
    for (const char* szTarget : {"empty", "missing"}) {
        const std::string strLink = folder.File(std::string("to-") + szTarget);
        std::filesystem::create_symlink(szTarget, strLink);
        EXPECT_EQ(WhyItDoesNotStart(strLink),
                  "can't open data file " + strLink + ": it is a symbolic link; name the file itself");
    }
    EXPECT_EQ(std::filesystem::file_size(folder.File("empty")), 0U);
    EXPECT_FALSE(std::filesystem::exists(folder.File("missing")));
}

TEST(LabDataFiles, OnesOwnIsTakenWhereTheFileSystemKeepsNoModes)
{
    const TemporaryFolder folder;
    std::ofstream(folder.File("lab.db")).flush();
    ASSERT_EQ(chmod(folder.File("lab.db").c_str(), 0777), 0);
    g_bModesAreKept = false;
    const std::string strWhy = WhyItDoesNotStart(folder.File("lab.db"));
    g_bModesAreKept = true;
    EXPECT_EQ(strWhy, "it starts");
}

TEST(LabDataFiles, AnotherUsersFileThatIsOpenToAllIsRefused)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can act as two users";
    }
    const TemporaryFolder folder;
    ASSERT_EQ(chmod(folder.File(".").c_str(), 0777), 0);
    std::ofstream(folder.File("lab.db")).flush();
    ASSERT_EQ(chmod(folder.File("lab.db").c_str(), 0666), 0);
    if (seteuid(65534) != 0) {
        GTEST_SKIP() << "no second user here: " << std::strerror(errno);
    }
    const std::string strWhy = WhyItDoesNotStart(folder.File("lab.db"));
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_THAT(strWhy, testing::HasSubstr("it is open to other users, and can't be taken from them: "));
}

TEST(LabDataFiles, ANameIsThatOfAFileEvenWhenItLooksLikeAnother)
{
    const TemporaryFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.File("."));
    EXPECT_EQ(WhyItDoesNotStart("file:lab.db?mode=memory"), "it starts");
    std::filesystem::current_path(before);
    EXPECT_EQ(ModeOf(folder.File("file:lab.db?mode=memory")), 0600U);
    EXPECT_GT(std::filesystem::file_size(folder.File("file:lab.db?mode=memory")), 0U);
}

} // namespace
