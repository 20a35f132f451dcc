// What the store needs of the real disk, on every system.

#include "StoreHelp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

using namespace outbox;
using ::testing::ElementsAre;

namespace fs = std::filesystem;

namespace
{

class RealDisk : public testing::Test
{
protected:
    RealDisk()
    {
        std::string strPath = (fs::temp_directory_path() / "kts-outbox-XXXXXX").string();
        m_path = ::mkdtemp(strPath.data());
        m_pDisk = Open();
    }

    ~RealDisk() override
    {
        m_pDisk.reset();
        std::error_code error;
        fs::remove_all(m_path, error);
    }

    std::unique_ptr<Disk> Open() const
    {
        std::string strWhyNot;
        std::unique_ptr<Disk> pDisk = OpenDisk(m_path / "a" / "outbox", strWhyNot);
        EXPECT_NE(pDisk, nullptr) << strWhyNot;
        return pDisk;
    }

    std::vector<std::string> NamesIn(const std::string& strFolder) const
    {
        std::vector<DiskEntry> vecEntries;
        EXPECT_FALSE(m_pDisk->List(strFolder, vecEntries));
        std::vector<std::string> vecNames;
        for (const DiskEntry& entry : vecEntries) {
            vecNames.push_back(entry.strName + (entry.bFolder ? "/" : ""));
        }
        return vecNames;
    }

    fs::path m_path;
    std::unique_ptr<Disk> m_pDisk;
};

} // namespace

TEST_F(RealDisk, ReadsWhatWasAppended)
{
    std::error_code error;
    const auto pFile = m_pDisk->Create("file", 100'000, error);
    ASSERT_NE(pFile, nullptr) << error.message();
    EXPECT_FALSE(pFile->Append("one "));
    const auto pAgain = m_pDisk->OpenToAppend("file", error);
    ASSERT_NE(pAgain, nullptr) << error.message();
    EXPECT_FALSE(pAgain->Append(std::string("two\r\n\0", 6)));
    EXPECT_FALSE(pAgain->Sync());
    const auto pReading = m_pDisk->OpenToRead("file", error);
    ASSERT_NE(pReading, nullptr) << error.message();
    std::string strBytes;
    for (const DiskFile* pOpen : {pFile.get(), pAgain.get(), pReading.get()}) {
        EXPECT_FALSE(pOpen->Read(2, 100, strBytes));
        EXPECT_EQ(strBytes, std::string("e two\r\n\0", 8));
        EXPECT_FALSE(pOpen->Read(10, 100, strBytes));
        EXPECT_EQ(strBytes, "");
    }
}

TEST_F(RealDisk, TellsWhatIsMissingAndWhatIsThere)
{
    std::error_code error;
    std::vector<DiskEntry> vecEntries;
    EXPECT_EQ(m_pDisk->OpenToRead("file", error), nullptr);
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
    EXPECT_EQ(m_pDisk->OpenToAppend("file", error), nullptr);
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
    EXPECT_EQ(m_pDisk->RemoveFile("file"), std::errc::no_such_file_or_directory);
    EXPECT_EQ(m_pDisk->List("folder", vecEntries), std::errc::no_such_file_or_directory);
    EXPECT_FALSE(m_pDisk->MakeFolder("folder"));
    EXPECT_EQ(m_pDisk->MakeFolder("folder"), std::errc::file_exists);
    EXPECT_NE(m_pDisk->Create("folder/file", 0, error), nullptr);
    EXPECT_EQ(m_pDisk->Create("folder/file", 0, error), nullptr);
    EXPECT_EQ(error, std::errc::file_exists);
    EXPECT_FALSE(m_pDisk->SyncFolder("folder"));
    EXPECT_THAT(NamesIn(""), ElementsAre("folder/"));
    EXPECT_THAT(NamesIn("folder"), ElementsAre("file"));
    EXPECT_TRUE(m_pDisk->RemoveFolder("folder")) << "it is not empty";
    EXPECT_FALSE(m_pDisk->RemoveFile("folder/file"));
    EXPECT_FALSE(m_pDisk->RemoveFolder("folder"));
    EXPECT_THAT(NamesIn(""), ElementsAre());
    std::uint64_t nFree = 0;
    EXPECT_FALSE(m_pDisk->FreeBytes(nFree));
    EXPECT_GT(nFree, 0U);
}

TEST_F(RealDisk, GivesALockToOneAtATime)
{
    std::error_code error;
    auto pLock = m_pDisk->Lock("lock", error);
    ASSERT_NE(pLock, nullptr) << error.message();
    EXPECT_EQ(Open()->Lock("lock", error), nullptr);
    EXPECT_EQ(error, std::errc::device_or_resource_busy);
    pLock.reset();
    EXPECT_NE(m_pDisk->Lock("lock", error), nullptr);
}

TEST_F(RealDisk, KeepsReportsFromOneProcessToTheNext)
{
    StoreSettings settings = SmallSegments();
    settings.limits.nFree = 0;
    std::vector<std::string> vecBodies;
    {
        Store store(Open(), settings);
        for (int i = 0; i < 50; ++i) {
            Report report = MakeReport(std::to_string(i) + std::string(100, 'b'));
            EXPECT_TRUE(store.Add(report)) << store.WhyNot();
            vecBodies.push_back(report.strBody);
        }
        EXPECT_TRUE(store.Sync());
        Store other(Open(), settings);
        EXPECT_FALSE(other.Adopt()) << "its owner is there";
    }
    Store store(Open(), settings);
    EXPECT_TRUE(store.Adopt());
    const std::vector<Waiting> vecWaiting = AllWaiting(store);
    EXPECT_EQ(BodiesOf(vecWaiting), vecBodies);
    EXPECT_TRUE(store.Bury(vecWaiting.at(0).id, Ending::Dead, "no", 400));
    for (const Waiting& waiting : vecWaiting) {
        store.End(waiting.id, Ending::Acknowledged);
    }
    EXPECT_THAT(NamesIn("runs"), ElementsAre()) << "what has ended whole is removed";
    EXPECT_EQ(NamesIn("dead").size(), 1U);
}
