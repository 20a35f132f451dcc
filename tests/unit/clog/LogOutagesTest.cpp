// What happens to lines while the log can't be written, the first time and again.

#include "ContainsPattern.h"
#include "LogFolder.h"
#include "UnsafeTexts.h"

#include <ktshttpagent/clog.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
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

namespace
{

/// Writes lines until one of them is in the log.
/// @return how many were lost before; -1 when none was written in time
int LostUntilHeard(const LogFolder& folder)
{
    const auto tpEnd = std::chrono::steady_clock::now() + 20s;
    for (int nLost = 0; std::chrono::steady_clock::now() < tpEnd; ++nLost) {
        Log_Write(1, "Repaired", 1, "again");
        if (!folder.Lines().empty()) {
            return nLost;
        }
        std::this_thread::sleep_for(10ms);
    }
    return -1;
}

/// Writes lines for more than a second, so that the log tries more than once.
/// @return how many
int WriteThroughTries()
{
    int nWritten = 0;
    const auto tpEnd = std::chrono::steady_clock::now() + 1500ms;
    for (; std::chrono::steady_clock::now() < tpEnd; ++nWritten) {
        EXPECT_NO_THROW(Log_Write(1, "Unwritable", 1, "text"));
        std::this_thread::sleep_for(1ms);
    }
    return nWritten;
}

/// Matches the line that says how many were lost.
testing::Matcher<std::string> Tells(int nLost)
{
    return ContainsPattern("error .* Log_Write:1 lines lost: " + std::to_string(nLost) + ", .");
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

#if !defined(_WIN32) // Windows has none of these

void LimitFileSizes(rlim_t nBytes)
{
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    limit.rlim_cur = nBytes;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
}

/// Leaves no room for the log to grow. The output on standard error is shorter.
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

/// A socket such as a program that listened there leaves behind.
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
protected:
    void Raise() const { GetParam().fnRaise(m_folder); }
    void Clear() const { GetParam().fnClear(m_folder); }

    const LogFolder m_folder;
};

} // namespace

TEST_P(UnwritableLog, IsSaidOnStandardErrorOnce)
{
    Raise();
    testing::internal::CaptureStderr();
    WriteThroughTries();
    const std::string strSaid = testing::internal::GetCapturedStderr();
    EXPECT_THAT(strSaid, AllOf(HasSubstr("libclog: " + m_folder.File().string() + " can't be written"),
                               EndsWith("\n")));
    EXPECT_EQ(std::count(strSaid.begin(), strSaid.end(), '\n'), 1) << strSaid;
    Clear();
}

TEST_P(UnwritableLog, GetsLinesAgainOnceItIsRepairedAndSaysHowManyItMissed)
{
    testing::internal::CaptureStderr();
    Raise();
    Log_Write(1, "Unwritable", 1, "lost");
    Log_Write(4, "Unwritable", 2, "not to be written anyway");
    Log_Write(1, "Unwritable", 3, "lost too");
    Clear();
    const int nLost = 2 + LostUntilHeard(m_folder);
    testing::internal::GetCapturedStderr();
    EXPECT_THAT(m_folder.Lines(), ElementsAre(Tells(nLost), EndsWith("Repaired:1 again")));
}

TEST_P(UnwritableLog, ForgetsNothingInTriesThatFail)
{
    ::setenv("CLOG_FILES", "many", 1);
    Raise();
    testing::internal::CaptureStderr();
    const int nBefore = WriteThroughTries();
    Clear();
    const int nLost = nBefore + LostUntilHeard(m_folder);
    testing::internal::GetCapturedStderr();
    EXPECT_THAT(m_folder.Lines(),
                ElementsAre(Tells(nLost), HasSubstr("CLOG_FILES=\"many\""), EndsWith("Repaired:1 again")));
}

TEST_P(UnwritableLog, CountsAndWaitsInEachOutageAnew)
{
#if defined(_WIN32)
    GTEST_SKIP() << "Windows lets nobody remove a file that is open";
#endif
    testing::internal::CaptureStderr();
    for (const int nBefore : {3, 1, 2}) {
        const auto tpFailed = std::chrono::steady_clock::now();
        Raise();
        for (int nLine = 1; nLine <= nBefore; ++nLine) {
            Log_Write(1, "Unwritable", nLine, "lost");
        }
        Clear();
        const int nLost = nBefore + LostUntilHeard(m_folder);
        EXPECT_GE(std::chrono::steady_clock::now() - tpFailed, 1s);
        EXPECT_THAT(m_folder.Lines(), ElementsAre(Tells(nLost), EndsWith("Repaired:1 again")));
        std::filesystem::remove(m_folder.File());
    }
    const std::string strSaid = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(strSaid.begin(), strSaid.end(), '\n'), 1) << strSaid;
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

TEST(LogOutages, ASettingThatIsNotInForceIsNamedInOneFileAlone)
{
#if defined(_WIN32)
    GTEST_SKIP() << "Windows lets nobody remove a file that is open";
#endif
    const LogFolder folder;
    ::setenv("CLOG_FILES", "many", 1);
    Log_Write(1, "Removed", 1, "before");
    EXPECT_THAT(folder.Lines(), ElementsAre(HasSubstr("CLOG_FILES=\"many\""), EndsWith("before")));
    std::filesystem::remove(folder.File());
    Log_Write(1, "Removed", 2, "after");
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("Removed:2 after")));
}

// The user who names the folder need not be the one who reads the terminal.
TEST(LogOutages, WithAHostileNameIsNamedOnStandardErrorWithoutHarm)
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

// The reason for a failure names the file too.
TEST(LogOutages, BelowAHostileNameGivesTheReasonOfAFailureWithoutHarm)
{
#if defined(_WIN32)
    GTEST_SKIP() << "Windows has no such names";
#endif
    const LogFolder above;
    const std::filesystem::path pathHostile = above.Path() / "\x1b]0;title\x07\n\u202egol\xff";
    std::filesystem::create_directory(pathHostile);
    ::setenv("TMPDIR", pathHostile.c_str(), 1);
    const LogFolder folder;
    ::unsetenv("TMPDIR");
    std::filesystem::create_directory(folder.File());
    testing::internal::CaptureStderr();
    Log_Write(1, "Unwritable", 1, "text");
    const std::string strSaid = testing::internal::GetCapturedStderr();
    const std::string strReason =
        "Failed opening file " + above.Path().string() + "/\\x1b]0;title\\x07\\n\\xe2\\x80\\xaegol\\xff/";
    EXPECT_THAT(strSaid, AllOf(HasSubstr("lost: " + strReason), EndsWith("\n")));
    EXPECT_EQ(std::count(strSaid.begin(), strSaid.end(), '\n'), 1) << strSaid;
    EXPECT_FALSE(HoldsUnsafe(strSaid));
    std::filesystem::remove(folder.File());
    LostUntilHeard(folder);
    EXPECT_THAT(folder.Lines(), ElementsAre(HasSubstr("lines lost: "), EndsWith("again")));
    EXPECT_THAT(folder.Lines().front(), HasSubstr(strReason));
}
