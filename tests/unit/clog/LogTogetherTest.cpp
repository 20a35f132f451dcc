// Lines of many threads, and of two programs, while the log is repeatedly unavailable.

#include "HostProcess.h"
#include "LogFolder.h"
#include "WaitUntil.h"

#include <ktshttpagent/clog.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::EndsWith;
using testing::SizeIs;

namespace
{

/// Threads that write lines as long as the object lives.
class Writers
{
public:
    Writers()
    {
        for (std::thread& thread : m_threads) {
            thread = std::thread([this] {
                while (!m_bEnd) {
                    Log_Write(1, "Writer", 1, "text");
                    ++m_nWritten;
                    std::this_thread::sleep_for(1ms);
                }
            });
        }
    }

    ~Writers() { End(); }
    Writers(const Writers&) = delete;
    Writers& operator=(const Writers&) = delete;

    /// @return how many lines they wrote in all
    int End()
    {
        m_bEnd = true;
        for (std::thread& thread : m_threads) {
            if (thread.joinable()) {
                thread.join();
            }
        }
        return m_nWritten;
    }

    void WaitForMoreLines() const
    {
        for (const int nEnough = m_nWritten + 50; m_nWritten < nEnough;) {
            std::this_thread::sleep_for(1ms);
        }
    }

private:
    std::atomic<bool> m_bEnd = false;
    std::atomic<int> m_nWritten = 0;
    std::thread m_threads[4];
};

/// A log that is put out of reach again and again, and keeps all files that were written.
class KeptLog
{
public:
    /// Moves the log away and puts a folder in its place.
    void PutOutOfReach()
    {
        do { // again if a writer has created a new file meanwhile
            m_vecKept.push_back(m_folder.Path() / ("kept-" + std::to_string(m_vecKept.size())));
            fs::rename(m_folder.File(), m_vecKept.back(), m_error);
        } while (!fs::create_directory(m_folder.File(), m_error));
    }

    void PutInReach()
    {
        fs::remove(m_folder.File());
        WaitUntil([this] { return !m_folder.Lines().empty(); }, 60s);
    }

    /// Counts what is in all its files.
    void Count(int& nWritten, std::vector<int>& vecLost)
    {
        PutOutOfReach();
        const std::string strTold = "Log_Write:1 lines lost: ";
        for (const fs::path& path : m_vecKept) {
            for (const std::string& strLine : LinesOf(path)) {
                const std::size_t nTold = strLine.find(strTold);
                if (nTold != std::string::npos) {
                    vecLost.push_back(std::stoi(strLine.substr(nTold + strTold.size())));
                } else {
                    EXPECT_THAT(strLine, EndsWith("] Writer:1 text"));
                    ++nWritten;
                }
            }
        }
    }

private:
    const LogFolder m_folder;
    std::vector<fs::path> m_vecKept;
    std::error_code m_error;
};

} // namespace

TEST(LogTogether, EachLineIsWrittenOrCountedInEachOutage)
{
    ::setenv("CLOG_FILE_BYTES", "1000000000", 1);
    KeptLog log;
    testing::internal::CaptureStderr();
    Writers writers;
    for (int nOutage = 1; nOutage <= 3; ++nOutage) {
        writers.WaitForMoreLines();
        log.PutOutOfReach();
        writers.WaitForMoreLines();
        log.PutInReach();
    }
    const int nAll = writers.End();
    testing::internal::GetCapturedStderr();
    int nWritten = 0;
    std::vector<int> vecLost;
    log.Count(nWritten, vecLost);
    EXPECT_THAT(vecLost, SizeIs(3));
    EXPECT_EQ(nWritten + std::accumulate(vecLost.begin(), vecLost.end(), 0), nAll);
}

TEST(LogTogether, TwoProgramsOverwriteNothingOfEachOther)
{
    const LogFolder folder;
    Log_Write(1, "We", 1, "before");
    EXPECT_EQ(Watch(SPEAKING_HOST, {"breaking-off"}).nStatus, 0);
    Log_Write(1, "We", 2, "between");
    EXPECT_EQ(Watch(SPEAKING_HOST, {"breaking-off"}).nStatus, 0);
    Log_Write(1, "We", 3, "after");
    EXPECT_THAT(folder.Lines(),
                ElementsAre(EndsWith("We:1 before"), EndsWith("Main:1 last words"), EndsWith("We:2 between"),
                            EndsWith("Main:1 last words"), EndsWith("We:3 after")));
}
