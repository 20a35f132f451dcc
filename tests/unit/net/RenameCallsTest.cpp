// What a download does when the file system or the kernel can't rename its file. This program replaces the
// system calls, which fail as a test says.

#include "DownloadFixture.h"
#include "ScriptedServer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

std::atomic<int> g_nRenameError = 0; ///< the error of renaming; 0 for none
std::atomic<int> g_nLinkError = 0;
std::atomic<int> g_nReplacingError = 0;
std::atomic<bool> g_bTargetAppears = false; ///< just before the file is linked to it

} // namespace

extern "C" int renameat2(int nFolder, const char* szFrom, int nNewFolder, const char* szTo,
                         unsigned nFlags) noexcept
{
    if (g_nRenameError != 0) {
        errno = g_nRenameError;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_renameat2, nFolder, szFrom, nNewFolder, szTo, nFlags));
}

extern "C" int link(const char* szFrom, const char* szTo) noexcept
{
    if (g_bTargetAppears) {
        ::close(::open(szTo, O_CREAT | O_WRONLY, 0600));
    }
    if (g_nLinkError != 0) {
        errno = g_nLinkError;
        return -1;
    }
    return ::linkat(AT_FDCWD, szFrom, AT_FDCWD, szTo, 0);
}

extern "C" int rename(const char* szFrom, const char* szTo) noexcept
{
    if (g_nReplacingError != 0) {
        errno = g_nReplacingError;
        return -1;
    }
    return ::renameat(AT_FDCWD, szFrom, AT_FDCWD, szTo);
}

namespace
{

class RenamingDownload : public Download
{
protected:
    /// Expects that the whole file is received, whatever happens to its name.
    void ExpectBrought()
    {
        const ScriptedServer server(ServerStep{HttpReply(200, "content")});
        EXPECT_TRUE(Run(QString::fromStdString(server.Url("/file"))));
    }
};

TEST_F(RenamingDownload, IsNotCopiedWhereItCannotBeRenamed)
{
    for (const int nError : {EXDEV, EACCES, EIO}) {
        g_nRenameError = nError;
        g_nLinkError = nError;
        ExpectBrought();
        EXPECT_TRUE(Files().isEmpty()) << "after " << nError;
        QFile::remove(Target());
    }
}

TEST_F(RenamingDownload, IsLinkedWhereTheFileSystemCannotRenameSo)
{
    for (const int nError : {EINVAL, ENOSYS}) {
        g_nRenameError = nError;
        ExpectBrought();
        EXPECT_EQ(Files(), QStringList{"file.bin"}) << "after " << nError;
        EXPECT_EQ(Content(), "content");
        QFile::remove(Target());
    }
}

TEST_F(RenamingDownload, ClaimsItsNameWhereThereAreNoLinksEither)
{
    g_nRenameError = EINVAL;
    for (const int nError : {EPERM, ENOSYS, EOPNOTSUPP}) {
        g_nLinkError = nError;
        ExpectBrought();
        EXPECT_EQ(Files(), QStringList{"file.bin"}) << "after " << nError;
        EXPECT_EQ(Content(), "content");
        QFile::remove(Target());
    }
}

TEST_F(RenamingDownload, LeavesATargetThatAppearsInTheLastMoment)
{
    g_nRenameError = EINVAL;
    g_bTargetAppears = true;
    for (const int nError : {0, EPERM}) {
        g_nLinkError = nError;
        ExpectBrought();
        EXPECT_EQ(Files(), QStringList{"file.bin"});
        EXPECT_EQ(Content(), "") << "after " << nError;
        QFile::remove(Target());
    }
}

TEST_F(RenamingDownload, LeavesNoClaimWhereItCannotBeRenamedAtAll)
{
    g_nRenameError = EINVAL;
    g_nLinkError = EPERM;
    g_nReplacingError = EIO;
    ExpectBrought();
    EXPECT_TRUE(Files().isEmpty());
}

} // namespace
