// What happens at the limits that Linux sets for a process.

#include "HostProcess.h"
#include "TransportTest.h"

#include <gmock/gmock.h>

#include <algorithm>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

class ProcessLimit : public TransportTest
{
};

// Waiting on descriptors must work beyond the numbers that select() can handle.
TEST_F(ProcessLimit, OfSelectIsNone)
{
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 4096);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    std::vector<int> vecOpen;
    do {
        vecOpen.push_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    } while (vecOpen.back() >= 0 && vecOpen.back() <= 1100);
    ASSERT_GT(vecOpen.back(), 1100) << "the machine gives a process too few descriptors";
    Start();
    const ScriptedServer server(Ok());
    for (int nRequest = 0; nRequest < 100; ++nRequest) {
        Post(server.Url("/"), "{}");
    }
    RepliesAfterShutdown(100);
    EXPECT_THAT(m_replies.Errors(), Each(0));
    for (const int nFile : vecOpen) {
        ::close(nFile);
    }
}

/// A host whose process lacks some resource.
class ShortHost : public testing::Test
{
protected:
    Departure Run(const std::string& strShortage)
    {
        Departure departure = Watch(SHORT_HOST, {m_server.Url("/report"), strShortage});
        EXPECT_TRUE(departure.bInTime);
        EXPECT_EQ(departure.nStatus, 0);
        return departure;
    }

    const LogFolder m_logFolder;
    const ScriptedServer m_server{Ok()};
};

TEST_F(ShortHost, OfDescriptorsGetsAFailureAndGoesOnWhenThereAreSomeAgain)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer itself needs descriptors to check addresses";
#endif
    EXPECT_THAT(Run("OfDescriptors").vecLines, ElementsAre("1 -7", "2 0"));
}

TEST_F(ShortHost, OfDescriptorsAtTheStartGetsAnAnswerAndCanStartLater)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer itself needs descriptors to check addresses";
#endif
    EXPECT_THAT(Run("OfDescriptorsAtTheStart").vecLines, ElementsAre(AnyOf("1 -2", "1 0"), "2 0"));
}

TEST_F(ShortHost, OfDiskForItsLogLosesLinesAndNothingElse)
{
    std::vector<std::string> vecExpected;
    for (int nNumber = 1; nNumber <= 20; ++nNumber) {
        vecExpected.push_back(std::to_string(nNumber) + " 0");
    }
    EXPECT_EQ(Run("OfDisk").vecLines, vecExpected);
    const std::vector<std::string> vecLog = m_logFolder.Lines();
    ASSERT_GE(vecLog.size(), 2U);
    EXPECT_THAT(vecLog[vecLog.size() - 2], HasSubstr("lines lost"));
    EXPECT_THAT(vecLog.back(), HasSubstr("room again"));
}
