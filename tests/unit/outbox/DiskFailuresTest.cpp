// What the real disk does if a call of the system fails that seldom does.

#include "SystemCalls.h"

#include "outbox/Disk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

using namespace outbox;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace fs = std::filesystem;

namespace
{

class DiskFailures : public testing::Test
{
protected:
    DiskFailures()
    {
        std::string strPath = (fs::temp_directory_path() / "kts-outbox-XXXXXX").string();
        m_path = ::mkdtemp(strPath.data());
        m_pDisk = Open();
    }
    ~DiskFailures() override { fs::remove_all(m_path); }

    std::unique_ptr<Disk> Open() { return OpenDisk(m_path, m_strWhyNot); }

    /// A new file with these bytes.
    std::unique_ptr<DiskFile> MustCreate(const std::string& strBytes)
    {
        std::unique_ptr<DiskFile> pFile = m_pDisk->Create("file", 0, m_error);
        EXPECT_NE(pFile, nullptr) << m_error.message();
        EXPECT_FALSE(pFile->Append(strBytes));
        return pFile;
    }

    fs::path m_path;
    std::string m_strWhyNot;
    std::unique_ptr<Disk> m_pDisk;
    std::error_code m_error;
};

/// The limit for the size of this process's files, for as long as the object lives.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t nBytes)
    {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit limit = m_before;
        limit.rlim_cur = nBytes;
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &m_before); }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_before{};
};

bool IsError(const std::error_code& error, int nExpected)
{
    return error == std::error_code(nExpected, std::generic_category());
}

TEST_F(DiskFailures, OfAFolderThatCantBeExaminedAreSaid)
{
    for (const char* szCall : {"open", "fstat", "fstatfs", "fchmod"}) {
        const FailingCall failing(szCall, EIO);
        m_strWhyNot.clear();
        EXPECT_EQ(Open(), nullptr) << szCall;
        EXPECT_THAT(m_strWhyNot, EndsWith(std::string("can't be used: ") + std::strerror(EIO))) << szCall;
    }
    EXPECT_NE(Open(), nullptr);
}

TEST_F(DiskFailures, OfANewFolderAreToldToItsMaker)
{
    {
        const FailingCall failing("openat", EMFILE, 1); // the folder that it is in can be opened
        EXPECT_TRUE(IsError(m_pDisk->MakeFolder("first"), EMFILE));
    }
    {
        const FailingCall failing("fchmod", EROFS);
        EXPECT_TRUE(IsError(m_pDisk->MakeFolder("second"), EROFS));
    }
    {
        const FailingCall failing("fstat", EIO);
        EXPECT_TRUE(IsError(m_pDisk->MakeFolder("third"), EIO));
    }
    EXPECT_FALSE(fs::exists(m_path / "third"));
}

TEST_F(DiskFailures, OfANewFileLeaveNoFile)
{
    for (const char* szCall : {"fchmod", "fallocate"}) {
        const FailingCall failing(szCall, ENOSPC);
        EXPECT_EQ(m_pDisk->Create("file", 4096, m_error), nullptr) << szCall;
        EXPECT_TRUE(IsError(m_error, ENOSPC)) << szCall;
        EXPECT_FALSE(fs::exists(m_path / "file")) << szCall;
    }
}

TEST_F(DiskFailures, ToReserveAreNoneWhereTheSystemCanNotReserve)
{
    for (const int nError : {EOPNOTSUPP, ENOSYS}) {
        const FailingCall failing("fallocate", nError);
        EXPECT_NE(m_pDisk->Create("file" + std::to_string(nError), 4096, m_error), nullptr) << nError;
        EXPECT_FALSE(m_error) << nError;
    }
}

TEST_F(DiskFailures, OfOpeningAreTriedAgainAfterASignal)
{
    MustCreate("x");
    const FailingCall failing("openat", EINTR, 0, 2);
    EXPECT_NE(m_pDisk->OpenToRead("file", m_error), nullptr);
    EXPECT_FALSE(m_error);
}

TEST_F(DiskFailures, OfALockAreToldApartFromAnotherOwner)
{
    struct Row {
        const char* szCall;
        int nError;
        int nAfter;
        int nTold;
    };
    // The third examination is that of the locked file.
    const Row ROWS[] = {{"flock", EWOULDBLOCK, 0, EBUSY},
                        {"flock", ENOLCK, 0, ENOLCK},
                        {"fchmod", EPERM, 0, EPERM},
                        {"fstat", EIO, 2, EIO}};
    for (const Row& row : ROWS) {
        const FailingCall failing(row.szCall, row.nError, row.nAfter);
        EXPECT_EQ(m_pDisk->Lock("lock", m_error), nullptr) << row.szCall;
        EXPECT_TRUE(IsError(m_error, row.nTold)) << row.szCall << ": " << m_error.message();
    }
    EXPECT_NE(m_pDisk->Lock("lock", m_error), nullptr);
}

TEST_F(DiskFailures, OfALockIncludeThatItsFileIsRemovedMeanwhile)
{
    const FailingCall removing("flock", 0, 0, 1, [this] { fs::remove(m_path / "lock"); });
    EXPECT_EQ(m_pDisk->Lock("lock", m_error), nullptr);
    EXPECT_TRUE(IsError(m_error, ENOENT)) << m_error.message();
}

TEST_F(DiskFailures, ToTellTheFreeRoomAreErrors)
{
    const FailingCall failing("fstatvfs", EIO);
    std::uint64_t nBytes = 0;
    EXPECT_TRUE(IsError(m_pDisk->FreeBytes(nBytes), EIO));
}

TEST_F(DiskFailures, OfAListingAreErrorsAndLeaveNothingOpen)
{
    MustCreate("x");
    const auto CountOpen = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    const auto nOpen = CountOpen();
    std::vector<DiskEntry> vecEntries;
    for (const char* szCall : {"openat", "fcntl", "fdopendir", "readdir"}) {
        const FailingCall failing(szCall, ENFILE);
        EXPECT_TRUE(IsError(m_pDisk->List("", vecEntries), ENFILE)) << szCall;
        EXPECT_THAT(vecEntries, IsEmpty()) << szCall;
        EXPECT_EQ(CountOpen(), nOpen) << szCall;
    }
    EXPECT_FALSE(m_pDisk->List("", vecEntries));
    EXPECT_THAT(vecEntries, SizeIs(1));
}

TEST_F(DiskFailures, OfAMissingFolderAreErrors)
{
    std::vector<DiskEntry> vecEntries;
    EXPECT_TRUE(IsError(m_pDisk->SyncFolder("missing"), ENOENT));
    EXPECT_TRUE(IsError(m_pDisk->List("missing/folder", vecEntries), ENOENT));
}

TEST_F(DiskFailures, OfAnEntryThatVanishesWhileItIsListedAreNone)
{
    MustCreate("x");
    const FailingCall failing("fstatat", ENOENT);
    std::vector<DiskEntry> vecEntries;
    EXPECT_FALSE(m_pDisk->List("", vecEntries));
    EXPECT_THAT(vecEntries, IsEmpty());
}

TEST_F(DiskFailures, OfAWriteAreToldAndASignalIsNone)
{
    const auto pFile = MustCreate("");
    std::string strBytes;
    {
        const FailingCall failing("write", EINTR, 0, 2);
        EXPECT_FALSE(pFile->Append("whole"));
    }
    {
        const FailingCall failing("write", EIO);
        EXPECT_TRUE(IsError(pFile->Append("lost"), EIO));
    }
    {
        const FailingCall failing("write", 0);
        EXPECT_TRUE(IsError(pFile->Append("lost"), ENOSPC)) << "nothing is written, without an error";
    }
    EXPECT_FALSE(pFile->Read(0, 100, strBytes));
    EXPECT_EQ(strBytes, "whole");
}

TEST_F(DiskFailures, OfAReadAreToldAndASignalIsNone)
{
    const auto pFile = MustCreate("whole");
    std::string strBytes;
    {
        const FailingCall failing("pread", EINTR, 0, 2);
        EXPECT_FALSE(pFile->Read(0, 100, strBytes));
        EXPECT_EQ(strBytes, "whole");
    }
    const FailingCall failing("pread", EIO);
    EXPECT_TRUE(IsError(pFile->Read(0, 100, strBytes), EIO));
    EXPECT_EQ(strBytes, "");
}

TEST_F(DiskFailures, ToGiveBackReservedRoomAreTold)
{
    const auto pFile = MustCreate("1234");
    for (const char* szCall : {"fstat", "ftruncate"}) {
        const FailingCall failing(szCall, EIO);
        EXPECT_TRUE(IsError(pFile->KeepReserved(0), EIO)) << szCall;
    }
    EXPECT_FALSE(pFile->KeepReserved(0));
}

TEST_F(DiskFailures, BeyondTheLimitForTheSizeOfFilesEndNoProcess)
{
    const auto pFile = MustCreate("1234");
    std::string strBytes;
    {
        const FileSizeLimit limit(8);
        EXPECT_TRUE(IsError(pFile->Append("56789"), EFBIG));
        EXPECT_FALSE(pFile->Append("5678"));
        const FailingCall failing("fstat", EIO);
        EXPECT_TRUE(IsError(pFile->Append("9"), EIO)) << "its size is not known";
    }
    const FailingCall failing("getrlimit", EPERM);
    EXPECT_FALSE(pFile->Append("9")) << "no limit is known";
    EXPECT_FALSE(pFile->Read(0, 100, strBytes));
    EXPECT_EQ(strBytes, "123456789");
}

} // namespace
