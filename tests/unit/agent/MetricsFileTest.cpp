#include "MetricsFile.h"
#include "RecordingLog.h"
#include "WaitUntil.h"

#include "platform/metrics/Recorder.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <thread>

namespace
{

using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr metrics::Kind QUERY{3103, false};

std::string ContentsOf(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class MetricsFileTest : public testing::Test
{
protected:
    std::string Contents() const { return ContentsOf(m_path); }

    const QTemporaryDir m_dir;
    const std::filesystem::path m_folder = std::filesystem::u8path(m_dir.path().toStdString());
    const std::filesystem::path m_path = m_folder / "host.prom";
};

TEST_F(MetricsFileTest, IsWrittenAtOnceAndAgainInEachInterval)
{
    const MetricsFile file(m_path, 1ms);
    ASSERT_TRUE(WaitUntil([&] { return Contents().find("requests_outstanding 0\n") != std::string::npos; }));
    metrics::NoteSent(QUERY);
    ASSERT_TRUE(WaitUntil([&] { return Contents().find("requests_outstanding 1\n") != std::string::npos; }));
}

TEST_F(MetricsFileTest, IsNotWrittenWithinAnInterval)
{
    const MetricsFile file(m_path, 1h);
    ASSERT_TRUE(WaitUntil([&] { return std::filesystem::exists(m_path); }));
    std::filesystem::remove(m_path);
    EXPECT_FALSE(std::filesystem::exists(m_path));
    std::this_thread::sleep_for(100ms); // a file that is written again and again would be there by now
    EXPECT_FALSE(std::filesystem::exists(m_path));
}

TEST_F(MetricsFileTest, IsWrittenForTheLastTimeAtTheEnd)
{
    {
        const MetricsFile file(m_path, 1h);
        ASSERT_TRUE(WaitUntil([&] { return std::filesystem::exists(m_path); }));
        metrics::NoteSent(QUERY);
        metrics::NoteSuccess(QUERY, 1ms);
    }
    EXPECT_THAT(Contents(), HasSubstr(R"(result="succeeded"} 1)"));
    EXPECT_FALSE(std::filesystem::exists(m_folder / "host.prom.part"));
}

// On Windows a file can't be opened at the moment at which it is replaced.
TEST_F(MetricsFileTest, IsWholeWheneverItIsRead)
{
    metrics::NoteSent(QUERY);
    const MetricsFile file(m_path, 0ms);
    ASSERT_TRUE(WaitUntil([&] { return std::filesystem::exists(m_path); }));
    for (int nRead = 0; nRead < 200; ++nRead) {
        std::string strContents = Contents();
#if defined(Q_OS_WIN)
        ASSERT_TRUE(WaitUntil([&] {
            strContents = Contents();
            return !strContents.empty();
        }));
#endif
        EXPECT_THAT(strContents, HasSubstr("ktshttpagent_last_failure_timestamp_seconds 0.000000\n"));
    }
}

TEST_F(MetricsFileTest, ThatCanNotBeWrittenIsLoggedOnceUntilItCanBe)
{
    const std::filesystem::path path = m_folder / "missing" / "host.prom";
    const MetricsFile file(path, 1ms);
    ASSERT_TRUE(WaitUntil([] { return !RecordedLog().empty(); }));
    std::filesystem::create_directory(path.parent_path());
    ASSERT_TRUE(WaitUntil([&] { return std::filesystem::exists(path); }));
    ASSERT_TRUE(WaitUntil([&] { // on Windows no folder can be moved while a file in it is open
        std::error_code error;
        std::filesystem::rename(path.parent_path(), m_folder / "moved", error);
        return !error;
    }));
    ASSERT_TRUE(WaitUntil([] { return RecordedLog().size() == 2; }));
    for (const RecordedLine& line : RecordedLog()) {
        EXPECT_THAT(line.strText, HasSubstr(path.u8string()));
    }
}

} // namespace
