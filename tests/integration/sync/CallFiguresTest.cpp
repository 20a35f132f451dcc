// What the figures say about requests over real connections, and which servers they show as lost.

#include "AnswerSpy.h"
#include "SyncInterface.h"

#include <ktshttpagent/CUIAgentRsp.h>
#include <ktshttpagent/KtsConnection.h>
#include <ktshttpagent/KtsMetrics.h>

#include <QSignalSpy>
#include <QTest>

#include <gmock/gmock.h>

#include <atomic>
#include <numeric>
#include <ostream>
#include <string>
#include <thread>

namespace
{

using ::testing::HasSubstr;
using Ending = ServerStep::Ending;

constexpr int FIGURES_SHORT_MS = 300;

/// What the server does, and how the call of each interface is counted.
struct CountedCall {
    const char* szName;
    ServerStep step;
    bool bSucceeds;
    bool bRefused;
    EKtsFailure eAsync;    ///< if it is neither
    EKtsFailure eBlocking; ///< if it is neither

    friend void PrintTo(const CountedCall& row, std::ostream* pOut) { *pOut << row.szName; }
};

class CallFigures : public ::testing::Test
{
protected:
    CallFigures() { qputenv("KTSHTTPAGENT_SETTINGS_ROOT", "/nonexistent"); }

    static void AskAsync(int nPort)
    {
        const AnswerSpy spy(&CUIAgentRsp::SigGetWhetherInCommonRet);
        CUIAgentReq::Instance()->SendGetWhetherInCommon("127.0.0.1", nPort, "X");
        ASSERT_TRUE(spy.Wait(1));
    }

    static void AskBlocking(int nPort, int nTimeout = ENOUGH_MS)
    {
        bool bCommon = false;
        CUIAgentReq::Instance()->SendGetWhetherInCommonEx("127.0.0.1", nPort, nTimeout, "X", bCommon);
    }

    static std::string ServerAt(int nPort) { return "http://127.0.0.1:" + std::to_string(nPort); }
};

class EachCallFigures : public CallFigures, public ::testing::WithParamInterface<CountedCall>
{
protected:
    static void ExpectCounted(const SKtsRequestMetrics& request, EKtsFailure eFailure)
    {
        EXPECT_EQ(request.nType, 3110);
        EXPECT_EQ(request.nSent, 1U);
        EXPECT_EQ(request.nSucceeded, GetParam().bSucceeds ? 1U : 0U);
        EXPECT_EQ(request.nRefused, GetParam().bRefused ? 1U : 0U);
        const bool bFails = !GetParam().bSucceeds && !GetParam().bRefused;
        EXPECT_EQ(request.arFailed.at(static_cast<std::size_t>(eFailure)), bFails ? 1U : 0U);
        EXPECT_EQ(std::accumulate(request.arDurations.begin(), request.arDurations.end(), std::uint64_t{0}),
                  1U);
    }
};

TEST_P(EachCallFigures, CountItOnEachInterface)
{
    const bool bTimesOut = GetParam().step.ending == Ending::Hold;
    qputenv("CHTTPCLIENT_TIMEOUT_MS", std::to_string(bTimesOut ? FIGURES_SHORT_MS : ENOUGH_MS).c_str());
    const ScriptedServer server(GetParam().step);
    AskAsync(server.Port());
    AskBlocking(server.Port(), bTimesOut ? FIGURES_SHORT_MS : ENOUGH_MS);
    const SKtsMetrics all = KtsMetrics();
    ASSERT_EQ(all.vecRequests.size(), 2U);
    EXPECT_FALSE(all.vecRequests.front().bBlocking);
    EXPECT_TRUE(all.vecRequests.back().bBlocking);
    ExpectCounted(all.vecRequests.front(), GetParam().eAsync);
    ExpectCounted(all.vecRequests.back(), GetParam().eBlocking);
    EXPECT_EQ(all.nOutstanding, 0U);
    if (!GetParam().bSucceeds) {
        EXPECT_THAT(all.strLastFailure, ::testing::Not(::testing::IsEmpty()));
    }
}

INSTANTIATE_TEST_SUITE_P(Each, EachCallFigures,
                         ::testing::Values(CountedCall{"Yes",
                                                       {HttpReply(200, R"({"success":true,"common":true})")},
                                                       true,
                                                       false,
                                                       EKtsFailure::Other,
                                                       EKtsFailure::Other},
                                           CountedCall{"No",
                                                       {HttpReply(200, R"({"success":false,"message":"m"})")},
                                                       false,
                                                       true,
                                                       EKtsFailure::Other,
                                                       EKtsFailure::Other},
                                           CountedCall{"Html",
                                                       {HttpReply(200, "<html></html>")},
                                                       false,
                                                       false,
                                                       EKtsFailure::Unreadable,
                                                       EKtsFailure::Unreadable},
                                           CountedCall{"BadGateway",
                                                       {HttpReply(502, "<html></html>")},
                                                       false,
                                                       false,
                                                       EKtsFailure::HttpStatus,
                                                       EKtsFailure::HttpStatus},
                                           CountedCall{"BadRequest",
                                                       {HttpReply(400, "<html></html>")},
                                                       false,
                                                       false,
                                                       EKtsFailure::HttpStatus,
                                                       EKtsFailure::HttpStatus},
                                           CountedCall{"Closed",
                                                       {"", Ending::Close},
                                                       false,
                                                       false,
                                                       EKtsFailure::ConnectionLost,
                                                       EKtsFailure::ConnectionLost},
                                           CountedCall{"Silent", Silent(), false, false,
                                                       EKtsFailure::TimedOut, EKtsFailure::TimedOut}),
                         ::testing::PrintToStringParamName());

TEST_F(CallFigures, ShowAServerAsLostAndBackOnEachInterface)
{
    const CKtsConnection connection;
    QSignalSpy lost(&connection, &CKtsConnection::SigConnectionLost);
    QSignalSpy back(&connection, &CKtsConnection::SigConnectionBack);
    int nPort = 0;
    {
        const RefusingPort port;
        nPort = port.Port();
        AskAsync(nPort);
        ASSERT_TRUE(QTest::qWaitFor([&] { return lost.count() == 1; }, ENOUGH_MS));
        EXPECT_EQ(lost.front().front().toString().toStdString(), ServerAt(nPort));
        EXPECT_THAT(lost.front().back().toString().toStdString(), HasSubstr("Failed to connect"));
        AskBlocking(nPort);
    }
    const ScriptedServer other(ServerStep{HttpReply(200, "{}")});
    AskBlocking(other.Port());
    EXPECT_EQ(CKtsConnection::LostServers().size(), 1) << "another server's answer says nothing about it";
    EXPECT_EQ(lost.count(), 1) << "it is lost once";
    EXPECT_EQ(back.count(), 0);
}

TEST_F(CallFigures, ShowAServerAsBackAfterAnyAnswer)
{
    const CKtsConnection connection;
    QSignalSpy back(&connection, &CKtsConnection::SigConnectionBack);
    std::atomic<bool> bAnswers = false; // Qt may send a request again, so the steps can't be counted
    const ScriptedServer server([&](const WireRequest&) {
        return bAnswers ? ServerStep{HttpReply(500, "oops")} : ServerStep{"", Ending::Close};
    });
    AskBlocking(server.Port());
    EXPECT_EQ(CKtsConnection::LostServers(), QStringList{QString::fromStdString(ServerAt(server.Port()))});
    bAnswers = true;
    AskAsync(server.Port());
    ASSERT_TRUE(QTest::qWaitFor([&] { return back.count() == 1; }, ENOUGH_MS));
    EXPECT_EQ(back.front().front().toString().toStdString(), ServerAt(server.Port()));
    bAnswers = false;
    AskBlocking(server.Port());
    EXPECT_EQ(CKtsConnection::LostServers().size(), 1);
    bAnswers = true;
    AskBlocking(server.Port());
    EXPECT_TRUE(CKtsConnection::LostServers().isEmpty()) << "a blocking call's answer counts as well";
}

TEST_F(CallFigures, CountACallOfAnUnknownProtocolAsAnotherFailure)
{
    CUIAgentReq::Instance()->SendPostReportCycleDataEx("no-such-protocol://127.0.0.1/", ENOUGH_MS, "{}");
    const SKtsMetrics all = KtsMetrics();
    ASSERT_EQ(all.vecRequests.size(), 1U);
    EXPECT_EQ(all.vecRequests.front().arFailed.at(static_cast<std::size_t>(EKtsFailure::Other)), 1U);
    EXPECT_TRUE(CKtsConnection::LostServers().isEmpty());
}

TEST_F(CallFigures, CountACallThatIsRefused)
{
    CUIAgentReq& request = *CUIAgentReq::Instance();
    std::thread([&request] { // not the thread of the object
        bool bCommon = false;
        request.SendGetWhetherInCommonEx("127.0.0.1", 1, ENOUGH_MS, "X", bCommon);
    })
        .join();
    const SKtsMetrics all = KtsMetrics();
    ASSERT_EQ(all.vecRequests.size(), 1U);
    EXPECT_EQ(all.vecRequests.front().arFailed.at(static_cast<std::size_t>(EKtsFailure::NotSent)), 1U);
    EXPECT_TRUE(CKtsConnection::LostServers().isEmpty());
}

} // namespace
