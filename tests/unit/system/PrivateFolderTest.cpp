// Folders for their owner alone, when the system refuses what it rarely refuses.

#include "platform/system/PrivateFolder.h"

#include "LogFolder.h"
#include "SystemCalls.h"

#include <gtest/gtest.h>

#include <cerrno>

#include <sys/stat.h>

namespace fs = std::filesystem;

namespace
{

fs::perms Permissions(const fs::path& path)
{
    return fs::symlink_status(path).permissions();
}

} // namespace

TEST(OwnFolder, IsMadeWhereTheProcessStands)
{
    const LogFolder folder;
    const fs::path before = fs::current_path();
    fs::current_path(folder.Path());
    MakePrivateFolders("one");
    fs::current_path(before);
    EXPECT_EQ(Permissions(folder.Path() / "one"), fs::perms(0700));
}

TEST(OwnFolder, WithoutANameIsRefused)
{
    EXPECT_THROW(MakePrivateFolders(""), fs::filesystem_error);
}

TEST(OwnFolder, IsMadeForItsOwnerAloneAtOnce)
{
    const LogFolder folder;
    const FailingCall mode("fchmodat", EPERM);
    ::umask(0);
    MakePrivateFolders(folder.Path() / "above" / "folder");
    EXPECT_EQ(Permissions(folder.Path() / "above"), fs::perms(0700));
    EXPECT_EQ(Permissions(folder.Path() / "above" / "folder"), fs::perms(0700));
}
