// Strict blocking calls: each returns only the answer to its own request.

#include "ReportPause.h"
#include "SyncOutcome.h"

#include <QElapsedTimer>
#include <QTimer>

#include <optional>
#include <string>
#include <thread>

namespace
{

// The example of a channel check in docs/threads-and-waiting.md.
enum class Permission { Allowed, Denied, NoAnswer };

Permission MayStart(CUIAgentReq& agent, const QString& strIp, int nPort, int nTimeout,
                    const tagSRequestGetChannelCheckData& check, QString& strReason)
{
    agent.SetStrictWaits(true); // needed once only: the answer to another channel's check is ignored
    bool bAllow = false;
    const bool bSucc = agent.SendGetChannelCheckDataEx(strIp, nPort, nTimeout, check, bAllow, strReason);
    const SBlockingOutcome outcome = agent.LastOutcome();
    if (outcome.eEnd != EBlockingEnd::Answered) {
        strReason = outcome.strError;
        return Permission::NoAnswer;
    }
    return bSucc && bAllow ? Permission::Allowed : Permission::Denied;
}

class SyncStrict : public SyncOutcome
{
protected:
    SyncStrict() { m_request.SetStrictWaits(true); }

    /// Makes a call when a stale answer is already recorded, which the call must remove.
    bool CheckFromStale(const ScriptedServer& server, int nTimeout = ENOUGH_MS)
    {
        m_bAllow = true;
        m_strReason = "stale";
        return Check(server, nTimeout);
    }

    void ExpectNothing(EBlockingEnd eEnd, const char* szError)
    {
        EXPECT_FALSE(m_bAllow);
        EXPECT_EQ(m_strReason, "");
        ExpectEnd(eEnd, CHECK, szError);
        EXPECT_FALSE(Last().bSucc);
    }

    /// Handles events until the reply of that server was handled: the server keeps its connection, so the
    /// connection then ends with its manager.
    void WaitForReplyOf(const ScriptedServer& late)
    {
        const ScriptedServer after([&](const WireRequest&) {
            EXPECT_TRUE(late.WaitForClosed(1));
            return ServerStep{COMMON};
        });
        EXPECT_TRUE(InCommon(after));
    }

    /// What a time-out returns when the mode is off, which is what the last reply recorded.
    bool Recorded()
    {
        m_request.SetStrictWaits(false);
        const bool bSucc = Check(m_silent, 1);
        m_request.SetStrictWaits(true);
        return bSucc;
    }

    Gate m_gate;
    const ScriptedServer m_late{[this](const WireRequest&) { return m_gate.Then({YES}); }};
    const ScriptedServer m_silent{Silent()};
    /// Answers no after the late server's yes was handled.
    const ScriptedServer m_no{[this](const WireRequest&) {
        m_gate.Open();
        EXPECT_TRUE(m_late.WaitForClosed(1));
        return ServerStep{NO};
    }};
};

TEST_F(SyncStrict, AChannelStartsOnItsOwnAnswerOnly)
{
    const ScriptedServer server([](const WireRequest& request) {
        return request.Target().find("chl=1&") != std::string::npos ? ServerStep{YES} : Silent();
    });
    tagSRequestGetChannelCheckData check{12, 7, "X", "D1", "1", "p"};
    EXPECT_EQ(MayStart(m_request, m_strHost, server.Port(), ENOUGH_MS, check, m_strReason),
              Permission::Allowed);
    check.chl = "2";
    EXPECT_EQ(MayStart(m_request, m_strHost, server.Port(), SHORT_MS, check, m_strReason),
              Permission::NoAnswer);
    EXPECT_EQ(m_strReason, "no answer came within 200 ms");
    EXPECT_FALSE(Last().bSucc) << "the call returned the yes of the other channel";
}

TEST_F(SyncStrict, ATimeOutReturnsNothing)
{
    const ScriptedServer yes(ServerStep{YES});
    const ScriptedServer common(ServerStep{COMMON});
    EXPECT_TRUE(Check(yes));
    ExpectEnd(EBlockingEnd::Answered, CHECK, "");
    EXPECT_FALSE(CheckFromStale(m_silent, 1));
    ExpectNothing(EBlockingEnd::TimedOut, "no answer came within 1 ms");
    EXPECT_TRUE(InCommon(common));
    EXPECT_FALSE(InCommon(m_silent, 1));
    EXPECT_FALSE(m_bCommon);
}

TEST_F(SyncStrict, AFailureReturnsNothing)
{
    const ScriptedServer yes(ServerStep{YES});
    const ScriptedServer failing(ServerStep{HttpReply(500, "{}")});
    const ScriptedServer html(ServerStep{HttpReply(200, "<html>")});
    EXPECT_TRUE(Check(yes));
    EXPECT_FALSE(CheckFromStale(failing));
    ExpectNothing(EBlockingEnd::Failed, "server replied");
    EXPECT_FALSE(CheckFromStale(html));
    ExpectNothing(EBlockingEnd::Unreadable, "not JSON");
}

TEST_F(SyncStrict, ALateReplyIsDroppedForGood)
{
    EXPECT_FALSE(Check(m_late, SHORT_MS));
    EXPECT_FALSE(CheckFromStale(m_no)) << "it ended the wait of the next call";
    ExpectNothing(EBlockingEnd::Answered, "");
    EXPECT_FALSE(Recorded());
}

TEST_F(SyncStrict, ALateReplyIsDroppedWhereNobodyWaitsAndTheModeIsOffAgain)
{
    EXPECT_FALSE(Check(m_late, SHORT_MS));
    m_request.SetStrictWaits(false);
    m_gate.Open();
    WaitForReplyOf(m_late);
    EXPECT_FALSE(Recorded());
}

TEST_F(SyncStrict, TheLateReplyToACallBeforeTheModeWasSetDoesNotCount)
{
    m_request.SetStrictWaits(false);
    EXPECT_FALSE(Check(m_late, SHORT_MS));
    m_request.SetStrictWaits(true);
    EXPECT_FALSE(CheckFromStale(m_no)) << "it ended the wait of the next call";
    ExpectNothing(EBlockingEnd::Answered, "");
}

TEST_F(SyncStrict, TheLateReplyToACallBeforeTheModeWasSetIsDroppedAfterTheNextCallToo)
{
    const ScriptedServer no(ServerStep{NO});
    m_request.SetStrictWaits(false);
    EXPECT_FALSE(Check(m_late, SHORT_MS));
    m_request.SetStrictWaits(true);
    EXPECT_FALSE(Check(no));
    m_gate.Open();
    WaitForReplyOf(m_late);
    EXPECT_FALSE(Recorded());
}

TEST_F(SyncStrict, ALateReplyStillCountsWhereNoStrictCallOfItsKindWasMade)
{
    m_request.SetStrictWaits(false);
    EXPECT_FALSE(Check(m_late, SHORT_MS));
    m_request.SetStrictWaits(true);
    m_gate.Open();
    WaitForReplyOf(m_late); // during a strict call of another kind
    EXPECT_TRUE(Recorded());
}

/// A channel check during whose wait a second one is made, to the late server.
class SyncStrictBusy : public SyncStrict
{
protected:
    /// @param bStrictInside  whether the second call is strict
    void CheckInside(bool bStrictInside)
    {
        QTimer::singleShot(0, [this, bStrictInside] {
            const bool bStrict = m_request.HasStrictWaits();
            m_request.SetStrictWaits(bStrictInside);
            m_bAllowInside = true;
            m_strReasonInside = "stale";
            m_bSuccInside = m_request.SendGetChannelCheckDataEx(m_strHost, m_late.Port(), ENOUGH_MS, {},
                                                                m_bAllowInside, m_strReasonInside);
            m_optInside = Last();
            m_request.SetStrictWaits(bStrict);
        });
    }

    void ExpectBusyAndNothing()
    {
        ASSERT_TRUE(m_optInside.has_value());
        EXPECT_EQ(m_optInside->eEnd, EBlockingEnd::Busy);
        EXPECT_FALSE(m_optInside->bSucc);
        EXPECT_FALSE(m_bSuccInside);
        EXPECT_FALSE(m_bAllowInside);
        EXPECT_EQ(m_strReasonInside, "");
    }

    bool m_bSuccInside = true;
    bool m_bAllowInside = true;
    QString m_strReasonInside;
    std::optional<SBlockingOutcome> m_optInside;
};

TEST_F(SyncStrictBusy, ASecondCallReturnsNothingAndItsReplyChangesNothing)
{
    CheckInside(true);
    EXPECT_FALSE(CheckFromStale(m_no)) << "the reply to the second call ended the wait of the first";
    ExpectNothing(EBlockingEnd::Answered, "");
    ExpectBusyAndNothing();
    EXPECT_EQ(m_late.Requests().size(), 1U) << "its request should be sent";
}

TEST_F(SyncStrictBusy, ASecondCallLeavesTheRecordOfAFirstOneThatIsNotStrict)
{
    const ScriptedServer yes(ServerStep{YES});
    const ScriptedServer common([this](const WireRequest&) { // so that the reply comes during the wait
        m_gate.Open();
        EXPECT_TRUE(m_late.WaitForClosed(1));
        return ServerStep{COMMON};
    });
    EXPECT_TRUE(Check(yes));
    m_request.SetStrictWaits(false);
    CheckInside(true);
    QTimer::singleShot(1, [&] { EXPECT_TRUE(InCommon(common)); });
    EXPECT_TRUE(Check(m_silent, SHORT_MS)) << "should return the previous reply's result";
    ExpectEnd(EBlockingEnd::TimedOut, CHECK, "");
    ExpectBusyAndNothing();
}

TEST_F(SyncStrictBusy, TheReplyToASecondCallThatIsNotStrictDoesNotEndTheWaitOfAStrictOne)
{
    CheckInside(false);
    EXPECT_FALSE(CheckFromStale(m_no)) << "the reply to the second call ended the wait of the first";
    ExpectNothing(EBlockingEnd::Answered, "");
    ExpectBusyAndNothing(); // the first call has cleared the record
}

TEST_F(SyncStrict, TheOwnReplyIsDroppedAfterTheTimeOutThoughTheCallHasNotReturned)
{
    constexpr int LONG_MS = 1'000; // long, so that the inner call is made before it
    QElapsedTimer clock;
    const ScriptedServer inner([&](const WireRequest&) {
        while (clock.elapsed() <= LONG_MS + 100) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return ServerStep{COMMON};
    });
    const ScriptedServer after([this](const WireRequest&) {
        m_gate.Open();
        EXPECT_TRUE(m_late.WaitForClosed(1));
        return ServerStep{COMMON};
    });
    QTimer::singleShot(0, [&] {
        EXPECT_TRUE(InCommon(inner)); // meanwhile the time-out passes
        EXPECT_TRUE(InCommon(after)); // meanwhile the reply comes
    });
    clock.start();
    EXPECT_FALSE(CheckFromStale(m_late, LONG_MS));
    ExpectNothing(EBlockingEnd::TimedOut, "no answer came within 1000 ms");
}

TEST_F(SyncStrict, CallsOfDifferentKindsNest)
{
    const ScriptedServer common(ServerStep{COMMON});
    QTimer::singleShot(0, [&] {
        EXPECT_TRUE(InCommon(common));
        m_gate.Open();
    });
    EXPECT_TRUE(Check(m_late));
    ExpectEnd(EBlockingEnd::Answered, CHECK, "");
    EXPECT_TRUE(m_bAllow);
    EXPECT_TRUE(m_bCommon);
}

TEST_F(SyncStrict, AReportThatTimesOutFailsAfterOneThatWasSavedAndPauses)
{
    const ScriptedServer saved(ServerStep{SAVED});
    EXPECT_TRUE(m_request.SendPostReportCycleDataEx(Base(saved), ENOUGH_MS, ""));
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(m_request.SendPostReportCycleDataEx(Base(m_silent), 1, ""));
    EXPECT_GE(clock.elapsed(), REPORT_PAUSE_MS);
    ExpectEnd(EBlockingEnd::TimedOut, CYCLE, "");
}

TEST_F(SyncStrict, AnotherThreadSetsNothing)
{
    std::thread([&] { m_request.SetStrictWaits(false); }).join();
    EXPECT_TRUE(m_request.HasStrictWaits());
}

TEST_F(SyncOutcome, IsNotStrictUntilThatIsSet)
{
    EXPECT_FALSE(m_request.HasStrictWaits());
}

} // namespace
