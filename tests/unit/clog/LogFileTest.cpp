#include "ContainsPattern.h"
#include "LogFolder.h"
#include "UnsafeTexts.h"
#include "platform/clog/clog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <ostream>
#include <thread>

#if !defined(_WIN32)
#include <csignal>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#endif

using namespace std::chrono_literals;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;
using testing::UnorderedElementsAre;

namespace
{

std::vector<std::string> FileNames(const std::filesystem::path& pathFolder)
{
    std::vector<std::string> vecNames;
    for (const auto& entry : std::filesystem::directory_iterator(pathFolder)) {
        vecNames.push_back(entry.path().filename().string());
    }
    return vecNames;
}

/// Writes lines until one of them is in the log.
/// @return whether that came about in time
bool WriteUntilHeard(const LogFolder& folder)
{
    const auto tpEnd = std::chrono::steady_clock::now() + 20s;
    while (std::chrono::steady_clock::now() < tpEnd) {
        Log_Write(1, "Repaired", 1, "again");
        if (!folder.Lines().empty()) {
            return true;
        }
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

} // namespace

TEST(LogFile, MakesItsFolderWithTheFoldersAboveIt)
{
    const LogFolder folder;
    const auto pathDeep = folder.Path() / "a" / "b";
    ::setenv("CLOG_DIR", pathDeep.c_str(), 1);
    Log_Write(1, "Deep", 1, "text");
    EXPECT_THAT(FileNames(pathDeep), ElementsAre("ktshttpagent.log"));
}

TEST(LogFile, IsContinuedByTheNextProcess)
{
    const LogFolder folder;
    std::ofstream(folder.File()) << "the line of an earlier process\n";
    Log_Write(1, "Next", 1, "text");
    EXPECT_THAT(folder.Lines(), ElementsAre("the line of an earlier process", EndsWith("Next:1 text")));
}

TEST(LogFile, IsPutAsideWhenItIsFullAndTheOldestGoes)
{
    const LogFolder folder;
    ::setenv("CLOG_FILE_BYTES", "1000", 1);
    ::setenv("CLOG_FILES", "2", 1);
    for (int nLine = 1; nLine <= 4; ++nLine) {
        Log_Write(1, "Rotation", nLine, "%s", std::string(600, 'x').c_str());
    }
    EXPECT_THAT(FileNames(folder.Path()),
                UnorderedElementsAre("ktshttpagent.log", "ktshttpagent.1.log", "ktshttpagent.2.log"));
    EXPECT_THAT(folder.Lines(), ElementsAre(HasSubstr("Rotation:4 ")));
    EXPECT_THAT(folder.Lines(1), ElementsAre(HasSubstr("Rotation:3 ")));
    EXPECT_THAT(folder.Lines(2), ElementsAre(HasSubstr("Rotation:2 ")));
}

TEST(LogFile, AlwaysStaysBelowItsSize)
{
    const LogFolder folder;
    ::setenv("CLOG_FILE_BYTES", "1000", 1);
    ::setenv("CLOG_FILES", "3", 1);
    for (int nLine = 1; nLine <= 100; ++nLine) {
        Log_Write(1, "Rotation", nLine, "text");
        ASSERT_LE(std::filesystem::file_size(folder.File()), 1000U);
    }
    EXPECT_THAT(folder.Lines(1), SizeIs(testing::Gt(5U)));
}

TEST(LogFile, KeepsNothingAsideWhenNothingIsWanted)
{
    const LogFolder folder;
    ::setenv("CLOG_FILE_BYTES", "100", 1);
    ::setenv("CLOG_FILES", "0", 1);
    Log_Write(1, "Rotation", 1, "%s", std::string(200, 'x').c_str());
    Log_Write(1, "Rotation", 2, "text");
    EXPECT_THAT(FileNames(folder.Path()), ElementsAre("ktshttpagent.log"));
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("Rotation:2 text")));
}

TEST(LogFile, ComesBackAfterItWasRemoved)
{
#if defined(_WIN32)
    GTEST_SKIP() << "Windows lets nobody remove a file that is open";
#endif
    const LogFolder folder;
    Log_Write(1, "Removed", 1, "before");
    std::filesystem::remove_all(folder.Path());
    Log_Write(1, "Removed", 2, "after");
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("Removed:2 after")));
}

TEST(LogFile, OfManyWritersLosesAndTearsNoLine)
{
    const LogFolder folder;
    constexpr int WRITERS = 8;
    constexpr int LINES = 500;
    std::vector<std::thread> vecWriters;
    for (int nWriter = 0; nWriter < WRITERS; ++nWriter) {
        vecWriters.emplace_back([nWriter] {
            for (int nLine = 0; nLine < LINES; ++nLine) {
                Log_Write(1, "Writer" + std::to_string(nWriter), nLine, "%s", std::string(50, 'x').c_str());
            }
        });
    }
    for (std::thread& writer : vecWriters) {
        writer.join();
    }
    const std::vector<std::string> vecLines = folder.Lines();
    EXPECT_THAT(vecLines, SizeIs(WRITERS * LINES));
    std::vector<int> vecNext(WRITERS, 0);
    for (const std::string& strLine : vecLines) {
        const std::size_t nWhere = strLine.find("Writer");
        ASSERT_NE(nWhere, std::string::npos) << strLine;
        int& nNext = vecNext.at(static_cast<std::size_t>(strLine.at(nWhere + 6) - '0'));
        EXPECT_EQ(strLine.substr(nWhere + 7), ":" + std::to_string(nNext++) + " " + std::string(50, 'x'));
    }
}

// Ways in which a log can be out of reach even for root.
struct Obstacle {
    const char* szName;
    void (*fnRaise)(const LogFolder& folder);
    void (*fnClear)(const LogFolder& folder);

    friend void PrintTo(const Obstacle& row, std::ostream* pOut) { *pOut << row.szName; }
};

void PutFileInPlaceOfFolder(const LogFolder& folder)
{
    std::filesystem::remove(folder.Path());
    std::ofstream(folder.Path()) << "a file";
}

void RemoveFile(const LogFolder& folder)
{
    std::filesystem::remove(folder.Path());
}

void PutFolderInPlaceOfFile(const LogFolder& folder)
{
    std::filesystem::create_directory(folder.File());
}

void RemoveObstacleAtLog(const LogFolder& folder)
{
    std::filesystem::remove(folder.File());
}

#if !defined(_WIN32) // which has none of these

void LimitFileSizes(rlim_t nBytes)
{
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    limit.rlim_cur = nBytes;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
}

/// There is no room behind what the log holds already. What goes to standard error is shorter.
void FillDisk(const LogFolder& folder)
{
    constexpr std::size_t ROOM = 65536;
    std::ofstream(folder.File()) << std::string(ROOM - 1, 'x') << '\n';
    std::signal(SIGXFSZ, SIG_IGN);
    LimitFileSizes(ROOM);
}

void MakeRoomOnDisk(const LogFolder& folder)
{
    LimitFileSizes(RLIM_INFINITY);
    RemoveObstacleAtLog(folder);
}

void PutLinkInPlaceOfFile(const LogFolder& folder)
{
    std::filesystem::create_symlink("elsewhere", folder.File());
}

void PutPipeInPlaceOfFile(const LogFolder& folder)
{
    ASSERT_EQ(::mkfifo(folder.File().c_str(), 0600), 0);
}

/// As a program that listens there leaves it behind.
void PutSocketInPlaceOfFile(const LogFolder& folder)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(folder.File().string().size(), sizeof address.sun_path) << "set TMPDIR to a shorter path";
    folder.File().string().copy(address.sun_path, sizeof address.sun_path - 1);
    const int nSocket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(::bind(nSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ::close(nSocket);
}

#endif

class UnwritableLog : public testing::TestWithParam<Obstacle>
{
};

TEST_P(UnwritableLog, IsSaidOnStandardErrorOnce)
{
    const LogFolder folder;
    GetParam().fnRaise(folder);
    testing::internal::CaptureStderr();
    // More than a second of lines, so that the log is tried more than once.
    const auto tpEnd = std::chrono::steady_clock::now() + 1500ms;
    while (std::chrono::steady_clock::now() < tpEnd) {
        EXPECT_NO_THROW(Log_Write(1, "Unwritable", 1, "text"));
    }
    const std::string strSaid = testing::internal::GetCapturedStderr();
    EXPECT_THAT(strSaid,
                AllOf(HasSubstr("libclog: " + folder.File().string() + " can't be written"), EndsWith("\n")));
    EXPECT_EQ(std::count(strSaid.begin(), strSaid.end(), '\n'), 1) << strSaid;
    GetParam().fnClear(folder);
}

TEST_P(UnwritableLog, GetsLinesAgainOnceItIsRepairedAndSaysHowManyItMissed)
{
    const LogFolder folder;
    GetParam().fnRaise(folder);
    testing::internal::CaptureStderr();
    Log_Write(1, "Unwritable", 1, "lost");
    Log_Write(1, "Unwritable", 2, "lost too");
    GetParam().fnClear(folder);
    EXPECT_TRUE(WriteUntilHeard(folder));
    testing::internal::GetCapturedStderr();
    EXPECT_THAT(folder.Lines(), ElementsAre(ContainsPattern("error .* Log_Write:1 lines lost: [0-9]+, ."),
                                            EndsWith("Repaired:1 again")));
}

INSTANTIATE_TEST_SUITE_P(
    Obstacles, UnwritableLog,
    testing::Values(Obstacle{"AFileInPlaceOfItsFolder", PutFileInPlaceOfFolder, RemoveFile},
                    Obstacle{"AFolderInItsPlace", PutFolderInPlaceOfFile, RemoveObstacleAtLog}),
    testing::PrintToStringParamName());

#if !defined(_WIN32)
INSTANTIATE_TEST_SUITE_P(
    OfLinux, UnwritableLog,
    testing::Values(Obstacle{"AFullDisk", FillDisk, MakeRoomOnDisk},
                    Obstacle{"ASymbolicLinkInItsPlace", PutLinkInPlaceOfFile, RemoveObstacleAtLog},
                    Obstacle{"APipeInItsPlace", PutPipeInPlaceOfFile, RemoveObstacleAtLog},
                    Obstacle{"ASocketInItsPlace", PutSocketInPlaceOfFile, RemoveObstacleAtLog}),
    testing::PrintToStringParamName());
#endif

// Who names the folder may be another than who reads the terminal.
TEST(LogFile, WithAHostileNameIsNamedOnStandardErrorWithoutHarm)
{
#if defined(_WIN32)
    GTEST_SKIP() << "Windows has no such names";
#endif
    const LogFolder folder;
    const std::filesystem::path pathFile = folder.Path() / "file";
    std::ofstream(pathFile) << "a file";
    const std::string strName = "\x1b]0;title\x07\n\u202egol\xff";
    ::setenv("CLOG_DIR", (pathFile / strName).c_str(), 1);
    testing::internal::CaptureStderr();
    Log_Write(1, "Unwritable", 1, "text");
    const std::string strSaid = testing::internal::GetCapturedStderr();
    const std::string strShown = "file/\\x1b]0;title\\x07\\n\\xe2\\x80\\xaegol\\xff";
    EXPECT_THAT(strSaid, AllOf(HasSubstr(strShown + "/ktshttpagent.log can't be written"), EndsWith("\n")));
    EXPECT_EQ(std::count(strSaid.begin(), strSaid.end(), '\n'), 1) << strSaid;
    EXPECT_FALSE(HoldsUnsafe(strSaid));
    EXPECT_EQ(strSaid.find('\xff'), std::string::npos);
}

TEST(LogFile, IsTriedAgainOnlyASecondAfterAFailure)
{
    const LogFolder folder;
    PutFileInPlaceOfFolder(folder);
    testing::internal::CaptureStderr();
    const auto tpFailed = std::chrono::steady_clock::now();
    Log_Write(1, "Unwritable", 1, "lost");
    RemoveFile(folder);
    EXPECT_TRUE(WriteUntilHeard(folder));
    testing::internal::GetCapturedStderr();
    EXPECT_GE(std::chrono::steady_clock::now() - tpFailed, 1s);
}
