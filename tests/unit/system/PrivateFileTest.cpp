// A file for its owner alone, and folders for it, where the system refuses what it seldom refuses.

#include "platform/system/PrivateFile.h"

#include "LogFolder.h"
#include "SystemCalls.h"
#include "platform/system/PrivateFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include <sys/stat.h>

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace
{

std::size_t OpenDescriptors()
{
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

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
    /// Makes one that everybody may read.
    void MakeOpenFile() const
    {
        std::ofstream(m_path) << "earlier\n";
        fs::permissions(m_path, fs::perms(0644));
    }

    /// @param strDoing  what the error's text is to say that failed
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
    const FailingCall opening("open", EWOULDBLOCK);
    ExpectFailure(EWOULDBLOCK, "opening", [&] { PrivateFile file(m_path); });
}

TEST_F(OwnFile, ThatTakesNothingOfATextIsFull)
{
    PrivateFile file(m_path);
    const FailingCall writing("write", 0);
    ExpectFailure(ENOSPC, "writing to", [&] { file.Append("text"); });
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

TEST(OwnFolder, IsMadeWhereTheProcessStands)
{
    const LogFolder folder;
    const fs::path before = fs::current_path();
    fs::current_path(folder.Path());
    MakePrivateFolders("one");
    fs::current_path(before);
    EXPECT_EQ(Mode(folder.Path() / "one"), 0700U);
}

TEST(OwnFolder, WithoutANameIsRefused)
{
    EXPECT_THROW(MakePrivateFolders(""), fs::filesystem_error);
}
