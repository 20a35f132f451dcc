// A file that others may not use, when the system refuses what it rarely refuses.

#include "platform/system/OwnersFile.h"

#include "LogFolder.h"
#include "ProcessUse.h"
#include "SystemCalls.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;
using testing::StartsWith;

namespace
{

class OpenFile : public testing::Test
{
protected:
    OpenFile()
    {
        std::ofstream(m_path) << "text";
        fs::permissions(m_path, fs::perms(0644));
    }

    fs::perms Mode() const { return fs::symlink_status(m_path).permissions(); }

    const LogFolder m_folder;
    const fs::path m_path = m_folder.Path() / "open";
};

} // namespace

// The error of the C library without /proc, where it would check whether the file is a link.
TEST_F(OpenFile, IsTakenFromOthersWhereTheSystemKnowsNoModeOfALink)
{
    const FailingCall mode("fchmodat", EOPNOTSUPP);
    KeepToOwner(m_path);
    EXPECT_EQ(Mode(), fs::perms(0600));
}

TEST_F(OpenFile, ThatBecomesALinkMeanwhileLeavesItsTargetAlone)
{
    const fs::path target = m_folder.Path() / "target";
    const FailingCall mode("fchmodat", EOPNOTSUPP, 0, 1, [&] {
        fs::rename(m_path, target);
        fs::create_symlink(target, m_path);
    });
    KeepToOwner(m_path);
    ASSERT_TRUE(fs::is_symlink(m_path));
    EXPECT_EQ(fs::status(target).permissions(), fs::perms(0644));
}

TEST_F(OpenFile, OfOnesOwnIsTakenAsItIsWhereItsModeCanNotBeSet)
{
    const FailingCall mode("fchmodat", EOPNOTSUPP);
    const FailingCall modeOfTarget("chmod", EPERM);
    KeepToOwner(m_path);
    EXPECT_EQ(Mode(), fs::perms(0644));
}

TEST_F(OpenFile, OfAnotherUserWhoseModeCanNotBeSetIsRefused)
{
    const FailingCall mode("fchmodat", EOPNOTSUPP);
    const FailingCall modeOfTarget("chmod", EPERM);
    const OtherUser user;
    try {
        KeepToOwner(m_path);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), StartsWith("it is open to other users, and can't be taken from them: "));
    }
}

TEST_F(OpenFile, ThatIsAFolderIsLeftAlone)
{
    const fs::path folder = m_folder.Path() / "folder";
    fs::create_directory(folder);
    fs::permissions(folder, fs::perms(0755));
    KeepToOwner(folder);
    EXPECT_EQ(fs::status(folder).permissions(), fs::perms(0755));
}

// The caller that then opens it will notice that it is gone.
TEST_F(OpenFile, ThatWasThereAndIsGoneIsNoLink)
{
    const FailingCall asking("lstat", ENOENT);
    EXPECT_NO_THROW(MakeOwnersFile(m_path));
}

TEST_F(OpenFile, OfAnotherUserIsTakenFromOthersWhereThatIsPossible)
{
    const OtherUser user;
    KeepToOwner(m_path);
    EXPECT_EQ(Mode(), fs::perms(0600));
    fs::permissions(m_path, fs::perms(0644));
    const FailingCall mode("fchmodat", EOPNOTSUPP);
    KeepToOwner(m_path);
    EXPECT_EQ(Mode(), fs::perms(0600));
}

TEST_F(OpenFile, ThatCanNotBeMadeSaysWhy)
{
    try {
        MakeOwnersFile(m_folder.Path() / "missing" / "file");
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "it can't be made: No such file or directory");
    }
}

TEST_F(OpenFile, KeepsWhatItsOwnerMayDo)
{
    for (const auto& [nBefore, nAfter] : {std::pair(0601U, 0600U), std::pair(0755U, 0700U)}) {
        fs::permissions(m_path, fs::perms(nBefore));
        KeepToOwner(m_path);
        EXPECT_EQ(Mode(), fs::perms(nAfter));
    }
}

TEST_F(OpenFile, WhoseModeTheSystemRefusesToSetIsNotTriedByAnotherCall)
{
    const FailingCall mode("fchmodat", EPERM);
    KeepToOwner(m_path);
    EXPECT_EQ(Mode(), fs::perms(0644));
}

TEST(FileOfItsOwner, OfAnotherUserThatIsNotOpenIsTakenAsItIs)
{
    const LogFolder folder;
    MakeOwnersFile(folder.Path() / "file");
    const OtherUser user;
    const FailingCall mode("fchmodat", EPERM);
    EXPECT_NO_THROW(KeepToOwner(folder.Path() / "file"));
}

// As in a program that has no standard input: its descriptor is the first to be reused.
TEST(FileOfItsOwner, IsMadeByAnyDescriptorWhateverTheUmask)
{
    const LogFolder folder;
    const std::size_t nBefore = OpenDescriptors();
    for (const char* szName : {"one", "two"}) {
        const mode_t nMask = ::umask(0777);
        MakeOwnersFile(folder.Path() / szName);
        ::umask(nMask);
        EXPECT_EQ(fs::status(folder.Path() / szName).permissions(), fs::perms(0600)) << szName;
        ::close(STDIN_FILENO);
        EXPECT_EQ(OpenDescriptors(), nBefore - 1) << szName;
    }
}

TEST(FileOfItsOwner, IsNotMadeThroughALink)
{
    const LogFolder folder;
    fs::create_symlink("target", folder.Path() / "link");
    try {
        MakeOwnersFile(folder.Path() / "link");
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "it is a symbolic link; name the file itself");
    }
    EXPECT_FALSE(fs::exists(folder.Path() / "target"));
}
