// Processes that are killed while they store reports on the real disk.

#include "HostProcess.h"
#include "StoreHelp.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <set>
#include <string>

#include <windows.h>

using namespace outbox;

namespace fs = std::filesystem;

namespace
{

class HostOnDiskOfWindows : public testing::Test
{
protected:
    ~HostOnDiskOfWindows() override { fs::remove_all(m_path.parent_path()); }

    std::unique_ptr<Store> Open() const { return OpenStoreOnDisk(m_path); }

    Departure RunUntilKilled(unsigned nMicroseconds) const
    {
        return Watch(KILLED_STORING_HOST, {m_path.string(), std::to_string(nMicroseconds)});
    }

    const fs::path m_path =
        fs::temp_directory_path() / ("kts-outbox-" + std::to_string(::GetCurrentProcessId())) / "outbox";
};

TEST_F(HostOnDiskOfWindows, LosesNothingWhenItIsKilled)
{
    const unsigned nSeed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(nSeed));
    std::mt19937 random(nSeed);
    fs::create_directories(m_path.parent_path());
    std::size_t nTold = 0;
    for (int nKill = 0; nKill < 10; ++nKill) {
        const Departure killed = RunUntilKilled(static_cast<unsigned>(random() % 300'000));
        EXPECT_EQ(killed.nStatus, 9) << "it has not ended by itself";
        const auto pStore = Open();
        pStore->Adopt();
        std::set<std::string> setFound;
        for (const Waiting& waiting : AllWaiting(*pStore)) {
            EXPECT_TRUE(setFound.insert(waiting.report.strKey).second);
            pStore->End(waiting.id, Ending::Acknowledged);
        }
        for (const std::string& strKey : killed.vecLines) {
            EXPECT_EQ(setFound.count(strKey), 1U) << "lost: " << strKey;
        }
        EXPECT_LE(setFound.size(), killed.vecLines.size() + 1) << "one may be kept and not told of";
        nTold += killed.vecLines.size();
    }
    EXPECT_GT(nTold, 0U);
    EXPECT_TRUE(fs::is_empty(m_path / "runs")) << "what has ended whole is removed";
}

TEST_F(HostOnDiskOfWindows, LeavesItsLockToTheNext)
{
    fs::create_directories(m_path.parent_path());
    EXPECT_FALSE(RunUntilKilled(300'000).vecLines.empty());
    const auto pFirst = Open();
    EXPECT_TRUE(pFirst->Adopt());
    EXPECT_FALSE(AllWaiting(*pFirst).empty());
    const auto pSecond = Open();
    EXPECT_FALSE(pSecond->Adopt()) << "it has an owner now";
    EXPECT_TRUE(AllWaiting(*pSecond).empty());
}

} // namespace
