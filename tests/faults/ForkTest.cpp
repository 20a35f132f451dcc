#include "HostProcess.h"
#include "LogFolder.h"
#include "ScriptedServer.h"
#include "TransportTest.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <ostream>

using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::UnorderedElementsAre;

/// A host that forks without exec. A drain time of a minute makes it show where a child drains requests that
/// are its parent's.
class ForkingHost : public testing::Test
{
protected:
    ForkingHost() { ::setenv("CHTTPCLIENT_DRAIN_MS", "60000", 1); }

    Departure Fork(const std::string& strMoment)
    {
        const Departure departure = Watch(FORKING_HOST, {m_server.Url(""), strMoment});
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
};

TEST_P(ForkingHostInFlight, LosesNothingAndItsChildEndsPromptly)
{
    std::vector<std::string> vecExpected{"parent 2 0", "child ended with 0, promptly", "parent 1 0",
                                         "parent 3 0"};
    const std::vector<std::string>& vecChild = GetParam().vecPrinted;
    vecExpected.insert(vecExpected.begin() + 1, vecChild.begin(), vecChild.end());
    EXPECT_THAT(Fork(GetParam().szName).vecLines, testing::UnorderedElementsAreArray(vecExpected));
}

INSTANTIATE_TEST_SUITE_P(Children, ForkingHostInFlight,
                         testing::Values(ForkedChild{"Leaves", {}}, ForkedChild{"Sends", {"child 2 -2"}},
                                         ForkedChild{"Starts", {"child 2 0"}},
                                         ForkedChild{"StartsAndLeaves", {"child 2 0"}},
                                         ForkedChild{"Stops", {}}),
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

TEST_F(ForkingHost, ThatSendsAndLogsMeanwhileHasNoChildThatHangs)
{
    const std::vector<std::string> vecLines = Fork("UnderLoad").vecLines;
    EXPECT_THAT(vecLines, Contains("child 2 0").Times(100));
    EXPECT_THAT(vecLines, Contains("clean children: 100"));
    EXPECT_THAT(vecLines, Contains("parent got all"));
    EXPECT_THAT(vecLines, Contains("parent 2 0"));
    EXPECT_THAT(vecLines, Not(Contains(testing::HasSubstr("-"))));
}

TEST_F(ForkingHost, HasTheLinesOfItsChildrenInItsLog)
{
    Fork("UnderLoad");
    std::size_t nLines = 0;
    for (std::size_t nAside = 0; nAside <= 5; ++nAside) {
        const std::vector<std::string> vecLines = m_logFolder.Lines(nAside);
        nLines += static_cast<std::size_t>(
            std::count_if(vecLines.begin(), vecLines.end(), [](const std::string& strLine) {
                return strLine.find("forking_host:2 child") != std::string::npos;
            }));
    }
    EXPECT_EQ(nLines, 100U);
}
