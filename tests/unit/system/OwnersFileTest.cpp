// A file that others may not use, where the system refuses what it seldom refuses.

#include "platform/system/OwnersFile.h"

#include "LogFolder.h"
#include "SystemCalls.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <string>

#include <sys/stat.h>

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

// As the C library says where there is no /proc, in which it would look whether the file is a link.
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

// Whoever opens it will find out what became of it.
TEST_F(OpenFile, ThatWasThereAndIsGoneIsNoLink)
{
    const FailingCall asking("lstat", ENOENT);
    EXPECT_NO_THROW(MakeOwnersFile(m_path));
}
