// What the real disk refuses, and with which rights it creates files.

#include "StoreHelp.h"

#include "outbox/NetworkFileSystem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

using namespace outbox;
using ::testing::HasSubstr;

namespace fs = std::filesystem;

namespace
{

bool g_bOnNfs = false;

} // namespace

// The linker lets the code under test call these instead.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the linker's --wrap names them so
extern "C" int __real_fstatfs(int nDescriptor, struct statfs* pStatus);
extern "C" int __wrap_fstatfs(int nDescriptor, struct statfs* pStatus)
{
    const int nResult = __real_fstatfs(nDescriptor, pStatus);
    if (g_bOnNfs) {
        pStatus->f_type = 0x6969;
    }
    return nResult;
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

namespace
{

class LinuxDiskTest : public testing::Test
{
protected:
    LinuxDiskTest()
    {
        std::string strPath = (fs::temp_directory_path() / "kts-outbox-XXXXXX").string();
        m_parent = ::mkdtemp(strPath.data());
        m_path = m_parent / "a" / "outbox";
    }
    ~LinuxDiskTest() override { fs::remove_all(m_parent); }

    std::unique_ptr<Disk> Open()
    {
        m_strWhyNot.clear();
        return OpenDisk(m_path, m_strWhyNot);
    }

    std::unique_ptr<Store> MustOpenStore()
    {
        StoreSettings settings;
        settings.limits.nFree = 0;
        return std::make_unique<Store>(Open(), settings);
    }

    fs::path m_parent;
    fs::path m_path;
    std::string m_strWhyNot;
};

mode_t ModeOf(const fs::path& path)
{
    struct stat status {
    };
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777U;
}

void MustKeep(Store& store, const std::string& strBody)
{
    Report report = MakeReport(strBody);
    EXPECT_TRUE(store.Add(report)) << store.WhyNot();
}

} // namespace

TEST_F(LinuxDiskTest, KeepsEverythingToItsOwner)
{
    ::umask(0);
    const auto pStore = MustOpenStore();
    MustKeep(*pStore, "1");
    EXPECT_TRUE(pStore->Bury(AllWaiting(*pStore).at(0).id, Ending::Dead, "", 0));
    int nFiles = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(m_path)) {
        EXPECT_EQ(ModeOf(entry.path()), entry.is_directory() ? 0700U : 0600U) << entry.path();
        ++nFiles;
    }
    EXPECT_EQ(ModeOf(m_path), 0700U);
    EXPECT_EQ(nFiles, 3 + 1 + 3 + 1) << "three folders, a run with lock, segment and endings, a letter";
}

TEST_F(LinuxDiskTest, WorksWithAnyUmask)
{
    ::umask(0777);
    const auto pStore = MustOpenStore();
    MustKeep(*pStore, "1");
    EXPECT_TRUE(pStore->Sync());
    EXPECT_EQ(AllWaiting(*pStore).size(), 1U);
    ::umask(022);
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(m_path)) {
        EXPECT_EQ(ModeOf(entry.path()), entry.is_directory() ? 0700U : 0600U) << entry.path();
    }
}

TEST_F(LinuxDiskTest, TakesRightsFromOthersOnAFolderThatExists)
{
    fs::create_directories(m_path);
    fs::permissions(m_path, fs::perms::all);
    ASSERT_NE(Open(), nullptr);
    EXPECT_EQ(ModeOf(m_path), 0700U);
}

TEST_F(LinuxDiskTest, RefusesALinkAsItsFolder)
{
    fs::create_directories(m_parent / "target");
    fs::create_directories(m_path.parent_path());
    fs::create_directory_symlink(m_parent / "target", m_path);
    EXPECT_EQ(Open(), nullptr);
    EXPECT_THAT(m_strWhyNot, HasSubstr("symbolic link"));
    m_path += "/";
    EXPECT_EQ(Open(), nullptr);
    EXPECT_TRUE(fs::is_empty(m_parent / "target"));
}

TEST_F(LinuxDiskTest, RefusesAFileAsItsFolder)
{
    fs::create_directories(m_path.parent_path());
    std::ofstream(m_path) << "text";
    EXPECT_EQ(Open(), nullptr);
    EXPECT_THAT(m_strWhyNot, HasSubstr(m_path.string()));
}

TEST_F(LinuxDiskTest, RefusesANetworkFileSystem)
{
    g_bOnNfs = true;
    EXPECT_EQ(Open(), nullptr);
    EXPECT_THAT(m_strWhyNot, HasSubstr("network file system"));
    g_bOnNfs = false;
    EXPECT_NE(Open(), nullptr);
    for (const std::uint32_t nMagic :
         {0x6969U, 0x517bU, 0xfe534d42U, 0xff534d42U, 0x65735546U, 0x01021997U, 0x5346414fU, 0x6b414653U,
          0x73757245U, 0x564cU, 0x00c36400U, 0x0bd00bd0U}) {
        EXPECT_TRUE(IsNetworkFileSystem(nMagic)) << std::hex << nMagic;
    }
    EXPECT_FALSE(IsNetworkFileSystem(0xef53)) << "ext4";
    EXPECT_FALSE(IsNetworkFileSystem(0x01021994)) << "tmpfs";
}

TEST_F(LinuxDiskTest, RefusesAFolderOfAnotherUser)
{
    fs::create_directories(m_path);
    if (::chown(m_path.c_str(), 12345, 12345) != 0) {
        GTEST_SKIP() << "only root can give a folder away";
    }
    EXPECT_EQ(Open(), nullptr);
    EXPECT_THAT(m_strWhyNot, HasSubstr("another user"));
}

TEST_F(LinuxDiskTest, LeavesFilesOfOtherUsersAlone)
{
    const auto pDisk = Open();
    std::error_code error;
    ASSERT_NE(pDisk->Create("file", 0, error), nullptr);
    if (::chown((m_path / "file").c_str(), 12345, 12345) != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    EXPECT_EQ(pDisk->OpenToRead("file", error), nullptr);
    EXPECT_EQ(error, std::errc::operation_not_permitted);
    std::vector<DiskEntry> vecEntries;
    EXPECT_FALSE(pDisk->List("", vecEntries));
    EXPECT_TRUE(vecEntries.empty());
}

TEST_F(LinuxDiskTest, FollowsNoLinkInItsFolder)
{
    const fs::path secret = m_parent / "secret";
    fs::create_directories(secret);
    std::ofstream(secret / "file") << "text";
    const auto pDisk = Open();
    fs::create_directory_symlink(secret, m_path / "runs");
    fs::create_symlink(secret / "file", m_path / "file");
    std::error_code error;
    EXPECT_EQ(pDisk->OpenToRead("file", error), nullptr);
    EXPECT_EQ(pDisk->OpenToAppend("file", error), nullptr);
    EXPECT_EQ(pDisk->Create("file", 0, error), nullptr);
    EXPECT_EQ(pDisk->Lock("file", error), nullptr);
    EXPECT_EQ(pDisk->OpenToRead("runs/file", error), nullptr);
    EXPECT_EQ(pDisk->Create("runs/new", 0, error), nullptr);
    EXPECT_TRUE(pDisk->MakeFolder("runs/new"));
    EXPECT_TRUE(pDisk->RemoveFile("runs/file"));
    std::vector<DiskEntry> vecEntries;
    EXPECT_TRUE(pDisk->List("runs", vecEntries));
    EXPECT_FALSE(pDisk->List("", vecEntries));
    EXPECT_TRUE(vecEntries.empty()) << "links are not listed";
    Store store(Open());
    Report report = MakeReport("1");
    EXPECT_FALSE(store.Add(report));
    EXPECT_EQ(std::distance(fs::directory_iterator(secret), {}), 1);
}

TEST_F(LinuxDiskTest, WaitsForNobodyAtTheOtherEndOfAPipe)
{
    const auto pDisk = Open();
    ASSERT_EQ(::mkfifo((m_path / "pipe").c_str(), 0600), 0);
    std::error_code error;
    EXPECT_EQ(pDisk->OpenToRead("pipe", error), nullptr);
    EXPECT_EQ(error, std::errc::operation_not_permitted);
}

TEST_F(LinuxDiskTest, GivesBackReservedRoomWithoutChangingTheContent)
{
    const auto pDisk = Open();
    std::error_code error;
    const auto pFile = pDisk->Create("file", 1U << 20U, error);
    ASSERT_NE(pFile, nullptr);
    EXPECT_FALSE(pFile->Append("content"));
    const auto BytesOnDisk = [&pDisk] {
        std::vector<DiskEntry> vecEntries;
        EXPECT_FALSE(pDisk->List("", vecEntries));
        return vecEntries.at(0).nBytes;
    };
    ASSERT_GE(BytesOnDisk(), 1U << 20U);
    EXPECT_FALSE(pFile->KeepReserved(64U << 10U));
    EXPECT_GE(BytesOnDisk(), 64U << 10U);
    EXPECT_LT(BytesOnDisk(), 256U << 10U);
    EXPECT_FALSE(pFile->KeepReserved(0));
    EXPECT_LE(BytesOnDisk(), 8U << 10U);
    EXPECT_EQ(fs::file_size(m_path / "file"), 7U);
    std::string strContent;
    EXPECT_FALSE(pFile->Read(0, 100, strContent));
    EXPECT_EQ(strContent, "content");
}

TEST_F(LinuxDiskTest, ReservesRoomWithoutChangingTheSize)
{
    const auto pDisk = Open();
    std::error_code error;
    const auto pFile = pDisk->Create("file", 1U << 20U, error);
    ASSERT_NE(pFile, nullptr);
    EXPECT_EQ(fs::file_size(m_path / "file"), 0U);
    std::vector<DiskEntry> vecEntries;
    EXPECT_FALSE(pDisk->List("", vecEntries));
    EXPECT_GE(vecEntries.at(0).nBytes, 1U << 20U);
    EXPECT_EQ(pDisk->Create("file", 0, error), nullptr);
    EXPECT_EQ(error, std::errc::file_exists);
}
