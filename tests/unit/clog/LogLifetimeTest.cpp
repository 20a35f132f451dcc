#include "LogFolder.h"
#include "platform/clog/clog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spdlog/spdlog.h>

#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

using testing::ElementsAre;
using testing::EndsWith;
using testing::SizeIs;

namespace
{

struct SpeaksWhenDestroyed {
    ~SpeaksWhenDestroyed() { Log_Write(1, "Static", 1, "destroyed"); }
};

/// Ends the process with a static object and an atexit handler that were there before the log, and so end
/// after whatever the log itself could have left to be done at the end.
[[noreturn]] void LeaveSpeaking()
{
    static const SpeaksWhenDestroyed speaker;
    std::atexit([] { Log_Write(1, "AtExit", 1, "called"); });
    Log_Write(1, "Main", 1, "leaving");
    std::exit(0);
}

/// The same, but the log is first used when the process is already ending.
[[noreturn]] void LeaveSpeakingForTheFirstTime()
{
    static const SpeaksWhenDestroyed speaker;
    std::exit(0);
}

} // namespace

TEST(LogLifetime, ReachesBeyondStaticDestructorsAndAtexitHandlers)
{
    const LogFolder folder;
    EXPECT_EXIT(LeaveSpeaking(), testing::ExitedWithCode(0), "^$");
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("Main:1 leaving"), EndsWith("AtExit:1 called"),
                                            EndsWith("Static:1 destroyed")));
}

TEST(LogLifetime, MayBeginInAStaticDestructor)
{
    const LogFolder folder;
    EXPECT_EXIT(LeaveSpeakingForTheFirstTime(), testing::ExitedWithCode(0), "^$");
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("Static:1 destroyed")));
}

TEST(LogLifetime, ALineIsInTheFileWhenTheCallReturns)
{
    const LogFolder folder;
    EXPECT_EXIT(
        {
            Log_Write(1, "Killed", 1, "last words");
            std::quick_exit(0);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("Killed:1 last words")));
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
    std::vector<std::thread> vecThreads;
    for (int nThread = 0; nThread < 8; ++nThread) {
        vecThreads.emplace_back([nThread] { Log_Write(1, "First", nThread, "text"); });
    }
    for (std::thread& thread : vecThreads) {
        thread.join();
    }
    const std::vector<std::string> vecLines = folder.Lines();
    ASSERT_THAT(vecLines, SizeIs(1 + 8));
    EXPECT_THAT(vecLines[0], testing::HasSubstr("CLOG_FILES=\"many\""));
}
