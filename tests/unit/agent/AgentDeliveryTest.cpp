// Receivers are foreign code: they may block, wait for the host's thread, run an event loop, or destroy the
// object that called them. Neither other answers nor senders wait for them, and an instance affects only its
// own answers.

#include "AgentProbe.h"
#include "RecordingTransport.h"

#include <ktshttpagent/IVelClientSDk.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <thread>

using namespace std::chrono_literals;

namespace
{

/// A wait that must end does so within this time, or the process is stuck.
constexpr auto STUCK = 20s;

/// A host and the thread that delivers to it. The test gives the answers to its version queries.
class AgentDelivery : public ::testing::Test
{
protected:
    AgentDelivery()
    {
        qputenv("KTSHTTPAGENT_SETTINGS_ROOT", "/nonexistent");
        CUIAgentReq::Instance();
    }

    ~AgentDelivery() override
    {
        if (m_delivering.joinable()) {
            m_delivering.join();
        }
    }

    static void Ask() { CUIAgentReq::Instance()->SendGetSupportVer("h", 80, "1"); }
    static void Answer() { RecordingTransport::Instance().Reply(R"({"success":true})"); }
    /// Asks about a version. Call the returned function on a separate thread to give the answer.
    static std::function<void()> AskFor(const char* szVersion)
    {
        CUIAgentReq::Instance()->SendGetSupportVer("h", 80, szVersion);
        const RecordedRequest request = RecordingTransport::Instance().vecRequests.back();
        return [request] {
            RecordingTransport::Instance().fnResponse(R"({"success":true})", request.nType, request.pUserData,
                                                      0);
        };
    }
    void AnswerOnTheDeliveringThread() { m_delivering = std::thread(&Answer); }

    /// Reports a box that is not a number, which is answered within the call.
    static void ReportBadBox()
    {
        KTSStartPlugin::tagRepoChlStatusInfo info;
        info.box = "none";
        CUIAgentReq::Instance()->SendPostReportChlStatus("h", 80, "1", info);
    }

    /// Waits for what another thread does. The predicate must read with relaxed memory order, so that the
    /// thread sanitizer sees whether the two threads rely on an order that nothing guarantees.
    template <class Predicate>
    static bool WaitUnordered(Predicate fnIsSo)
    {
        const auto tpEnd = std::chrono::steady_clock::now() + STUCK;
        while (!fnIsSo() && std::chrono::steady_clock::now() < tpEnd) {
            std::this_thread::yield();
        }
        return fnIsSo();
    }

    std::thread m_delivering;
};

TEST_F(AgentDelivery, AReceiverMayWaitForTheHostsThreadWhileThatSends)
{
    const AgentResponseProbe response;
    const QObject host;
    std::promise<void> begun;
    bool bAnswered = false;
    int nBadReports = 0;
    QObject::connect(&response, &CUIAgentRsp::SigGetSupportVerRet, [&] { begun.set_value(); });
    QObject::connect(
        &response, &CUIAgentRsp::SigGetSupportVerRet, &host, [&] { bAnswered = true; },
        Qt::BlockingQueuedConnection);
    QObject::connect(&response, &CUIAgentRsp::SigPostReportChlStatRet, [&](bool) { ++nBadReports; });
    std::promise<void> sent;
    std::thread watch([&sent] {
        if (sent.get_future().wait_for(STUCK) == std::future_status::timeout) {
            std::puts("the sender and the receiver wait for each other");
            std::fflush(stdout);
            std::_Exit(1);
        }
    });
    Ask();
    AnswerOnTheDeliveringThread();
    begun.get_future().wait();
    ReportBadBox();
    sent.set_value();
    watch.join();
    EXPECT_EQ(nBadReports, 1);
    while (!bAnswered) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

TEST_F(AgentDelivery, ASenderReturnsWhileAReceiverIsAtWork)
{
    const AgentResponseProbe response;
    std::promise<void> begun;
    std::promise<void> sent;
    std::atomic<bool> bSentMeanwhile = false;
    QObject::connect(&response, &CUIAgentRsp::SigGetSupportVerRet, [&] {
        begun.set_value();
        bSentMeanwhile = sent.get_future().wait_for(3s) == std::future_status::ready;
    });
    Ask();
    AnswerOnTheDeliveringThread();
    begun.get_future().wait();
    ReportBadBox();
    sent.set_value();
    m_delivering.join();
    EXPECT_TRUE(bSentMeanwhile) << "the sender waited for the receiver";
}

TEST_F(AgentDelivery, MayBeUnderWayOnTwoThreadsAtOnce)
{
    const AgentResponseProbe response;
    std::atomic<int> nAtWork = 0;
    const auto MeetsTheOther = [&] {
        nAtWork.fetch_add(1, std::memory_order_relaxed);
        return WaitUnordered([&] { return nAtWork.load(std::memory_order_relaxed) == 2; });
    };
    bool bMet = false;
    QObject::connect(&response, &CUIAgentRsp::SigGetSupportVerRet, MeetsTheOther);
    QObject::connect(&response, &CUIAgentRsp::SigPostReportChlStatRet, [&](bool) { bMet = MeetsTheOther(); });
    Ask();
    AnswerOnTheDeliveringThread();
    ReportBadBox();
    EXPECT_TRUE(bMet) << "one delivery waited for the end of the other";
}

TEST_F(AgentDelivery, DoesNotHoldUpTheEndOfAnotherInstance)
{
    auto pOther = std::make_unique<AgentResponseProbe>();
    const AgentResponseProbe response;
    std::atomic<bool> bBegun = false;
    std::atomic<bool> bGone = false;
    std::atomic<bool> bGoneMeanwhile = false;
    QObject::connect(&response, &CUIAgentRsp::SigGetSupportVerRet, [&] {
        bBegun.store(true, std::memory_order_relaxed);
        bGoneMeanwhile = WaitUnordered([&] { return bGone.load(std::memory_order_relaxed); });
    });
    Ask();
    AnswerOnTheDeliveringThread();
    EXPECT_TRUE(WaitUnordered([&] { return bBegun.load(std::memory_order_relaxed); }));
    pOther.reset();
    bGone.store(true, std::memory_order_relaxed);
    m_delivering.join();
    EXPECT_TRUE(bGoneMeanwhile);
}

TEST_F(AgentDelivery, GoesOnWhileAReceiverRunsAnEventLoop)
{
    const AgentResponseProbe response;
    const QObject host;
    bool bAnsweredMeanwhile = false;
    QEventLoop dialog;
    QObject::connect(&response, &CUIAgentRsp::SigGetSupportVerRet, &host, [&] {
        bAnsweredMeanwhile = dialog.isRunning();
        dialog.quit();
    });
    QObject::connect(&response, &CUIAgentRsp::SigPostReportChlStatRet, &host, [&](bool bSucc) {
        EXPECT_FALSE(bSucc);
        AnswerOnTheDeliveringThread();
        QTimer::singleShot(3s, &dialog, &QEventLoop::quit);
        dialog.exec();
    });
    Ask();
    ReportBadBox();
    EXPECT_TRUE(bAnsweredMeanwhile) << "the answer waited for the dialog to be closed";
}

TEST_F(AgentDelivery, ReachesAnInstanceMadeAfterAnotherWasDestroyed)
{
    std::make_unique<AgentResponseProbe>().reset();
    const AgentResponseProbe response;
    int nAnswers = 0;
    QObject::connect(&response, &CUIAgentRsp::SigGetSupportVerRet, [&] { ++nAnswers; });
    Ask();
    Answer();
    EXPECT_EQ(nAnswers, 1);
}

TEST_F(AgentDelivery, ReachesTheNewerInstanceWhenTheOlderIsDestroyed)
{
    auto pOlder = std::make_unique<AgentResponseProbe>();
    const AgentResponseProbe newer;
    int nAnswers = 0;
    QObject::connect(&newer, &CUIAgentRsp::SigGetSupportVerRet, [&] { ++nAnswers; });
    Ask();
    Answer();
    pOlder.reset();
    Ask();
    Answer();
    EXPECT_EQ(nAnswers, 2);
}

TEST_F(AgentDelivery, IsOverBeforeItsInstanceIsDestroyed)
{
    auto pResponse = std::make_unique<AgentResponseProbe>();
    std::promise<void> begun;
    std::atomic<bool> bOver = false;
    QObject::connect(pResponse.get(), &CUIAgentRsp::SigGetSupportVerRet, [&] {
        begun.set_value();
        std::this_thread::sleep_for(200ms);
        bOver = true;
    });
    Ask();
    AnswerOnTheDeliveringThread();
    begun.get_future().wait();
    pResponse.reset();
    EXPECT_TRUE(bOver);
}

TEST_F(AgentDelivery, MayEndItsInstance)
{
    auto pResponse = std::make_unique<AgentResponseProbe>();
    const auto tpBegin = std::chrono::steady_clock::now();
    QObject::connect(pResponse.get(), &CUIAgentRsp::SigGetSupportVerRet, [&] { pResponse.reset(); });
    Ask();
    Answer();
    EXPECT_EQ(pResponse, nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - tpBegin, 4s) << "it waited for itself";
}

TEST_F(AgentDelivery, OfAReceiverThatHangsHoldsUpTheEndForABoundedTime)
{
    auto pResponse = std::make_unique<AgentResponseProbe>();
    std::promise<void> begun;
    std::promise<void> release;
    QObject::connect(pResponse.get(), &CUIAgentRsp::SigGetSupportVerRet, [&] {
        begun.set_value();
        release.get_future().wait_for(STUCK);
    });
    Ask();
    AnswerOnTheDeliveringThread();
    begun.get_future().wait();
    const auto tpBegin = std::chrono::steady_clock::now();
    pResponse.reset();
    EXPECT_GE(std::chrono::steady_clock::now() - tpBegin, 5s);
    EXPECT_LT(std::chrono::steady_clock::now() - tpBegin, STUCK);
    release.set_value();
}

/// A receiver at work, until it is released.
struct AtWork {
    std::promise<void> begun;
    std::promise<void> release;
    std::atomic<bool> bOver = false;

    void Work()
    {
        begun.set_value();
        release.get_future().wait_for(STUCK);
        bOver = true;
    }
};

/// A site's own transport may deliver on several threads.
class TwoDeliveries : public AgentDelivery, public ::testing::WithParamInterface<bool>
{
};

TEST_P(TwoDeliveries, AreBothOverBeforeTheirInstanceIsDestroyedWhicheverIsOverFirst)
{
    AtWork first;
    AtWork second;
    auto pResponse = std::make_unique<AgentResponseProbe>();
    QObject::connect(pResponse.get(), &CUIAgentRsp::SigGetSupportVerRet,
                     [&](bool, const QString& strVersion) { (strVersion == "1" ? first : second).Work(); });
    std::thread firstThread(AskFor("1"));
    first.begun.get_future().wait();
    std::thread secondThread(AskFor("2"));
    second.begun.get_future().wait();
    const bool bFirstEarly = GetParam();
    (bFirstEarly ? first : second).release.set_value();
    (bFirstEarly ? firstThread : secondThread).join();
    AtWork& late = bFirstEarly ? second : first;
    std::thread release([&late] {
        std::this_thread::sleep_for(200ms); // so that a destructor that does not wait fails
        late.release.set_value();
    });
    const auto tpBegin = std::chrono::steady_clock::now();
    pResponse.reset();
    EXPECT_TRUE(late.bOver) << "the instance was destroyed while its receiver was running";
    EXPECT_LT(std::chrono::steady_clock::now() - tpBegin, 4s) << "the end of the receiver was not noticed";
    release.join();
    (bFirstEarly ? secondThread : firstThread).join();
}

INSTANTIATE_TEST_SUITE_P(FirstIsOver, TwoDeliveries, ::testing::Bool(),
                         [](const auto& early) { return early.param ? "First" : "Last"; });

TEST_F(AgentDelivery, ThatEndsItsInstanceFromWithinAnotherWaitsForThoseOfOtherThreads)
{
    AtWork atWork;
    std::thread release;
    auto pResponse = std::make_unique<AgentResponseProbe>();
    QObject::connect(pResponse.get(), &CUIAgentRsp::SigGetSupportVerRet,
                     [&](bool, const QString& strVersion) {
                         if (strVersion == "1") {
                             atWork.Work();
                         } else {
                             ReportBadBox();
                         }
                     });
    QObject::connect(pResponse.get(), &CUIAgentRsp::SigPostReportChlStatRet, [&](bool) {
        release = std::thread([&atWork] {
            std::this_thread::sleep_for(200ms); // so that a destructor that does not wait fails
            atWork.release.set_value();
        });
        const auto tpBegin = std::chrono::steady_clock::now();
        pResponse.reset();
        EXPECT_TRUE(atWork.bOver) << "the instance was destroyed while its receiver was running";
        EXPECT_LT(std::chrono::steady_clock::now() - tpBegin, 4s) << "it waited for itself";
    });
    m_delivering = std::thread(AskFor("1"));
    atWork.begun.get_future().wait();
    AskFor("2")();
    EXPECT_EQ(pResponse, nullptr);
    release.join();
}

TEST_F(AgentDelivery, OfAnotherInstanceHoldsUpNoEnd)
{
    AtWork atWork;
    const AgentResponseProbe older;
    QObject::connect(&older, &CUIAgentRsp::SigGetSupportVerRet, [&] { atWork.Work(); });
    Ask();
    AnswerOnTheDeliveringThread();
    atWork.begun.get_future().wait();
    const auto tpBegin = std::chrono::steady_clock::now();
    std::make_unique<AgentResponseProbe>().reset();
    EXPECT_LT(std::chrono::steady_clock::now() - tpBegin, 4s) << "it waited for the other's receiver";
    EXPECT_FALSE(atWork.bOver);
    atWork.release.set_value();
    m_delivering.join();
}

} // namespace
