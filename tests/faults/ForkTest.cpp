#include "HostProcess.h"
#include "LogFolder.h"
#include "ScriptedServer.h"
#include "TransportTest.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <ostream>

using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::UnorderedElementsAre;

/// A host that forks without exec. With a drain time of a minute, a child that drained its parent's requests
/// would be noticed.
class ForkingHost : public testing::Test
{
protected:
    ForkingHost() { ::setenv("CHTTPCLIENT_DRAIN_MS", "60000", 1); }

    /// A child starts with every lock as it was at the fork. Of the allocators, only the C library's takes
    /// care of its locks; a sanitizer's may leave the child a lock that is never released.
    void SetUp() override
    {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        const std::string strTest = testing::UnitTest::GetInstance()->current_test_info()->name();
        if (strTest.rfind("UnderLoad", 0) == 0) {
            GTEST_SKIP() << "the sanitizer's allocator does not support forks under load";
        }
#endif
    }

    Departure Fork(const std::string& strMoment)
    {
        Departure departure = Watch(FORKING_HOST, {m_server.Url(""), strMoment});
        EXPECT_TRUE(departure.bInTime);
        EXPECT_EQ(departure.nStatus, 0);
        return departure;
    }

    const LogFolder m_logFolder;

private:
    ServerStep Answer(const WireRequest& request)
    {
        if (request.Target() == "/release") {
            m_gate.Open();
        } else if (request.Target() == "/held") {
            EXPECT_TRUE(m_gate.Wait());
        }
        ServerStep step;
        step.strReply = HttpReply(200, "{}");
        return step;
    }

    Gate m_gate;
    const ScriptedServer m_server{[this](const WireRequest& request) { return Answer(request); }};
};

/// What a child does while its parent has a request in flight, and what it prints. Requests are of type 1 (in
/// flight), 2 (answered at once) and 3 (sent when the child has ended).
struct ForkedChild {
    const char* szName;
    std::vector<std::string> vecPrinted;

    friend void PrintTo(const ForkedChild& row, std::ostream* pOut) { *pOut << row.szName; }
};

class ForkingHostInFlight : public ForkingHost, public testing::WithParamInterface<ForkedChild>
{
protected:
    void SetUp() override
    {
#if defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "the sanitizer confuses a child's thread with the parent's thread of the same id";
#endif
    }
};

TEST_P(ForkingHostInFlight, LosesNothingAndItsChildEndsPromptly)
{
    std::vector<std::string> vecExpected{"parent 2 0", "child ended with 0, promptly", "parent 1 0",
                                         "parent 3 0"};
    const std::vector<std::string>& vecChild = GetParam().vecPrinted;
    vecExpected.insert(vecExpected.begin() + 1, vecChild.begin(), vecChild.end());
    EXPECT_THAT(Fork(GetParam().szName).vecLines, testing::UnorderedElementsAreArray(vecExpected));
}

INSTANTIATE_TEST_SUITE_P(
    Children, ForkingHostInFlight,
    testing::Values(ForkedChild{"Leaves", {}}, ForkedChild{"Sends", {"child 2 -2"}},
                    ForkedChild{"Starts", {"child 2 0"}}, ForkedChild{"StartsAndLeaves", {"child 2 0"}},
                    ForkedChild{"Stops", {}},
                    ForkedChild{"ForksAgainTwice",
                                {"child 2 0", "grandchild 2 0", "grandchild ended with 0, promptly",
                                 "child 2 0", "grandchild 2 0", "grandchild ended with 0, promptly"}}),
    testing::PrintToStringParamName());

TEST_F(ForkingHost, InItsCallbackLosesNothing)
{
    EXPECT_THAT(Fork("InCallback").vecLines, ElementsAre("child ended with 0, promptly", "parent 2 0"));
}

TEST_F(ForkingHost, BeforeTheStartHasTwoTransports)
{
    EXPECT_THAT(Fork("BeforeStart").vecLines,
                UnorderedElementsAre("child 2 0", "parent 2 0", "child ended with 0, promptly"));
}

TEST_F(ForkingHost, UnderLoadHasNoChildThatHangs)
{
    const std::vector<std::string> vecLines = Fork("UnderLoad").vecLines;
    EXPECT_THAT(vecLines, Contains("child 2 0").Times(100));
    EXPECT_THAT(vecLines, Contains("clean children: 100"));
    EXPECT_THAT(vecLines, Contains("parent got all"));
    EXPECT_THAT(vecLines, Contains("parent 2 0"));
    EXPECT_THAT(vecLines, Not(Contains(testing::HasSubstr("-"))));
}

TEST_F(ForkingHost, UnderLoadHasTheLinesOfItsChildrenInItsLog)
{
    ::setenv("CLOG_FILE_BYTES", "1000000000", 1); // no file is rotated
    Fork("UnderLoad");
    EXPECT_THAT(m_logFolder.Lines(), Contains(testing::HasSubstr("forking_host:2 child")).Times(100));
}
