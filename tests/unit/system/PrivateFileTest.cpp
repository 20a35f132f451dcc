// A file for its owner alone, when the system refuses what it rarely refuses.

#include "platform/system/PrivateFile.h"

#include "LogFolder.h"
#include "ProcessUse.h"
#include "SystemCalls.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace
{

std::string Content(const fs::path& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

mode_t Mode(const fs::path& path)
{
    struct stat status {
    };
    EXPECT_EQ(::lstat(path.c_str(), &status), 0);
    return status.st_mode & 07777U;
}

class OwnFile : public testing::Test
{
protected:
    /// Creates one that everybody may read.
    void MakeOpenFile() const
    {
        std::ofstream(m_path) << "earlier\n";
        fs::permissions(m_path, fs::perms(0644));
    }

    /// @param strDoing  what failed, according to the error's text
    void ExpectFailure(int nError, const std::string& strDoing, const std::function<void()>& fn) const
    {
        try {
            fn();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const std::system_error& error) {
            EXPECT_EQ(error.code().value(), nError);
            EXPECT_THAT(error.what(), HasSubstr("Failed " + strDoing + " file " + m_path.string()));
        }
    }

    const LogFolder m_folder;
    const fs::path m_path = m_folder.Path() / "private";
};

} // namespace

TEST_F(OwnFile, OfWhichTheSystemTellsNothingIsClosedAgain)
{
    const std::size_t nBefore = OpenDescriptors();
    const FailingCall asking("fstat", EIO);
    ExpectFailure(EIO, "asking about", [&] { PrivateFile file(m_path); });
    EXPECT_EQ(OpenDescriptors(), nBefore);
}

TEST_F(OwnFile, WhoseSizeTheSystemDoesNotTellSaysSo)
{
    const PrivateFile file(m_path);
    const FailingCall asking("fstat", EIO);
    ExpectFailure(EIO, "asking about", [&] { static_cast<void>(file.Size()); });
}

TEST_F(OwnFile, ThatCanNotBeEmptiedSaysSo)
{
    PrivateFile file(m_path);
    const FailingCall emptying("ftruncate", EIO);
    ExpectFailure(EIO, "emptying", [&] { file.Truncate(); });
}

TEST_F(OwnFile, WithALeaseThatIsNotGivenUpIsNotWaitedForLong)
{
    const FailingCall opening("open", EWOULDBLOCK, 0, 10);
    const auto tpBegin = std::chrono::steady_clock::now();
    ExpectFailure(EWOULDBLOCK, "opening", [&] { PrivateFile file(m_path); });
    EXPECT_GE(std::chrono::steady_clock::now() - tpBegin, std::chrono::milliseconds(90));
}

TEST_F(OwnFile, ThatTakesNothingOfATextIsFull)
{
    PrivateFile file(m_path);
    const FailingCall writing("write", 0, 0, 1);
    errno = EINTR; // left by an earlier call
    ExpectFailure(ENOSPC, "writing to", [&] { file.Append("text"); });
}

TEST_F(OwnFile, TakesATextOfOneByte)
{
    PrivateFile file(m_path);
    file.Append("x");
    EXPECT_EQ(Content(m_path), "x");
}

TEST_F(OwnFile, IsWrittenOnAfterASignal)
{
    PrivateFile file(m_path);
    const FailingCall writing("write", EINTR, 0, 2);
    file.Append("text");
    EXPECT_EQ(Content(m_path), "text");
}

TEST_F(OwnFile, ThatWasMovedIsClosedOnce)
{
    const std::size_t nBefore = OpenDescriptors();
    {
        std::optional<PrivateFile> optFirst(std::in_place, m_path);
        PrivateFile second(std::move(*optFirst));
        optFirst.reset();
        second.Append("text");
    }
    EXPECT_EQ(Content(m_path), "text");
    EXPECT_EQ(OpenDescriptors(), nBefore);
}

// As in a host that has no standard input. The error of an earlier call does not matter.
TEST_F(OwnFile, MayHaveTheFirstOfAllDescriptors)
{
    MakeOpenFile();
    const std::size_t nBefore = OpenDescriptors();
    ::close(STDIN_FILENO);
    errno = EWOULDBLOCK;
    {
        const PrivateFile file(m_path);
        EXPECT_EQ(OpenDescriptors(), nBefore);
        EXPECT_EQ(::fcntl(STDIN_FILENO, F_GETFD), FD_CLOEXEC);
    }
    EXPECT_EQ(OpenDescriptors(), nBefore - 1);
    fs::permissions(m_path, fs::perms(0644));
    MakeFilePrivate(m_path);
    EXPECT_EQ(Mode(m_path), 0600U);
    EXPECT_EQ(OpenDescriptors(), nBefore - 1);
}

TEST_F(OwnFile, IsOpenedOnceALeaseOnItIsGivenUpInTheLastMoment)
{
    const FailingCall opening("open", EWOULDBLOCK, 0, 9);
    EXPECT_NO_THROW(PrivateFile file(m_path));
    EXPECT_EQ(Mode(m_path), 0600U);
}

TEST_F(OwnFile, IsNotTriedAgainWhereTheSystemRefusesItForAnotherReason)
{
    const FailingCall opening("open", EACCES, 0, 1);
    ExpectFailure(EACCES, "opening", [&] { PrivateFile file(m_path); });
}

// A reader of the pipe would take an open and close for a writer that came and went.
TEST_F(OwnFile, ThatIsAPipeIsNotEvenOpened)
{
    ASSERT_EQ(::mkfifo(m_path.c_str(), 0600), 0);
    const int nReader = ::open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_THROW(PrivateFile file(m_path), std::runtime_error);
    pollfd reader{nReader, POLLIN, 0};
    EXPECT_EQ(::poll(&reader, 1, 0), 0);
    const int nWatch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(::inotify_add_watch(nWatch, m_path.c_str(), IN_OPEN), 0);
    MakeFilePrivate(m_path);
    pollfd opened{nWatch, POLLIN, 0};
    EXPECT_EQ(::poll(&opened, 1, 0), 0);
    ::close(nWatch);
    ::close(nReader);
}

TEST_F(OwnFile, InWhosePlaceAPipeComesMeanwhileIsRefused)
{
    ASSERT_EQ(::mkfifo(m_path.c_str(), 0600), 0);
    const int nReader = ::open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const std::size_t nBefore = OpenDescriptors();
    const FailingCall asking("lstat", ENOENT);
    EXPECT_THROW(PrivateFile file(m_path), std::runtime_error);
    EXPECT_EQ(OpenDescriptors(), nBefore);
    ::close(nReader);
}

TEST_F(OwnFile, ThatIsAssignedIsTheOtherOne)
{
    const fs::path other = m_folder.Path() / "other";
    std::optional<PrivateFile> optFile;
    {
        const OtherDevice device;
        optFile.emplace(m_path);
    }
    *optFile = PrivateFile(other);
    EXPECT_TRUE(optFile->IsInPlace());
    optFile->Append("text");
    EXPECT_EQ(Content(other), "text");
    fs::remove(other);
    EXPECT_FALSE(optFile->IsInPlace());
}

TEST_F(OwnFile, OfTheSameNumberOnAnotherDeviceIsAnother)
{
    const PrivateFile file(m_path);
    EXPECT_TRUE(file.IsInPlace());
    const OtherDevice device;
    EXPECT_FALSE(file.IsInPlace());
}

TEST_F(OwnFile, OfAnotherUserKeepsItsMode)
{
    MakeOpenFile();
    const OtherUser user;
    PrivateFile(m_path).Append("text\n");
    EXPECT_EQ(Mode(m_path), 0644U);
    EXPECT_EQ(Content(m_path), "earlier\ntext\n");
}

// Setting the mode again would change the time of the file's last status change.
TEST_F(OwnFile, ThatIsPrivateAlreadyIsLeftSo)
{
    ::umask(0);
    const FailingCall mode("fchmod", EPERM, 0, FailingCall::ALWAYS,
                           [] { ADD_FAILURE() << "the mode was set"; });
    static_cast<void>(PrivateFile(m_path));
    EXPECT_EQ(Mode(m_path), 0600U) << "it was made so";
    static_cast<void>(PrivateFile(m_path));
    MakeFilePrivate(m_path);
}

TEST_F(OwnFile, OfEarlierIsNotOpenedForWriting)
{
    MakeOpenFile();
    const int nWatch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(::inotify_add_watch(nWatch, m_path.c_str(), IN_CLOSE_WRITE), 0);
    MakeFilePrivate(m_path);
    EXPECT_EQ(Mode(m_path), 0600U);
    pollfd closed{nWatch, POLLIN, 0};
    EXPECT_EQ(::poll(&closed, 1, 0), 0);
    ::close(nWatch);
}

TEST_F(OwnFile, OfEarlierThatCanNotBeOpenedOrAskedAboutKeepsItsMode)
{
    MakeOpenFile();
    const std::size_t nBefore = OpenDescriptors();
    for (const char* szCall : {"open", "fstat"}) {
        const FailingCall call(szCall, EACCES);
        MakeFilePrivate(m_path);
        EXPECT_EQ(Mode(m_path), 0644U) << szCall;
    }
    EXPECT_EQ(OpenDescriptors(), nBefore);
    MakeFilePrivate(m_path);
    EXPECT_EQ(Mode(m_path), 0600U);
}
