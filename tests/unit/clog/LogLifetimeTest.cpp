#include "HostProcess.h"
#include "LogFolder.h"

#include <ktshttpagent/clog.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spdlog/spdlog.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using testing::ElementsAre;
using testing::EndsWith;
using testing::SizeIs;

namespace
{

constexpr std::size_t THREADS = 8;
#if defined(_WIN32)
constexpr std::size_t LONG_VALUE = 30'000; // about the longest that Windows allows
#else
constexpr std::size_t LONG_VALUE = 32'000'000;
#endif

/// Calls a function on several threads, when all of them are running.
void OnThreadsAtOnce(const std::function<void(std::size_t nThread)>& fn)
{
    std::atomic<std::size_t> nToCome{THREADS};
    std::vector<std::thread> vecThreads;
    for (std::size_t nThread = 0; nThread < THREADS; ++nThread) {
        vecThreads.emplace_back([&fn, &nToCome, nThread] {
            for (--nToCome; nToCome > 0;) {
                std::this_thread::yield();
            }
            fn(nThread);
        });
    }
    for (std::thread& thread : vecThreads) {
        thread.join();
    }
}

} // namespace

TEST(LogLifetime, ReachesBeyondStaticDestructorsAndAtexitHandlers)
{
    const LogFolder folder;
    EXPECT_EQ(Watch(SPEAKING_HOST, {"leaving"}).nStatus, 0);
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("Main:1 leaving"), EndsWith("AtExit:1 called"),
                                            EndsWith("Static:1 destroyed")));
}

TEST(LogLifetime, MayBeginInAStaticDestructor)
{
    const LogFolder folder;
    EXPECT_EQ(Watch(SPEAKING_HOST, {"leaving-in-silence"}).nStatus, 0);
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("Static:1 destroyed")));
}

TEST(LogLifetime, ALineIsInTheFileWhenTheCallReturns)
{
    const LogFolder folder;
    EXPECT_EQ(Watch(SPEAKING_HOST, {"breaking-off"}).nStatus, 0);
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("Main:1 last words")));
}

TEST(LogLifetime, IsNoConcernOfAHostThatUsesSpdlogItself)
{
    const LogFolder folder;
    Log_Write(1, "Host", 1, "before");
    spdlog::set_level(spdlog::level::off);
    spdlog::set_pattern("the host's own pattern");
    std::vector<std::shared_ptr<spdlog::logger>> vecRegistered;
    spdlog::apply_all([&](std::shared_ptr<spdlog::logger> pLogger) { vecRegistered.push_back(pLogger); });
    EXPECT_THAT(vecRegistered, ElementsAre(spdlog::default_logger()));
    spdlog::shutdown();
    Log_Write(1, "Host", 2, "after");
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("Host:1 before"), EndsWith("Host:2 after")));
}

TEST(LogLifetime, TheFirstLineMayComeFromManyThreadsAtOnce)
{
    const LogFolder folder;
    ::setenv("CLOG_FILES", "many", 1);
    OnThreadsAtOnce([](std::size_t nThread) { Log_Write(1, "First", static_cast<int>(nThread), "text"); });
    const std::vector<std::string> vecLines = folder.Lines();
    ASSERT_THAT(vecLines, SizeIs(1 + THREADS));
    EXPECT_THAT(vecLines[0], testing::HasSubstr("CLOG_FILES=\"many\""));
}

// A setting of many megabytes takes so long to read that all threads ask for the log before it is created.
TEST(LogLifetime, ThereIsOneLogHoweverManyThreadsAskForItAtOnce)
{
    const LogFolder folder;
    ::setenv("CLOG_FILES", std::string(LONG_VALUE, 'x').c_str(), 1);
    std::array<const char*, THREADS> folders{};
    OnThreadsAtOnce([&](std::size_t nThread) { folders.at(nThread) = Log_Folder(); });
    EXPECT_THAT(folders, testing::Each(folders.front()));
}
