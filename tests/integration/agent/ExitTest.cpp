// The process may end at any time while the agent is busy, even in a blocking call. This runs a few ends of
// each kind; ./dev ends runs thousands.

#include "HostProcess.h"
#include "LogFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace
{

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int ENDS_OF_EACH = 2; // each takes a second
#else
constexpr int ENDS_OF_EACH = 5;
#endif

const std::vector<std::string> SPECIAL{
    "exit-on-another-thread-while-answers-come",
    "exit-on-another-thread-as-the-first-call-begins",
    "exit-on-another-thread-during-nested-calls",
    "exit-on-another-thread-during-a-loop-of-the-host",
    "exit-on-another-thread-during-the-pause",
    "exit-on-another-thread-after-a-time-out",
    "exit-in-a-timer-slot-during-nested-calls",
    "exit-in-main-that-waits-for-an-idle-worker",
    "exit-on-another-thread-during-a-handshake",
    "exit-on-another-thread-during-a-slot-of-the-host",
    "exit-in-main-and-a-call-before-the-library-ends",
    "return-from-main-and-a-call-before-the-library-ends",
    "exit-in-main-and-a-first-request-before-the-network-ends",
    "exit-in-main-and-a-first-request-after-the-network-ends",
    "exit-in-main-and-a-further-request-before-the-network-ends",
    "exit-in-main-and-a-further-request-after-the-network-ends",
    "return-from-main-and-a-first-request-before-the-network-ends",
    "return-from-main-and-a-first-request-after-the-network-ends",
    "return-from-main-and-a-further-request-before-the-network-ends",
    "return-from-main-and-a-further-request-after-the-network-ends",
};

const std::string ENDS[] = {
    "exit-on-the-delivering-thread",
    "exit-in-a-queued-receiver",
    "exit-on-another-thread",
    "exit-in-a-timer-slot",
    "quick-exit-on-another-thread",
    "immediate-exit-on-another-thread",
    "exit-in-main",
    "return-from-main",
};

const std::string WORKS[] = {
    "an-asynchronous-query", "an-asynchronous-report", "a-blocking-query", "a-blocking-report", "a-download",
    "the-wait-of-replies",
};

/// The special kinds, and each end during each kind of work.
std::vector<std::string> Kinds()
{
    std::vector<std::string> vecKinds = SPECIAL;
    for (const std::string& strEnd : ENDS) {
        for (const std::string& strWork : WORKS) {
            vecKinds.push_back(strEnd + "-during-" + strWork);
        }
    }
    return vecKinds;
}

/// Whether this kind of end destroys nothing.
bool EndsAtOnce(const std::string& strKind)
{
    return strKind.rfind("quick-exit", 0) == 0 || strKind.rfind("immediate-exit", 0) == 0;
}

class Exit : public ::testing::TestWithParam<std::string>
{
protected:
    Exit()
    {
        ::setenv("KTSHTTPAGENT_SETTINGS_ROOT", "/nonexistent", 1);
        ::setenv("MALLOC_PERTURB_", "165", 1); // so that use of freed memory is noticed
    }

    /// Counts the partial files that the hosts' downloads left behind.
    std::ptrdiff_t PartsOfDownloads() const
    {
        const std::filesystem::directory_iterator files(m_log.Path());
        return std::count_if(begin(files), end(files),
                             [](const auto& file) { return file.path().extension() == ".part"; });
    }

    const LogFolder m_log;
};

TEST_P(Exit, IsClean)
{
#if defined(__SANITIZE_ADDRESS__)
    if (GetParam().find("a-first-request-before-the-network-ends") != std::string::npos) {
        GTEST_SKIP() << "Qt frees what such a request holds in an event loop, and none runs that late";
    }
#endif
    for (int nSeed = 1; nSeed <= ENDS_OF_EACH; ++nSeed) {
        const Departure departure = Watch(KTS_EXITING_HOST, {GetParam(), std::to_string(nSeed)});
        EXPECT_TRUE(departure.bInTime) << nSeed;
        EXPECT_EQ(departure.nStatus, 0) << nSeed;
    }
    if (!EndsAtOnce(GetParam())) {
        EXPECT_EQ(PartsOfDownloads(), 0) << "a download left its partial file behind";
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, Exit, ::testing::ValuesIn(Kinds()), [](const auto& kind) {
    std::string strName = kind.param;
    std::replace(strName.begin(), strName.end(), '-', '_');
    return strName;
});

TEST_F(Exit, IsTriedInEveryWayThatTheHostKnows)
{
    EXPECT_THAT(Watch(KTS_EXITING_HOST, {"kinds"}).vecLines, ::testing::UnorderedElementsAreArray(Kinds()));
}

} // namespace
