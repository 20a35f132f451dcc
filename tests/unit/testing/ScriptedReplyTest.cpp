// A scripted reply of Qt's network access by itself: what it emits, and what becomes of it when it is
// aborted.

#include "testing/ScriptedReply.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;

namespace
{

constexpr int REPLY_MS = 60'000;

class OneScriptedReply : public ::testing::Test
{
protected:
    void Begin(const KtsReply& reply)
    {
        m_pReply = std::make_unique<ScriptedReply>(QNetworkAccessManager::GetOperation,
                                                   QNetworkRequest(QUrl("http://server/x")),
                                                   ChosenReply{reply, {}}, nullptr);
        m_pFinished = std::make_unique<QSignalSpy>(m_pReply.get(), &QNetworkReply::finished);
    }

    bool IsFinished() { return m_pFinished->count() > 0 || m_pFinished->wait(REPLY_MS); }

    std::unique_ptr<ScriptedReply> m_pReply;
    std::unique_ptr<QSignalSpy> m_pFinished;
};

TEST_F(OneScriptedReply, HasItsHeadersAndItsBody)
{
    Begin(KtsReply::Body("busy", 503).RetryAfter(9s));
    ASSERT_TRUE(IsFinished());
    EXPECT_EQ(m_pReply->rawHeader("Retry-After"), "9");
    EXPECT_EQ(m_pReply->header(QNetworkRequest::ContentLengthHeader).toInt(), 4);
    EXPECT_EQ(m_pReply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 503);
    EXPECT_EQ(m_pReply->readAll(), "busy");
    EXPECT_EQ(m_pReply->error(), QNetworkReply::ServiceUnavailableError);
}

TEST_F(OneScriptedReply, AbortedBeforeItsTimeFinishesOnce)
{
    Begin(KtsReply::Body("late"));
    m_pReply->abort();
    EXPECT_EQ(m_pFinished->count(), 1);
    EXPECT_EQ(m_pReply->error(), QNetworkReply::OperationCanceledError);
    QTest::qWait(0); // its time has come too
    m_pReply->abort();
    EXPECT_EQ(m_pFinished->count(), 1);
    EXPECT_EQ(m_pReply->readAll(), "");
}

TEST_F(OneScriptedReply, AbortedByWhoeverReadsItsBodyFinishesOnce)
{
    Begin(KtsReply::Body("whole"));
    QObject::connect(m_pReply.get(), &QNetworkReply::readyRead, m_pReply.get(),
                     [this] { m_pReply->abort(); });
    ASSERT_TRUE(IsFinished());
    EXPECT_EQ(m_pFinished->count(), 1);
    EXPECT_EQ(m_pReply->error(), QNetworkReply::OperationCanceledError);
}

} // namespace
