// What a download does with a disk that accepts only part of the data, or fails late. This program replaces
// the system calls, which do as a test says; the last test uses a small disk of its own.

#include "DownloadFixture.h"
#include "OwnMounts.h"
#include "ScriptedServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <string>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

constexpr std::size_t NO_LIMIT = SSIZE_MAX;

std::atomic<std::size_t> g_nMostAtOnce = NO_LIMIT; ///< the most that one call writes
std::atomic<std::size_t> g_nPlace = NO_LIMIT;      ///< what the disk has room for, in bytes
std::atomic<bool> g_bFullForAMoment = false;       ///< it has room again after the first call that fails
std::atomic<int> g_nInterruptions = 0;             ///< how many calls are interrupted before one writes
std::atomic<int> g_nCloseError = 0;                ///< the error of closing; 0 for none

/// Whether a descriptor is that of a download's file.
bool IsPart(int nDescriptor)
{
    char acName[PATH_MAX] = "";
    const std::string strLink = "/proc/self/fd/" + std::to_string(nDescriptor);
    const ssize_t nLength = ::readlink(strLink.c_str(), acName, sizeof acName);
    const std::string strName(acName, static_cast<std::size_t>(std::max<ssize_t>(nLength, 0)));
    return strName.size() > 5 && strName.substr(strName.size() - 5) == ".part";
}

ssize_t Fail(int nError)
{
    errno = nError;
    return -1;
}

} // namespace

extern "C" __attribute__((visibility("default"))) ssize_t write(int nDescriptor, const void* pBytes,
                                                                std::size_t nBytes)
{
    if (IsPart(nDescriptor)) {
        if (g_nInterruptions > 0) {
            --g_nInterruptions;
            return Fail(EINTR);
        }
        if (g_nPlace == 0) {
            g_nPlace = g_bFullForAMoment ? NO_LIMIT : 0;
            return Fail(ENOSPC);
        }
        nBytes = std::min({nBytes, g_nMostAtOnce.load(), g_nPlace.load()});
        g_nPlace -= g_nPlace == NO_LIMIT ? 0 : nBytes;
    }
    return ::syscall(SYS_write, nDescriptor, pBytes, nBytes);
}

extern "C" __attribute__((visibility("default"))) int close(int nDescriptor)
{
    const bool bFails = g_nCloseError != 0 && IsPart(nDescriptor);
    const auto nResult = static_cast<int>(::syscall(SYS_close, nDescriptor));
    return bFails ? static_cast<int>(Fail(g_nCloseError)) : nResult;
}

namespace
{

/// Of the smallest one, Qt buffers everything until the file is closed.
constexpr std::size_t SIZES[] = {5'000, 20'000, 300'000};

class DownloadToABadDisk : public Download
{
protected:
    /// @return whether a download of that many bytes reported success
    bool RunBytes(std::size_t nBytes)
    {
        const ScriptedServer server(ServerStep{HttpReply(200, std::string(nBytes, 'x'))});
        return Run(QString::fromStdString(server.Url("/file")));
    }

    void ExpectWholeFile(std::size_t nBytes)
    {
        EXPECT_TRUE(RunBytes(nBytes)) << nBytes;
        EXPECT_TRUE(Content() == QByteArray(static_cast<int>(nBytes), 'x')) << Content().size();
        QFile::remove(Target());
        ExpectNothing();
    }

    void ExpectFailure(std::size_t nBytes)
    {
        EXPECT_FALSE(RunBytes(nBytes)) << nBytes;
        ExpectNothing();
    }

    void ExpectNothing() const { EXPECT_TRUE(Files().isEmpty()) << Files().join(' ').toStdString(); }
};

TEST_F(DownloadToABadDisk, ThatTakesAFewBytesAtATimeIsWhole)
{
    g_nMostAtOnce = 1'001;
    for (const std::size_t nBytes : SIZES) {
        g_nInterruptions = 3;
        ExpectWholeFile(nBytes);
        EXPECT_EQ(g_nInterruptions, 0);
    }
}

TEST_F(DownloadToABadDisk, ThatIsFullBeforeTheLastByteFails)
{
    for (const std::size_t nBytes : SIZES) {
        for (const std::size_t nPlace : {std::size_t{0}, nBytes / 2, nBytes - 1}) {
            g_nPlace = nPlace;
            ExpectFailure(nBytes);
        }
        g_nPlace = nBytes;
        ExpectWholeFile(nBytes);
    }
}

// Nothing else would show that bytes are missing.
TEST_F(DownloadToABadDisk, ThatIsFullForAMomentFailsWhereTheServerTellsNoLengthToo)
{
    g_bFullForAMoment = true;
    for (const std::size_t nBytes : SIZES) {
        g_nPlace = 0;
        const ScriptedServer server(
            ServerStep{"HTTP/1.1 200 OK\r\n\r\n" + std::string(nBytes, 'x'), ServerStep::Ending::Close});
        EXPECT_FALSE(Run(QString::fromStdString(server.Url("/file")))) << nBytes;
        ExpectNothing();
    }
}

// A network disk, or one with quotas, may lose data that it has accepted, and report that only at the close.
TEST_F(DownloadToABadDisk, ThatTellsAtTheClosingFails)
{
    for (const int nError : {ENOSPC, EIO, EDQUOT}) {
        for (const std::size_t nBytes : {std::size_t{0}, SIZES[0], SIZES[2]}) {
            g_nCloseError = nError;
            ExpectFailure(nBytes);
            g_nCloseError = 0;
            ExpectWholeFile(nBytes);
        }
    }
}

TEST_F(DownloadToABadDisk, ThatIsReallyFullFailsAndTheNextOneHasThePlaceAgain)
{
    if (const std::string strWhyNot = OwnMounts(); !strWhyNot.empty()) {
        GTEST_SKIP() << strWhyNot;
    }
    if (const std::string strWhyNot = PutDiskInPlaceOf(m_folder.path().toStdString(), std::size_t{64} * 1024);
        !strWhyNot.empty()) {
        GTEST_SKIP() << strWhyNot;
    }
    for (int nRound = 0; nRound < 3; ++nRound) {
        ExpectFailure(70'000);
        ExpectWholeFile(60'000);
    }
    EXPECT_EQ(TakeFromPlaceOf(m_folder.path().toStdString()), "");
}

} // namespace
