// The outbox of the process, with its thread, in real time.

#include "ThreadedOutbox.h"

#include <gtest/gtest.h>

#include <future>

#include <stdexcept>

namespace
{

using namespace outbox;
using namespace std::chrono_literals;

TEST_F(OutboxTest, TakesNothingWhileItIsClosed)
{
    EXPECT_FALSE(MaySend());
    EXPECT_FALSE(SendOne(0));
    int nToken = 0;
    EXPECT_FALSE(OnReply("", &nToken, 0, {}));
    EXPECT_FALSE(State().bOpen);
    EXPECT_EQ(State().strWhyNot, "");
}

TEST_F(OutboxTest, SaysWhyItCantBeOpened)
{
    OutboxSettings settings;
    settings.strFolder = "/nowhere";
    EXPECT_FALSE(Open(settings, []() -> Desk::Means { throw std::runtime_error("not a local disk"); }));
    EXPECT_FALSE(State().bOpen);
    EXPECT_EQ(State().strWhyNot, "not a local disk");
    EXPECT_EQ(State().strFolder, "/nowhere");
    EXPECT_FALSE(SendOne(0));
    EXPECT_TRUE(Open(settings, Make()));
    EXPECT_TRUE(Open(settings, Make())) << "it is open";
    EXPECT_EQ(State().strWhyNot, "");
}

TEST_F(OutboxTest, CallsEachSenderOfSeveralThreadsOnce)
{
    constexpr std::size_t THREADS = 4;
    constexpr std::size_t EACH = 400;
    ASSERT_TRUE(Open({}, Make()));
    std::vector<std::thread> vecThreads;
    for (std::size_t nThread = 0; nThread < THREADS; ++nThread) {
        vecThreads.emplace_back([&, nThread] {
            for (std::size_t nReport = 0; nReport < EACH; ++nReport) {
                if (nReport == EACH / 2) {
                    m_transport.nError = nThread % 2 == 0 ? -7 : 0;
                }
                EXPECT_TRUE(SendOne(nThread * EACH + nReport));
                static_cast<void>(State());
            }
        });
    }
    for (std::thread& thread : vecThreads) {
        thread.join();
    }
    m_transport.nError = 0;
    EXPECT_TRUE(m_transport.AwaitCalls(THREADS * EACH));
    Close(std::chrono::milliseconds(ENOUGH_MS));
    for (std::size_t nReport = 0; nReport < THREADS * EACH; ++nReport) {
        ASSERT_EQ(m_transport.CallsOf(nReport), 1) << nReport;
    }
    EXPECT_EQ(m_disk.mapEnding.size() + Waiting(), THREADS * EACH);
}

TEST_F(OutboxTest, SendsAgainOnItsOwnThread)
{
    m_transport.nError = -7;
    ASSERT_TRUE(Open({}, Make()));
    for (std::size_t nReport = 0; nReport < 10; ++nReport) {
        EXPECT_TRUE(SendOne(nReport));
    }
    EXPECT_TRUE(m_transport.AwaitCalls(10)) << "they are stored";
    EXPECT_EQ(Waiting(), 10U);
    std::atomic<int> nTold{0};
    SetObserver([&](const SKtsReportEnding&) { ++nTold; });
    m_transport.nError = 0;
    EXPECT_TRUE(AwaitNoneWaiting());
    EXPECT_TRUE(WaitUntil([&] { return nTold >= 10; })) << "an ending is told after it is on the disk";
    Close(std::chrono::milliseconds(ENOUGH_MS));
    EXPECT_EQ(nTold, 10);
    SetObserver({});
}

TEST_F(OutboxTest, AnswersAndForgetsWhatIsStillOnItsWayWhenItIsClosed)
{
    m_transport.bAnswers = false;
    ASSERT_TRUE(Open({}, Make()));
    EXPECT_TRUE(SendOne(0));
    Close(1ms);
    EXPECT_TRUE(m_transport.AwaitCalls(1)) << "it is stored";
    EXPECT_FALSE(SendOne(1));
    EXPECT_FALSE(State().bOpen);
    EXPECT_TRUE(MaySend()) << "a reply may still come";
    m_transport.Deliver({"{}", 3102, m_transport.FirstToken(), 0});
    EXPECT_TRUE(AwaitNoneWaiting()) << "the late reply counts";
    EXPECT_TRUE(WaitUntil([] { return !MaySend(); }));
    EXPECT_EQ(m_transport.CallsOf(0), 1);
}

TEST_F(OutboxTest, TakesLateRepliesAlsoIfItCantBeOpenedAgain)
{
    m_transport.bAnswers = false;
    ASSERT_TRUE(Open({}, Make()));
    EXPECT_TRUE(SendOne(0));
    EXPECT_FALSE(OnReply("{}", nullptr, 0, {})) << "a reply that belongs to nobody";
    Close(1ms);
    EXPECT_FALSE(Open({}, []() -> Desk::Means { throw std::runtime_error("not a local disk"); }));
    EXPECT_TRUE(MaySend()) << "a reply may still come";
    int nToken = 0;
    EXPECT_FALSE(OnReply("{}", &nToken, 0, {})) << "a reply of somebody else";
    m_transport.Deliver({"{}", 3102, m_transport.FirstToken(), 0});
    EXPECT_TRUE(AwaitNoneWaiting()) << "the late reply counts";
    EXPECT_EQ(m_transport.CallsOf(0), 1);
}

TEST_F(OutboxTest, TakesLateRepliesAlsoAfterItIsOpenedAgain)
{
    m_transport.bAnswers = false;
    ASSERT_TRUE(Open({}, Make()));
    EXPECT_TRUE(SendOne(0));
    Close(1ms);
    ASSERT_TRUE(Open({}, Make()));
    m_transport.Deliver({"{}", 3102, m_transport.FirstToken(), 0});
    EXPECT_TRUE(AwaitNoneWaiting()) << "the late reply counts";
    EXPECT_TRUE(MaySend());
}

TEST_F(OutboxTest, MayBeStoppedOnItsOwnThread)
{
    std::atomic<bool> bStopped{false};
    std::promise<void> opened;
    m_disk.fnOnNext = [&bStopped, fnOpened = opened.get_future().share()] {
        fnOpened.wait();
        if (!bStopped) {
            BeginStop(); // waits for this thread for a second only
            bStopped = true;
        }
    };
    ASSERT_TRUE(Open({}, Make()));
    opened.set_value();
    EXPECT_TRUE(WaitUntil([&] { return bStopped.load(); }));
    EXPECT_FALSE(SendOne(0)) << "it takes nothing any more";
}

TEST_F(OutboxTest, NeedsNoObserver)
{
    ASSERT_TRUE(Open({}, Make()));
    for (int nRound = 0; nRound < 2; ++nRound) {
        m_transport.nError = -7;
        EXPECT_TRUE(SendOne(0));
        EXPECT_TRUE(m_transport.AwaitCalls(2 * nRound + 1)) << "it is stored";
        m_transport.nError = 0;
        EXPECT_TRUE(AwaitNoneWaiting()) << "and ends later";
        EXPECT_TRUE(SendOne(1));
        EXPECT_TRUE(m_transport.AwaitCalls(2 * nRound + 2)) << "the reply after the one that would be told";
        SetObserver({}); // none, in the other way
    }
}

TEST_F(OutboxTest, MayBeClosedAndOpenedAgainFromACallback)
{
    std::atomic<int> nOpened{0};
    m_transport.fnOnCall = [&] {
        if (nOpened++ == 0) {
            Close(0ms);
            nOpened += Open({}, Make()) ? 10 : 0;
        }
    };
    ASSERT_TRUE(Open({}, Make()));
    EXPECT_TRUE(SendOne(0));
    EXPECT_TRUE(m_transport.AwaitCalls(1));
    EXPECT_TRUE(WaitUntil([&] { return nOpened == 11; }));
    EXPECT_TRUE(SendOne(1));
    EXPECT_TRUE(m_transport.AwaitCalls(2));
}

TEST_F(OutboxTest, ClosesInBoundedTimeWhileAReceiverBlocks)
{
    std::atomic<bool> bBlocks{true};
    m_transport.fnOnCall = [&] {
        while (bBlocks) {
            std::this_thread::sleep_for(1ms);
        }
    };
    ASSERT_TRUE(Open({}, Make()));
    EXPECT_TRUE(SendOne(0));
    EXPECT_TRUE(m_transport.AwaitCalls(1));
    EXPECT_TRUE(SendOne(1));
    Close(100ms);
    EXPECT_FALSE(State().bOpen);
    bBlocks = false;
    EXPECT_TRUE(m_transport.AwaitCalls(2));
}

TEST(ThreadStream, BelongsToOneThread)
{
    SetThreadStream("mine");
    std::thread([] {
        EXPECT_EQ(ThreadStream(), "");
        SetThreadStream("other");
    }).join();
    EXPECT_EQ(ThreadStream(), "mine");
    SetThreadStream({});
    EXPECT_EQ(ThreadStream(), "");
}

} // namespace
