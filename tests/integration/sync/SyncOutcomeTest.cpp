// What LastOutcome tells about blocking calls.

#include "SyncOutcome.h"
#include "ReportPause.h"
#include "Wine.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <gmock/gmock.h>

#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace
{

using ::testing::HasSubstr;

TEST_F(SyncOutcome, IsNoCallBeforeTheFirst)
{
    EXPECT_EQ(Last().eEnd, EBlockingEnd::NoCall);
    EXPECT_EQ(Last().nType, 0);
    EXPECT_FALSE(Last().bSucc);
    EXPECT_EQ(Last().nHttpStatus, 0);
    EXPECT_EQ(Last().strError, "");
    EXPECT_EQ(Last().strUrl, "");
    EXPECT_EQ(Last().nMilliseconds, 0);
}

/// A server's step, and the outcome of a channel check with a short time-out.
struct EndCase {
    const char* szName;
    ServerStep step;
    EBlockingEnd eEnd;
    bool bSucc;
    int nHttpStatus;
    const char* szError;
};

class SyncOutcomeOf : public SyncOutcome, public ::testing::WithParamInterface<EndCase>
{
};

TEST_P(SyncOutcomeOf, TellsWhatTheServerDid)
{
    if (GetParam().step.ending == ServerStep::Ending::Reset && RunsUnderWine()) {
        GTEST_SKIP() << "Wine does not report resets to programs";
    }
    const bool bTimesOut = GetParam().eEnd == EBlockingEnd::TimedOut;
    const ScriptedServer server(GetParam().step);
    EXPECT_EQ(Check(server, bTimesOut ? SHORT_MS : ENOUGH_MS), GetParam().bSucc);
    ExpectEnd(GetParam().eEnd, CHECK, GetParam().szError);
    EXPECT_EQ(Last().bSucc, GetParam().bSucc);
    EXPECT_EQ(Last().nHttpStatus, GetParam().nHttpStatus);
    EXPECT_EQ(Last().strUrl.toStdString(), CheckUrl(server.Port()));
    EXPECT_GE(Last().nMilliseconds, bTimesOut ? SHORT_MS : 0);
    EXPECT_LT(Last().nMilliseconds, ENOUGH_MS);
}

INSTANTIATE_TEST_SUITE_P(
    Each, SyncOutcomeOf,
    ::testing::Values(
        EndCase{"Yes", {YES}, EBlockingEnd::Answered, true, 200, ""},
        EndCase{"No", {NO}, EBlockingEnd::Answered, false, 200, ""},
        EndCase{"Created", {HttpReply(201, "{}")}, EBlockingEnd::Answered, false, 201, ""},
        EndCase{
            "NotFound", {HttpReply(404, "{}")}, EBlockingEnd::Failed, false, 404, "server replied: Reason"},
        EndCase{"ServerError", {HttpReply(500, "{}")}, EBlockingEnd::Failed, false, 500, "server replied"},
        EndCase{
            "Closed", {"", ServerStep::Ending::Close}, EBlockingEnd::Failed, false, 0, "onnection closed"},
        EndCase{"Reset", {"", ServerStep::Ending::Reset}, EBlockingEnd::Failed, false, 0, "onnection"},
        EndCase{
            "Empty", {HttpReply(200, "")}, EBlockingEnd::Unreadable, false, 200, "the body is not JSON: "},
        EndCase{"Html",
                {HttpReply(200, "<html>")},
                EBlockingEnd::Unreadable,
                false,
                200,
                "the body is not JSON: "},
        EndCase{"Silence", Silent(), EBlockingEnd::TimedOut, false, 0, "no answer came within 200 ms"},
        EndCase{"EmptyArray",
                {HttpReply(200, "[]")},
                EBlockingEnd::TimedOut,
                false,
                200,
                "200 ms: the body is an array that does not begin with an object"}),
    [](const auto& end) { return end.param.szName; });

TEST_F(SyncOutcome, OfANobodyWhoListensIsQtsText)
{
    const RefusingPort refusing;
    EXPECT_FALSE(m_request.SendGetWhetherInCommonEx(m_strHost, refusing.Port(), ENOUGH_MS, "X", m_bCommon));
    ExpectEnd(EBlockingEnd::Failed, IN_COMMON, "refused");
    EXPECT_EQ(Last().nHttpStatus, 0);
}

TEST_F(SyncOutcome, OfAReportIsJudgedToo)
{
    tagBatteryTestData data;
    const ScriptedServer server(ServerStep{HttpReply(200, R"({"code":200,"msg":"ok"})")});
    EXPECT_FALSE(m_request.SendPostUploadDataEx(m_strHost, server.Port(), ENOUGH_MS, data));
    ExpectEnd(EBlockingEnd::Answered, 3112, "");
    EXPECT_TRUE(m_request.SendPostReportStepData_ORN(Base(server), ENOUGH_MS, "x"));
    ExpectEnd(EBlockingEnd::Answered, 3115, "");
    EXPECT_TRUE(Last().bSucc);
    EXPECT_EQ(Last().strUrl, Base(server) + "core/api/public/orn/qm/autoWriteInspection");
}

TEST_F(SyncOutcome, LeavesOutThePauseOfAFailedReport)
{
    const RefusingPort refusing;
    const QString strBase = QString("http://127.0.0.1:%1/").arg(refusing.Port());
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(m_request.SendPostReportCycleDataEx(strBase, ENOUGH_MS, ""));
    ExpectEnd(EBlockingEnd::Failed, 3113, "refused");
    EXPECT_LE(Last().nMilliseconds + REPORT_PAUSE_MS, clock.elapsed());
}

TEST_F(SyncOutcome, TellsAStaleYesFromAFreshOne)
{
    const ScriptedServer server(std::vector<ServerStep>{{YES}, Silent()});
    EXPECT_TRUE(Check(server));
    ExpectEnd(EBlockingEnd::Answered, CHECK, "");
    EXPECT_TRUE(Check(server, SHORT_MS)) << "should return the previous reply's yes";
    ExpectEnd(EBlockingEnd::TimedOut, CHECK, "no answer came within 200 ms");
    EXPECT_TRUE(Last().bSucc);
}

/// Two channel checks: the first times out, and its late reply ends the wait of the second.
class SyncLateReply : public SyncOutcome
{
protected:
    /// @return what the second call returned
    bool CheckTwice(const ServerStep& late)
    {
        const ScriptedServer server([&](const WireRequest& request) {
            return request.Target().find("dxtm=&") != std::string::npos ? m_gate.Then(late) : Silent();
        });
        EXPECT_FALSE(m_request.SendGetChannelCheckDataEx(m_strHost, server.Port(), SHORT_MS, {}, m_bAllow,
                                                         m_strReason));
        ExpectEnd(EBlockingEnd::TimedOut, CHECK, "");
        m_gate.Open();
        return Check(server);
    }

    Gate m_gate;
};

TEST_F(SyncLateReply, IsNotTheAnswerToTheCallWhoseWaitItEnds)
{
    EXPECT_TRUE(CheckTwice({YES})) << "as ever";
    EXPECT_TRUE(m_bAllow);
    ExpectEnd(EBlockingEnd::OtherAnswer, CHECK, "the reply to another call of this kind ended the wait");
    EXPECT_TRUE(Last().bSucc);
    EXPECT_EQ(Last().nHttpStatus, 200);
    EXPECT_LT(Last().nMilliseconds, ENOUGH_MS);
}

TEST_F(SyncLateReply, ThatIsAFailureSaysWhy)
{
    EXPECT_FALSE(CheckTwice({HttpReply(404, "")}));
    ExpectEnd(EBlockingEnd::OtherAnswer, CHECK, "ended the wait: ");
    EXPECT_THAT(Last().strError.toStdString(), HasSubstr("server replied: Reason"));
    EXPECT_EQ(Last().nHttpStatus, 404);
}

TEST_F(SyncOutcome, OfASecondCallOfTheSameKindIsBusyAndTheFirstIsToldWhoseReplyCame)
{
    Gate gate;
    const ScriptedServer server([&](const WireRequest& request) {
        return request.Target().find("dxtm=X&") == std::string::npos ? ServerStep{YES} : gate.Then({YES});
    });
    std::optional<SBlockingOutcome> optSecond;
    QTimer::singleShot(0, [&] {
        bool bAllow = true;
        QString strReason;
        m_request.SendGetChannelCheckDataEx(m_strHost, server.Port(), ENOUGH_MS, {}, bAllow, strReason);
        optSecond = Last();
    });
    EXPECT_TRUE(Check(server));
    ExpectEnd(EBlockingEnd::OtherAnswer, CHECK, "another call");
    EXPECT_EQ(Last().strUrl.toStdString(), CheckUrl(server.Port()));
    ASSERT_TRUE(optSecond.has_value());
    EXPECT_EQ(optSecond->eEnd, EBlockingEnd::Busy);
    EXPECT_EQ(optSecond->strError, "another call of this kind is waiting");
    EXPECT_THAT(optSecond->strUrl.toStdString(), HasSubstr("&dxtm=&"));
    gate.Open();
}

int g_nCycleReplies = 0; ///< those recorded so far

void CountCycleReplies(QtMsgType, const QMessageLogContext& context, const QString& strText)
{
    const bool bRecorded =
        std::string(context.category) == "ktshttpagent.reply" && strText.startsWith("\"message: ");
    g_nCycleReplies += bRecorded ? 1 : 0;
}

/// A cycle report during whose wait another call is made, which keeps it from returning. Reports of cycle
/// data log their replies.
class SyncNested : public SyncOutcome
{
protected:
    SyncNested() { qInstallMessageHandler(&CountCycleReplies); }
    ~SyncNested() override { qInstallMessageHandler(nullptr); }

    bool ReportCycle(const ScriptedServer& server, int nTimeout, const char* szData = "")
    {
        return m_request.SendPostReportCycleDataEx(Base(server), nTimeout, szData);
    }

    /// Makes the inner call once the server of the outer one has that many requests, polls the condition in
    /// it, and lets the inner call return when the condition holds.
    void CallInside(const ScriptedServer& outer, std::size_t nRequests, const std::function<bool()>& fnUntil)
    {
        QTimer::singleShot(1, [this, &outer, nRequests, fnUntil] {
            if (outer.Requests().size() < nRequests) {
                CallInside(outer, nRequests, fnUntil);
                return;
            }
            QTimer poll;
            QObject::connect(&poll, &QTimer::timeout, [this, fnUntil] {
                if (fnUntil()) {
                    m_gateInner.Open();
                }
            });
            poll.start(1);
            EXPECT_TRUE(InCommon(m_inner));
            m_optInner = Last();
        });
    }

    Gate m_gateInner;
    const ScriptedServer m_inner{[this](const WireRequest&) { return m_gateInner.Then({COMMON}); }};
    std::optional<SBlockingOutcome> m_optInner;
};

TEST_F(SyncNested, CallsAreToldInTheOrderOfTheirReturn)
{
    Gate gate;
    const ScriptedServer outer([&](const WireRequest&) { return gate.Then({SAVED}); });
    CallInside(outer, 1, [&] {
        gate.Open();
        return g_nCycleReplies == 1;
    });
    EXPECT_TRUE(ReportCycle(outer, ENOUGH_MS));
    ASSERT_TRUE(m_optInner.has_value());
    EXPECT_EQ(m_optInner->eEnd, EBlockingEnd::Answered);
    EXPECT_EQ(m_optInner->nType, IN_COMMON);
    ExpectEnd(EBlockingEnd::Answered, CYCLE, "");
}

TEST_F(SyncNested, AReplyThatComesAfterTheTimeOutButBeforeTheReturnIsTheAnswer)
{
    constexpr int LONG_MS = 1'000; // long, so that the inner call is made before it
    Gate gate;
    QElapsedTimer clock;
    const ScriptedServer outer([&](const WireRequest&) { return gate.Then({SAVED}); });
    CallInside(outer, 1, [&] {
        if (clock.elapsed() > LONG_MS) {
            gate.Open();
        }
        return g_nCycleReplies == 1;
    });
    clock.start();
    EXPECT_TRUE(ReportCycle(outer, LONG_MS));
    ExpectEnd(EBlockingEnd::Answered, CYCLE, "");
    EXPECT_GT(Last().nMilliseconds, LONG_MS);
}

TEST_F(SyncNested, ALateReplyThatReplacesTheOwnOneBeforeTheReturnIsToldAsAnothers)
{
    Gate gateLate;
    Gate gateOwn;
    const ScriptedServer outer([&](const WireRequest& request) {
        const bool bFirst = request.strBody == "[1]";
        const bool bLate = request.strBody == "[2]";
        return bFirst ? ServerStep{SAVED} : (bLate ? gateLate : gateOwn).Then({SAVED});
    });
    EXPECT_TRUE(ReportCycle(outer, ENOUGH_MS, "1"));
    EXPECT_TRUE(ReportCycle(outer, SHORT_MS, "2")) << "should return the previous reply's result";
    ExpectEnd(EBlockingEnd::TimedOut, CYCLE, "");
    CallInside(outer, 3, [&] {
        gateOwn.Open();
        if (g_nCycleReplies == 2) {
            gateLate.Open();
        }
        return g_nCycleReplies == 3;
    });
    EXPECT_TRUE(ReportCycle(outer, ENOUGH_MS, "3"));
    ExpectEnd(EBlockingEnd::OtherAnswer, CYCLE, "another call");
}

TEST_F(SyncOutcome, OfARefusedCallOnAnotherThreadIsToldThereAlone)
{
    const ScriptedServer server(ServerStep{YES});
    EXPECT_TRUE(Check(server));
    SBlockingOutcome elsewhere;
    std::thread([&] {
        bool bCommon = true;
        EXPECT_FALSE(m_request.SendGetWhetherInCommonEx(m_strHost, server.Port(), ENOUGH_MS, "X", bCommon));
        elsewhere = m_request.LastOutcome();
    }).join();
    EXPECT_EQ(elsewhere.eEnd, EBlockingEnd::Refused);
    EXPECT_EQ(elsewhere.nType, IN_COMMON);
    EXPECT_EQ(elsewhere.strError, "this is not the thread of CUIAgentReq");
    EXPECT_EQ(elsewhere.strUrl, "");
    ExpectEnd(EBlockingEnd::Answered, CHECK, "");
}

TEST_F(SyncOutcome, OfACallDuringWhichTheApplicationQuitsIsInterrupted)
{
    const ScriptedServer server(Silent());
    QTimer::singleShot(0, [&] {
        QTimer::singleShot(0, [] { QCoreApplication::quit(); });
        EXPECT_FALSE(Check(server));
    });
    QCoreApplication::exec();
    ExpectEnd(EBlockingEnd::Interrupted, CHECK, "the application ended the wait");
}

} // namespace
