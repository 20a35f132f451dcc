// What happens to lines and settings when the log can't be written, rotated or formatted.

#include "LogFolder.h"

#include <ktshttpagent/clog.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include <poll.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <unistd.h>

namespace fs = std::filesystem;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

namespace
{

/// Limits the size of files that this process may write, for as long as the object lives.
class SmallFiles
{
public:
    explicit SmallFiles(rlim_t nBytes)
    {
        ::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit small{nBytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &small);
    }
    ~SmallFiles() { ::setrlimit(RLIMIT_FSIZE, &m_before); }
    SmallFiles(const SmallFiles&) = delete;
    SmallFiles& operator=(const SmallFiles&) = delete;

private:
    rlimit m_before{};
};

/// Logs lines until the file holds one that ends with the text; the log tries again once a second.
void LogUntilWritten(const LogFolder& folder, const std::string& strText)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    do {
        Log_Write(1, "Failing", 1, "%s", strText.c_str());
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    } while (std::chrono::steady_clock::now() < end &&
             !testing::Matches(Contains(EndsWith(strText)))(folder.Lines()));
}

} // namespace

TEST(LogFailure, OfWritingASettingThatIsNotInForceSaysItLater)
{
    const LogFolder folder;
    const std::string strLong(3'000, 'x');
    ::setenv("CLOG_LEVEL", strLong.c_str(), 1);
    {
        const SmallFiles small(1'000);
        testing::internal::CaptureStderr();
        Log_Write(1, "Failing", 1, "lost");
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("File too large"));
        // The next try first has to write how many lines were lost, and fails at that.
        std::this_thread::sleep_for(std::chrono::milliseconds(1'100));
        Log_Write(1, "Failing", 1, "lost");
    }
    LogUntilWritten(folder, "written");
    EXPECT_THAT(folder.Lines(),
                AllOf(Contains(HasSubstr("Log_Write:1 lines lost: ")),
                      Contains(HasSubstr("Log_Write:2 CLOG_LEVEL=\"" + strLong + "\" is no number"))));
}

TEST(LogFailure, IsOverForTheFirstLineAfterASecond)
{
    const LogFolder folder;
    fs::create_directory(folder.File());
    testing::internal::CaptureStderr();
    Log_Write(1, "Failing", 1, "lost");
    testing::internal::GetCapturedStderr();
    fs::remove(folder.File());
    std::this_thread::sleep_for(std::chrono::seconds(1));
    Log_Write(1, "Failing", 2, "written");
    EXPECT_THAT(folder.Lines(), ElementsAre(HasSubstr("lines lost: 1, "), EndsWith("Failing:2 written")));
}

TEST(LogFailure, OfMovingAFileAsideLosesItsLinesAndSaysSo)
{
    const LogFolder folder;
    ::setenv("CLOG_FILE_BYTES", "1", 1);
    ::setenv("CLOG_FILES", "1", 1);
    Log_Write(1, "Failing", 1, "first");
    fs::create_directories(folder.File(1) / "in the way");
    testing::internal::CaptureStderr();
    Log_Write(1, "Failing", 2, "second");
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("Failed renaming " + folder.File().string() + " to " + folder.File(1).string()));
    EXPECT_THAT(folder.Lines(), IsEmpty());
}

// A host may have reached its limit of open files. The log has one of them, and opens no further one.
TEST(LogFailure, OfAHostToOpenMoreFilesHindersNoLogThatWasRemoved)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer itself needs descriptors to inspect memory";
#endif
    const LogFolder folder;
    Log_Write(1, "Failing", 1, "first");
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    fs::remove(folder.File());
    const int nNext = ::dup(STDERR_FILENO);
    ::close(nNext);
    const rlimit none{static_cast<rlim_t>(nNext), before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    Log_Write(1, "Failing", 2, "second");
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("Failing:2 second")));
}

TEST(LogFailure, IsNotLookedForByOpeningTheFileForEachLine)
{
    const LogFolder folder;
    Log_Write(1, "Failing", 1, "first");
    const int nWatch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(::inotify_add_watch(nWatch, folder.File().c_str(), IN_OPEN), 0);
    Log_Write(1, "Failing", 2, "second");
    pollfd opened{nWatch, POLLIN, 0};
    EXPECT_EQ(::poll(&opened, 1, 0), 0);
    static_cast<void>(folder.Lines());
    EXPECT_EQ(::poll(&opened, 1, 0), 1) << "opening a file must be noticed";
    ::close(nWatch);
}

TEST(LogFailure, OfFormattingLogsTheFormat)
{
    const LogFolder folder;
    const wchar_t aNoCharacter[] = {static_cast<wchar_t>(0x7fffffff), 0};
    Log_Write(1, "Failing", 1, "before %ls after", aNoCharacter);
    EXPECT_THAT(folder.Lines(), Contains(EndsWith("Failing:1 before %ls after")));
}

TEST(LogFailure, OfFindingTheFolderThatAProcessStandsInKeepsTheNameOfTheLogs)
{
    const LogFolder folder;
    const fs::path before = fs::current_path();
    fs::create_directory(folder.Path() / "gone");
    fs::current_path(folder.Path() / "gone");
    fs::remove(folder.Path() / "gone");
    ::setenv("CLOG_DIR", "logs", 1);
    EXPECT_STREQ(Log_Folder(), "logs");
    fs::current_path(before);
}
