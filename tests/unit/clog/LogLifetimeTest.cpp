#include "HostProcess.h"
#include "LogFolder.h"
#include "platform/clog/clog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spdlog/spdlog.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

using testing::ElementsAre;
using testing::EndsWith;
using testing::SizeIs;

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
    std::atomic<int> nToCome{8};
    std::vector<std::thread> vecThreads;
    for (int nThread = 0; nThread < 8; ++nThread) {
        vecThreads.emplace_back([nThread, &nToCome] {
            for (--nToCome; nToCome > 0;) {
                std::this_thread::yield();
            }
            Log_Write(1, "First", nThread, "text");
        });
    }
    for (std::thread& thread : vecThreads) {
        thread.join();
    }
    const std::vector<std::string> vecLines = folder.Lines();
    ASSERT_THAT(vecLines, SizeIs(1 + 8));
    EXPECT_THAT(vecLines[0], testing::HasSubstr("CLOG_FILES=\"many\""));
}
