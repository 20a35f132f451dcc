#include "Enough.h"

#include "platform/metrics/Servers.h"

#include <ktshttpagent/KtsConnection.h>

#include <QCoreApplication>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <gmock/gmock.h>

#include <memory>
#include <thread>

namespace
{

class Connection : public testing::Test
{
protected:
    static void Lose() { metrics::NoteUnreached("http://lab:80/vomd", "the connection was refused"); }
    static void GetBack() { metrics::NoteReached("http://lab:80/vomd"); }

    CKtsConnection m_connection;
    QSignalSpy m_lost{&m_connection, &CKtsConnection::SigConnectionLost};
    QSignalSpy m_back{&m_connection, &CKtsConnection::SigConnectionBack};
};

TEST_F(Connection, IsLostWithServerAndReason)
{
    Lose();
    EXPECT_EQ(CKtsConnection::LostServers(), QStringList{"http://lab:80"});
    ASSERT_TRUE(QTest::qWaitFor([&] { return m_lost.count() == 1; }, ENOUGH_MS));
    EXPECT_EQ(m_lost.front(), (QVariantList{"http://lab:80", "the connection was refused"}));
    EXPECT_EQ(m_back.count(), 0);
}

TEST_F(Connection, IsBackAfterAnAnswer)
{
    Lose();
    GetBack();
    ASSERT_TRUE(QTest::qWaitFor([&] { return m_back.count() == 1; }, ENOUGH_MS));
    EXPECT_EQ(m_lost.count(), 1);
    EXPECT_EQ(m_back.front(), QVariantList{"http://lab:80"});
    EXPECT_EQ(CKtsConnection::LostServers(), QStringList());
}

// Receivers that are connected directly run on that thread too.
TEST_F(Connection, EmitsOnItsOwnThreadWhereverTheExchangeEnded)
{
    const QThread* pEmitted = nullptr;
    QObject::connect(
        &m_connection, &CKtsConnection::SigConnectionLost, &m_connection,
        [&] { pEmitted = QThread::currentThread(); }, Qt::DirectConnection);
    std::thread(&Lose).join();
    EXPECT_EQ(pEmitted, nullptr) << "it may be emitted only by the event loop";
    ASSERT_TRUE(QTest::qWaitFor([&] { return pEmitted != nullptr; }, ENOUGH_MS));
    EXPECT_EQ(pEmitted, QThread::currentThread());
}

TEST_F(Connection, OfAnObjectThatIsGoneHarmsNobody)
{
    auto pGone = std::make_unique<CKtsConnection>();
    Lose();
    pGone.reset(); // its signal was posted, but not emitted
    GetBack();
    ASSERT_TRUE(QTest::qWaitFor([&] { return m_back.count() == 1; }, ENOUGH_MS));
}

} // namespace
