// Who can access the files of the log, and that nothing else is written.

#include "LogFolder.h"

#include <ktshttpagent/clog.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <future>
#include <iterator>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;

namespace
{

/// The mode in octal digits.
std::string Mode(const fs::path& path)
{
    struct stat status {
    };
    if (::lstat(path.c_str(), &status) != 0) {
        return "missing";
    }
    char text[8];
    std::snprintf(text, sizeof text, "%04o", status.st_mode & 07777U);
    return text;
}

std::string Content(const fs::path& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

void Write(const fs::path& path, const std::string& strText, mode_t nMode)
{
    std::ofstream(path) << strText;
    ASSERT_EQ(::chmod(path.c_str(), nMode), 0);
}

/// Makes every line rotate the file with the previous one.
void PutAsideEachLine()
{
    ::setenv("CLOG_FILE_BYTES", "1", 1);
    ::setenv("CLOG_FILES", "3", 1);
}

/// Logs a line and expects that it is lost for a reason that contains the text.
void ExpectLostLine(const LogFolder& folder, const std::string& strReason)
{
    testing::internal::CaptureStderr();
    Log_Write(1, "Refused", 1, "lost");
    const std::string strSaid = testing::internal::GetCapturedStderr();
    EXPECT_THAT(strSaid, HasSubstr(folder.File().string() + " can't be written"));
    EXPECT_THAT(strSaid, HasSubstr(strReason));
}

} // namespace

class LogUnderUmask : public testing::TestWithParam<mode_t>
{
protected:
    LogUnderUmask() : m_nBefore(::umask(GetParam())) {}
    ~LogUnderUmask() override { ::umask(m_nBefore); }

    const LogFolder m_folder; ///< created before the umask is set

private:
    const mode_t m_nBefore;
};

TEST_P(LogUnderUmask, IsForItsOwnerAlone)
{
    const fs::path folder = m_folder.Path() / "above" / "log";
    ::setenv("CLOG_DIR", folder.c_str(), 1);
    PutAsideEachLine();
    for (int nLine = 1; nLine <= 3; ++nLine) {
        Log_Write(1, "Private", nLine, "text");
    }
    EXPECT_EQ(Mode(folder.parent_path()), "0700");
    EXPECT_EQ(Mode(folder), "0700");
    for (const char* szName : {"ktshttpagent.log", "ktshttpagent.1.log", "ktshttpagent.2.log"}) {
        EXPECT_EQ(Mode(folder / szName), "0600") << szName;
    }
}

INSTANTIATE_TEST_SUITE_P(Masks, LogUnderUmask, testing::Values(0, 0022, 0077, 0277),
                         [](const auto& mask) { return "Of" + std::to_string(mask.param); });

TEST(LogPrivacy, IsGivenToFilesOfAnEarlierProcess)
{
    const LogFolder folder;
    Write(folder.File(), "earlier\n", 0644);
    Write(folder.File(1), "before that\n", 0666);
    Write(folder.File(2), "long ago\n", 0604);
    Write(folder.File(4), "behind a gap\n", 0644);
    Write(folder.File(5), "the oldest\n", 0644);
    Log_Write(1, "Next", 1, "text");
    for (const std::size_t nAside : {0U, 1U, 2U, 4U, 5U}) {
        EXPECT_EQ(Mode(folder.File(nAside)), "0600") << nAside;
    }
    EXPECT_THAT(folder.Lines(), ElementsAre("earlier", EndsWith("Next:1 text")));
    EXPECT_THAT(folder.Lines(1), ElementsAre("before that"));
}

namespace
{

int g_nLeased = -1;

extern "C" void GiveUpLease(int /*nSignal*/)
{
    ::fcntl(g_nLeased, F_SETLEASE, F_UNLCK);
}

} // namespace

// A file server takes such a lease on a file that one of its clients has cached.
TEST(LogPrivacy, WaitsUntilALeaseOnTheFileIsGivenUpEachTime)
{
    const LogFolder folder;
    ::signal(SIGIO, GiveUpLease); // sent by the system when somebody opens the file
    for (const int nTime : {1, 2}) {
        fs::remove(folder.File());
        Write(folder.File(), "earlier\n", 0600);
        g_nLeased = ::open(folder.File().c_str(), O_RDONLY | O_CLOEXEC);
        if (::fcntl(g_nLeased, F_SETLEASE, F_RDLCK) != 0) {
            GTEST_SKIP() << "no leases on files here: " << std::strerror(errno);
        }
        Log_Write(1, "Leased", nTime, "text");
        EXPECT_THAT(folder.Lines(),
                    ElementsAre("earlier", EndsWith("Leased:" + std::to_string(nTime) + " text")));
        ::close(g_nLeased);
    }
}

TEST(LogPrivacy, LeavesAFolderAsTheSiteMadeIt)
{
    const LogFolder folder;
    ASSERT_EQ(::chmod(folder.Path().c_str(), 0755), 0);
    Log_Write(1, "Site", 1, "text");
    EXPECT_EQ(Mode(folder.Path()), "0755");
    EXPECT_THAT(folder.Lines(), SizeIs(1));
}

TEST(LogPrivacy, AFolderMayBeASymbolicLink)
{
    const LogFolder folder;
    fs::create_directory(folder.Path() / "real");
    fs::create_directory_symlink("real", folder.Path() / "link");
    ::setenv("CLOG_DIR", (folder.Path() / "link").c_str(), 1);
    Log_Write(1, "Site", 1, "text");
    EXPECT_TRUE(fs::exists(folder.Path() / "real/ktshttpagent.log"));
}

TEST(LogPrivacy, LeavesAloneWhatALinkInTheLogsPlacePointsTo)
{
    const LogFolder folder;
    const fs::path victim = folder.Path() / "victim";
    Write(victim, "precious\n", 0644);
    fs::create_symlink(victim, folder.File());
    ExpectLostLine(folder, "it is a symbolic link");
    EXPECT_EQ(Content(victim), "precious\n");
    EXPECT_EQ(Mode(victim), "0644");
}

TEST(LogPrivacy, MakesNoFileThatALinkInTheLogsPlacePointsTo)
{
    const LogFolder folder;
    fs::create_symlink(folder.Path() / "victim", folder.File());
    ExpectLostLine(folder, "it is a symbolic link");
    EXPECT_EQ(Mode(folder.Path() / "victim"), "missing");
}

TEST(LogPrivacy, NoticesThatALinkTookTheLogsPlace)
{
    const LogFolder folder;
    const fs::path victim = folder.Path() / "victim";
    Write(victim, "precious\n", 0644);
    Log_Write(1, "Before", 1, "text");
    fs::rename(folder.File(), folder.Path() / "moved");
    fs::create_symlink(victim, folder.File());
    ExpectLostLine(folder, "it is a symbolic link");
    EXPECT_EQ(Content(victim), "precious\n");
}

TEST(LogPrivacy, NoticesThatAnotherFileTookTheLogsPlace)
{
    const LogFolder folder;
    Log_Write(1, "Before", 1, "text");
    fs::rename(folder.File(), folder.Path() / "moved");
    Write(folder.File(), "", 0600);
    Log_Write(1, "After", 1, "text");
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("After:1 text")));
}

TEST(LogPrivacy, LeavesAloneWhatLinksInThePlaceOfFilesPutAsidePointTo)
{
    const LogFolder folder;
    PutAsideEachLine();
    const fs::path victim = folder.Path() / "victim";
    Write(victim, "precious\n", 0644);
    for (const std::size_t nAside : {1U, 2U, 3U}) {
        fs::create_symlink(victim, folder.File(nAside));
    }
    for (int nLine = 1; nLine <= 5; ++nLine) {
        Log_Write(1, "Rotation", nLine, "text");
        EXPECT_EQ(Content(victim), "precious\n") << nLine;
    }
    EXPECT_EQ(Mode(victim), "0644");
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("Rotation:5 text")));
    EXPECT_THAT(folder.Lines(3), ElementsAre(EndsWith("Rotation:2 text")));
    EXPECT_FALSE(fs::is_symlink(folder.File(3)));
}

// Opening a pipe for writing would wait for a reader.
TEST(LogPrivacy, APipeHoldsUpNoCaller)
{
    const LogFolder folder;
    ASSERT_EQ(::mkfifo(folder.File().c_str(), 0600), 0);
    testing::internal::CaptureStderr();
    std::future<void> written = std::async(std::launch::async, [] { Log_Write(1, "Pipe", 1, "text"); });
    EXPECT_EQ(written.wait_for(60s), std::future_status::ready);
    const int nReader = ::open(folder.File().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); // would release it
    written.wait();
    testing::internal::GetCapturedStderr();
    ::close(nReader);
}

TEST(LogPrivacy, AReaderAtAPipeHearsNothing)
{
    const LogFolder folder;
    ASSERT_EQ(::mkfifo(folder.File().c_str(), 0600), 0);
    const int nReader = ::open(folder.File().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ExpectLostLine(folder, "it is no regular file");
    char text[100];
    EXPECT_EQ(::read(nReader, text, sizeof text), 0);
    ::close(nReader);
}

TEST(LogPrivacy, ADeviceIsLeftAlone)
{
    const LogFolder folder;
    if (::mknod(folder.File().c_str(), S_IFCHR | 0666, ::makedev(1, 3)) != 0) {
        GTEST_SKIP() << "only root can create devices, and not everywhere";
    }
    ExpectLostLine(folder, "it is no regular file");
}
