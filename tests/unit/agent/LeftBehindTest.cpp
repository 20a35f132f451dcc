// Requests whose blocking calls are over: when they are given up, and when not. Nothing is sent here: to wait
// for a reply is to have none.

#include "LeftBehind.h"
#include "Enough.h"

#include "net/NAManager.h"

#include <QCoreApplication>
#include <QEvent>
#include <QNetworkReply>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace
{

constexpr int SOON_MS = 50;

/// A reply with nothing in it.
class EmptyReply : public QNetworkReply
{
public:
    explicit EmptyReply(QObject* pParent) : QNetworkReply(pParent) { open(QIODevice::ReadOnly); }
    void abort() override {}

protected:
    qint64 readData(char* /*pData*/, qint64 /*nMost*/) override { return -1; }
};

/// Is answered when the test says so.
class SlowManager : public NAManager
{
public:
    SlowManager() : NAManager(nullptr) { SendRequest("http://127.0.0.1/", {}, METHOD_GET); }
    void TakeReply() { Q_EMIT finished(m_pReply); }

protected:
    QNetworkReply* createRequest(Operation /*eOperation*/, const QNetworkRequest& /*request*/,
                                 QIODevice* /*pBody*/) override
    {
        m_pReply = new EmptyReply(this);
        return m_pReply;
    }

private:
    EmptyReply* m_pReply = nullptr;
};

/// Counts how often timers that were started come due on this thread; single shots are none of them.
class TimerCount : public QObject
{
public:
    TimerCount() { QCoreApplication::instance()->installEventFilter(this); }
    int Value() const { return m_nTimers; }

    bool eventFilter(QObject* pReceiver, QEvent* pEvent) override
    {
        m_nTimers += pEvent->type() == QEvent::Timer && qobject_cast<QTimer*>(pReceiver) != nullptr ? 1 : 0;
        return false;
    }

private:
    int m_nTimers = 0;
};

class ARequestLeftBehind : public ::testing::Test
{
protected:
    QPointer<SlowManager> Leave(int nMilliseconds)
    {
        auto* const pManager = new SlowManager;
        m_pLeftBehind->Add(*pManager, QDeadlineTimer(nMilliseconds));
        return pManager;
    }

    static void ExpectGone(const QPointer<SlowManager>& pManager)
    {
        EXPECT_TRUE(QTest::qWaitFor([&] { return pManager.isNull(); }, ENOUGH_MS));
    }

    std::unique_ptr<LeftBehind> m_pLeftBehind = std::make_unique<LeftBehind>();
};

TEST_F(ARequestLeftBehind, IsGivenUpAtItsDeadlineAndThenNoLongerLookedFor)
{
    const TimerCount timers;
    ExpectGone(Leave(SOON_MS));
    const int nBefore = timers.Value();
    bool bPassed = false;
    QTimer::singleShot(4 * SOON_MS, [&] { bPassed = true; });
    EXPECT_TRUE(QTest::qWaitFor([&] { return bPassed; }, ENOUGH_MS));
    EXPECT_EQ(timers.Value(), nBefore);
}

TEST_F(ARequestLeftBehind, OutlivesWhatWatchesItUpToItsDeadline)
{
    const QPointer<SlowManager> pManager = Leave(10 * SOON_MS);
    const QPointer<SlowManager> pGone = Leave(5 * SOON_MS);
    delete pGone.data(); // as after its reply
    m_pLeftBehind.reset();
    EXPECT_FALSE(pManager.isNull());
    ExpectGone(pManager);
}

TEST_F(ARequestLeftBehind, IsGivenUpEvenIfWhatWatchesItGoesAfterItsDeadline)
{
    const QPointer<SlowManager> pManager = Leave(SOON_MS);
    const QDeadlineTimer afterwards(qint64{2} * SOON_MS);
    while (!afterwards.hasExpired()) {
        std::this_thread::yield(); // no event is handled meanwhile
    }
    EXPECT_FALSE(pManager.isNull());
    m_pLeftBehind.reset();
    ExpectGone(pManager);
}

// Else it would be deleted under the function that handles its reply.
TEST_F(ARequestLeftBehind, IsNotGivenUpWhileItHandlesItsReply)
{
    const QPointer<SlowManager> pManager = Leave(4 * SOON_MS);
    const QDeadlineTimer afterwards(qint64{4} * SOON_MS);
    bool bThereAfterwards = false;
    pManager->SetEndReceiver([&](const ExchangeEnd&) {
        Leave(ENOUGH_MS); // looks at all deadlines
        bThereAfterwards = !pManager.isNull();
    });
    while (!afterwards.hasExpired()) {
        std::this_thread::yield(); // no event is handled meanwhile
    }
    pManager->TakeReply();
    EXPECT_TRUE(bThereAfterwards);
    ExpectGone(pManager);
}

// Here the manager's own timer comes due in the midst of the function that handles its reply.
TEST_F(ARequestLeftBehind, IsNotGivenUpByItsOwnTimerWhileItHandlesItsReply)
{
    const QPointer<SlowManager> pManager = Leave(2 * SOON_MS);
    m_pLeftBehind.reset();
    bool bThereAfterwards = false;
    pManager->SetEndReceiver([&](const ExchangeEnd&) {
        bool bPassed = false;
        QTimer::singleShot(6 * SOON_MS, [&] { bPassed = true; });
        EXPECT_TRUE(QTest::qWaitFor([&] { return bPassed; }, ENOUGH_MS));
        bThereAfterwards = !pManager.isNull();
    });
    pManager->TakeReply();
    EXPECT_TRUE(bThereAfterwards);
    ExpectGone(pManager);
}

TEST_F(ARequestLeftBehind, GoesOnItsOwnIfItsReplyCameBeforeWhatWatchesItGoes)
{
    const QPointer<SlowManager> pManager = Leave(ENOUGH_MS);
    pManager->TakeReply();
    m_pLeftBehind.reset();
    EXPECT_FALSE(pManager.isNull());
    ExpectGone(pManager);
}

} // namespace
