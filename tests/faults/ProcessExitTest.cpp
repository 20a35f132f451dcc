#include "HostProcess.h"
#include "LogFolder.h"
#include "ScriptedServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;

/// A host that ends without CHttpClientUnInit, in one of several ways, in the first life of its transport or
/// in a later one.
class LeavingHost : public testing::TestWithParam<std::tuple<const char*, bool>>
{
protected:
    Departure Leave(const std::string& strReport, const std::string& strMore = "") const
    {
        const auto [szWay, bLivedBefore] = GetParam();
        std::vector<std::string> vecArguments{strReport, szWay, strMore};
        if (bLivedBefore) {
            vecArguments.push_back(m_earlier.Url("/"));
        }
        return Watch(LEAVING_HOST, vecArguments);
    }

    /// Enough time for every answer, however slow the machine.
    void SetUp() override { ::setenv("CHTTPCLIENT_DRAIN_MS", "60000", 1); }

    /// Expects what a host prints that ends with a report and 20 requests to a silent server in progress: the
    /// report is answered or, if the machine is slow, cancelled like the others.
    static void ExpectOneOutcomeEach(const Departure& departure)
    {
        EXPECT_TRUE(departure.bInTime);
        EXPECT_EQ(departure.nStatus, 0);
        EXPECT_THAT(departure.vecLines, Contains(StartsWith("1 ")).Times(1));
        EXPECT_THAT(departure.vecLines, Contains(testing::AnyOf("1 0", "1 -42")));
        EXPECT_THAT(departure.vecLines, Contains("2 -42").Times(20));
    }

    const LogFolder m_logFolder;
    const ScriptedServer m_earlier{Ok()};
};

TEST_P(LeavingHost, StillGetsItsReportThroughAndTheAnswerBack)
{
    const ScriptedServer server(Ok(200ms));
    const Departure departure = Leave(server.Url("/report"));
    EXPECT_TRUE(departure.bInTime);
    EXPECT_EQ(departure.nStatus, 0);
    EXPECT_THAT(departure.vecLines, Contains("1 0").Times(1));
    ASSERT_FALSE(server.Requests().empty());
    EXPECT_EQ(server.Requests().at(0).Line(), "POST /report HTTP/1.1");
    EXPECT_EQ(server.Requests().at(0).strBody, "{}");
}

TEST_P(LeavingHost, EndsInBoundedTimeWithRequestsInFlight)
{
    ::setenv("CHTTPCLIENT_DRAIN_MS", "500", 1);
    const ScriptedServer serverSilent(Silent());
    const ScriptedServer server(Ok(200ms));
    const Departure departure = Leave(server.Url("/report"), serverSilent.Url("/more"));
    ExpectOneOutcomeEach(departure);
    EXPECT_THAT(server.Requests().size(), testing::Le(1U));
}

INSTANTIATE_TEST_SUITE_P(Ways, LeavingHost,
                         testing::Combine(testing::Values("Return", "Exit", "SignalFlag", "ExitInCallback",
                                                          "UnInitInStaticDestructor",
                                                          "SendInStaticDestructor"),
                                          testing::Bool()),
                         [](const auto& way) {
                             const std::string strLater = std::get<1>(way.param) ? "InALaterLife" : "";
                             return std::get<0>(way.param) + strLater;
                         });

TEST_F(LeavingHost, InACallbackLosesNoReplyThatWaitsBehindIt)
{
    ::setenv("CHTTPCLIENT_MAX_OUTSTANDING", "1", 1);
    const ScriptedServer server(Ok());
    const Departure departure = Watch(LEAVING_HOST, {server.Url("/report"), "ExitWithRepliesWaiting"});
    EXPECT_TRUE(departure.bInTime);
    EXPECT_EQ(departure.nStatus, 0);
    EXPECT_THAT(departure.vecLines, testing::SizeIs(21));
    EXPECT_THAT(departure.vecLines, Contains("1 0").Times(1));
    EXPECT_THAT(departure.vecLines, Contains(StartsWith("2 ")).Times(20));
}

TEST_F(LeavingHost, WhoseStaticDestructorSendsGetsARefusal)
{
    const ScriptedServer server(Ok(200ms));
    const Departure departure = Watch(LEAVING_HOST, {server.Url("/report"), "SendInStaticDestructor"});
    EXPECT_THAT(departure.vecLines, ElementsAre("1 0", "3 -2"));
    EXPECT_THAT(server.Requests(), testing::SizeIs(1));
}

TEST_F(LeavingHost, InTheMidstOfAHandshakeEndsInBoundedTime)
{
    ::setenv("CHTTPCLIENT_DRAIN_MS", "2000", 1);
    ::setenv("CHTTPCLIENT_CONNECT_TIMEOUT_MS", "60000", 1);
    ::setenv("CHTTPCLIENT_HOST_CONNECTIONS", "1", 1); // each further handshake would load all authorities
    const ScriptedServer server(Ok(200ms));
    const ScriptedServer serverSilent(Silent());
    const std::string strSilent = "https://127.0.0.1:" + std::to_string(serverSilent.Port()) + "/more";
    const Departure departure = Watch(LEAVING_HOST, {server.Url("/report"), "Exit", strSilent});
    ExpectOneOutcomeEach(departure);
}
