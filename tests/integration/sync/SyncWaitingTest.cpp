// What happens around a wait: time-outs, late replies, nesting, the end of the application.

#include "ProcessUse.h"
#include "ReportPause.h"
#include "SyncInterface.h"
#include "WaitUntil.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QPointer>
#include <QTest>
#include <QTimer>

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

namespace
{

constexpr int WAITING_SHORT_MS = 300;

const std::string FIRST_YES =
    HttpReply(200, R"({"success":true,"result":{"allowBoot":"yes","reason":"first"}})");

/// Delays a server's answer until the test sets the flag, but not for ever.
void WaitUntil(const std::atomic<bool>& bSet)
{
    ::WaitUntil([&] { return bSet.load(); });
}

TEST_F(SyncInterface, ATimeOutOnTheFirstCallIsANoWithoutTexts)
{
    const ScriptedServer server(Silent());
    m_bAllow = true;
    m_strReason = "before";
    EXPECT_FALSE(Check(server, WAITING_SHORT_MS));
    EXPECT_FALSE(m_bAllow);
    EXPECT_EQ(m_strReason, "");
    m_bCommon = true;
    EXPECT_FALSE(InCommon(server, WAITING_SHORT_MS));
    EXPECT_FALSE(m_bCommon);
}

TEST_F(SyncInterface, ATimeOutReturnsWhatTheReplyBeforeBrought)
{
    const ScriptedServer server(std::vector<ServerStep>{{FIRST_YES}, Silent()});
    EXPECT_TRUE(Check(server));
    m_bAllow = false;
    m_strReason.clear();
    EXPECT_TRUE(Check(server, WAITING_SHORT_MS));
    EXPECT_TRUE(m_bAllow);
    EXPECT_EQ(m_strReason, "first");
}

TEST_F(SyncInterface, ALateReplyIsStillRecorded)
{
    std::atomic<bool> bRelease = false;
    const ScriptedServer server([&](const WireRequest& request) {
        if (request.nConnection > 1) {
            return Silent();
        }
        WaitUntil(bRelease);
        return ServerStep{FIRST_YES};
    });
    EXPECT_FALSE(Check(server, WAITING_SHORT_MS));
    bRelease = true;
    // The next time-out returns what the late reply recorded.
    QElapsedTimer timer;
    timer.start();
    while (!Check(server, WAITING_SHORT_MS) && timer.elapsed() < ENOUGH_MS) {
    }
    EXPECT_TRUE(m_bAllow);
    EXPECT_EQ(m_strReason, "first");
}

TEST_F(SyncInterface, AnUnreachableServerCostsAReportItsPauseAtMostAfterItsTimeOut)
{
    const ScriptedServer server(Silent());
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(m_request.SendPostReportCycleDataEx(Base(server), WAITING_SHORT_MS, ""));
    EXPECT_GE(timer.elapsed(), WAITING_SHORT_MS + REPORT_PAUSE_MS);
}

TEST_F(SyncInterface, TheHostsEventsAreHandledDuringAWait)
{
    std::atomic<bool> bHandled = false;
    const ScriptedServer server([&](const WireRequest&) {
        WaitUntil(bHandled);
        return ServerStep{FIRST_YES};
    });
    QTimer::singleShot(0, [&] { bHandled = true; });
    EXPECT_TRUE(Check(server));
    EXPECT_TRUE(bHandled);
}

TEST_F(SyncInterface, CallsOfDifferentKindsNest)
{
    std::atomic<bool> bInnerCalled = false;
    const ScriptedServer outer([&](const WireRequest&) {
        WaitUntil(bInnerCalled);
        return ServerStep{FIRST_YES};
    });
    const ScriptedServer inner(ServerStep{HttpReply(200, R"({"success":true,"common":true})"),
                                          ServerStep::Ending::KeepAlive, std::chrono::milliseconds(200)});
    bool bInner = false;
    bool bInnerReturnedFirst = false;
    QTimer::singleShot(0, [&] {
        bInnerCalled = true;
        bInner = InCommon(inner);
        bInnerReturnedFirst = true;
    });
    EXPECT_TRUE(Check(outer));
    EXPECT_TRUE(bInnerReturnedFirst);
    EXPECT_TRUE(bInner);
    EXPECT_TRUE(m_bCommon);
    EXPECT_TRUE(m_bAllow);
}

TEST_F(SyncInterface, AnInnerCallFromAnEventPostedBeforeTheOuterCallDoesNotHoldUpTheOuterReport)
{
    std::atomic<bool> bReported = false;
    const ScriptedServer outer([&](const WireRequest&) {
        bReported = true;
        return ServerStep{HttpReply(200, R"({"code":"success","message":"saved"})")};
    });
    const ScriptedServer inner([&](const WireRequest&) {
        WaitUntil(bReported);
        return ServerStep{HttpReply(200, R"({"success":true,"common":true})")};
    });
    constexpr int INNER_MS = 5'000;
    bool bInner = false;
    QMetaObject::invokeMethod(
        &m_request, [&] { bInner = InCommon(inner, INNER_MS); }, Qt::QueuedConnection);
    EXPECT_TRUE(m_request.SendPostReportCycleDataEx(Base(outer), ENOUGH_MS, ""));
    EXPECT_TRUE(bInner) << "the report was sent only after the inner call";
}

TEST_F(SyncInterface, ASecondCallOfTheSameKindReturnsAtOnceAndItsRequestIsSent)
{
    std::atomic<bool> bRelease = false;
    const ScriptedServer server([&](const WireRequest&) {
        WaitUntil(bRelease);
        return ServerStep{FIRST_YES};
    });
    bool bSecondReturned = false;
    bool bSecond = true;
    QTimer::singleShot(0, [&] {
        bool bAllow = true;
        QString strReason;
        bSecond =
            m_request.SendGetChannelCheckDataEx(m_strHost, server.Port(), ENOUGH_MS, {}, bAllow, strReason);
        bSecondReturned = true;
        EXPECT_FALSE(bAllow) << "the record holds no reply yet";
        bRelease = true;
    });
    EXPECT_TRUE(Check(server));
    EXPECT_TRUE(bSecondReturned);
    EXPECT_FALSE(bSecond);
    EXPECT_TRUE(server.WaitForRequests(2));
}

TEST_F(SyncInterface, AHostThatQuitsDuringAWaitNeitherHangsNorCrashes)
{
    const ScriptedServer server(Silent());
    QTimer::singleShot(50, [] { QCoreApplication::quit(); });
    QTimer::singleShot(0, [&] { EXPECT_FALSE(Check(server, 10 * ENOUGH_MS)); });
    QElapsedTimer timer;
    timer.start();
    QCoreApplication::exec();
    EXPECT_LT(timer.elapsed(), ENOUGH_MS);
    EXPECT_FALSE(InCommon(server, WAITING_SHORT_MS));
}

TEST_F(SyncInterface, ACallFromAnotherThreadIsRefused)
{
    const ScriptedServer server(ServerStep{FIRST_YES});
    bool bSucc = true;
    std::thread([&] { bSucc = Check(server); }).join();
    EXPECT_FALSE(bSucc);
    EXPECT_FALSE(m_bAllow);
    EXPECT_TRUE(server.Requests().empty());
}

// Each manager has its own thread while it exists, so the number of threads also counts the managers.
TEST_F(SyncInterface, AThousandCallsLeaveNothingBehind)
{
    ScriptedServer server(ServerStep{FIRST_YES, ServerStep::Ending::Close});
    server.KeepNoRequests();
    const auto Call = [&](int nCalls) {
        int nSucceeded = 0;
        for (int nCall = 0; nCall < nCalls; ++nCall) {
            nSucceeded += Check(server) ? 1 : 0;
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return nSucceeded;
    };
    EXPECT_EQ(Call(100), 100); // creates what stays for the process
    const std::size_t nDescriptors = OpenDescriptors();
    const std::size_t nThreads = Threads();
    const std::size_t nBytes = HeapBytes();
    EXPECT_EQ(Call(1'000), 1'000);
    const auto Settled = [&] {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return OpenDescriptors() <= nDescriptors && Threads() <= nThreads;
    };
    EXPECT_TRUE(QTest::qWaitFor(Settled, ENOUGH_MS))
        << OpenDescriptors() << " descriptors after " << nDescriptors << ", " << Threads()
        << " threads after " << nThreads;
    // Allocators and the threads of the test's server vary by some bytes per call; a manager takes thousands.
    EXPECT_LT(HeapBytes(), nBytes + 1'000 * std::size_t{200});
}

} // namespace
