// A real disk that is full: what is stored can end, and new reports are kept again as soon as there is room.

#include "OwnMounts.h"
#include "StoreHelp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

using namespace outbox;
using namespace std::chrono_literals;

namespace fs = std::filesystem;

namespace
{

constexpr std::size_t DISK_BYTES = 4U << 20U;

class FullDisk : public testing::Test
{
protected:
    FullDisk()
    {
        std::string strPath = (fs::temp_directory_path() / "kts-outbox-XXXXXX").string();
        m_path = ::mkdtemp(strPath.data());
        m_strWhyNot = OwnMounts();
        if (m_strWhyNot.empty()) {
            m_strWhyNot = PutDiskInPlaceOf(m_path, DISK_BYTES);
            m_bMounted = m_strWhyNot.empty();
        }
    }

    ~FullDisk() override
    {
        if (m_bMounted) {
            EXPECT_EQ(TakeFromPlaceOf(m_path), "");
        }
        fs::remove_all(m_path);
    }

    void SetUp() override
    {
        if (!m_strWhyNot.empty()) {
            GTEST_SKIP() << m_strWhyNot;
        }
    }

    std::unique_ptr<Store> Open() const
    {
        std::string strWhyNot;
        StoreSettings settings;
        settings.limits.nFree = 0;
        settings.limits.nSegmentBytes = 256U << 10U;
        settings.fnNow = [this] { return m_tpNow; };
        return std::make_unique<Store>(OpenDisk(m_path / "outbox", strWhyNot), settings);
    }

    /// Leaves no byte free.
    void Fill() const
    {
        std::ofstream file(m_path / "filler", std::ios::binary);
        const std::string strBytes(4096, 'x');
        while (file.write(strBytes.data(), static_cast<std::streamsize>(strBytes.size())).flush()) {
        }
        EXPECT_EQ(fs::space(m_path).available, 0U);
    }

    fs::path m_path;
    std::string m_strWhyNot;
    bool m_bMounted = false;
    std::chrono::steady_clock::time_point m_tpNow;
};

} // namespace

TEST_F(FullDisk, LetsReportsEndAndKeepsNewOnesWhenThereIsRoom)
{
    auto pStore = Open();
    Report report = MakeReport(std::string(1000, 'b'));
    int nKept = 0;
    for (; nKept < 100; ++nKept) {
        ASSERT_TRUE(pStore->Add(report)) << pStore->WhyNot();
        report.strKey.clear();
    }
    Fill();
    while (pStore->Add(report)) { // the reserved room is left
        report.strKey.clear();
        ++nKept;
    }
    EXPECT_GT(nKept, 150);
    EXPECT_THAT(pStore->WhyNot(), testing::HasSubstr("0 bytes free"));
    EXPECT_EQ(AllWaiting(*pStore).size(), static_cast<std::size_t>(nKept));
    for (const Waiting& waiting : AllWaiting(*pStore)) {
        if (--nKept > 0) {
            pStore->End(waiting.id, Ending::Acknowledged);
        }
    }
    EXPECT_TRUE(pStore->Sync());
    pStore.reset();
    pStore = Open();
    EXPECT_TRUE(pStore->Adopt());
    EXPECT_EQ(AllWaiting(*pStore).size(), 1U) << "what has ended stands on the full disk";
    EXPECT_FALSE(pStore->Add(report));
    fs::remove(m_path / "filler");
    m_tpNow += 1s;
    EXPECT_TRUE(pStore->Add(report)) << pStore->WhyNot();
}
