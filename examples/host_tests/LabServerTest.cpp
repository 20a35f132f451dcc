// Tests of ChannelDesk against a real server, the lab server, on this machine.

#include "ChannelDesk.h"
#include "Patience.h"

#include <ktshttpagent/testing/KtsGoogleTest.h>

#include <QSignalSpy>

#include <gtest/gtest.h>

namespace
{

class ChannelDeskInLab : public KtsLabServerTest
{
protected:
    void SetUp() override
    {
        ASSERT_NO_FATAL_FAILURE(KtsLabServerTest::SetUp()); // starts m_lab
        m_pDesk = std::make_unique<ChannelDesk>(m_lab.Host(), m_lab.Port());
    }

    std::unique_ptr<ChannelDesk> m_pDesk;
};

TEST_F(ChannelDeskInLab, AsksByTheRulesOfTheLaboratory)
{
    const QJsonObject rule{{"deviceId", "KTS-1"}, {"chl", "8"}, {"allowBoot", "no"}, {"reason", "broken"}};
    ASSERT_TRUE(m_lab.AddRows("channel-rules", {rule})) << m_lab.Error().toStdString();
    QString strReason;
    EXPECT_EQ(m_pDesk->MayStart("KTS-1", "8", PATIENCE_MS, strReason), ChannelDesk::Permission::Denied);
    EXPECT_EQ(strReason, "broken");
}

TEST_F(ChannelDeskInLab, ReportsOnceMoreAfterAFailure)
{
    ASSERT_TRUE(m_lab.AddFault("vomd/system/incubatorStatus.action", 502)) << m_lab.Error().toStdString();
    QSignalSpy reported(m_pDesk.get(), &ChannelDesk::TemperatureReported);
    m_pDesk->ReportTemperature("INC-1", 25.5F);
    ASSERT_TRUE(reported.wait(PATIENCE_MS));
    EXPECT_TRUE(reported[0][0].toBool());
    const QJsonArray stored = m_lab.Reports("incubator-status");
    ASSERT_EQ(stored.size(), 1);
    EXPECT_EQ(stored[0].toObject().value("report").toObject().value("name").toString(), "INC-1");
}

TEST_F(ChannelDeskInLab, NoticesThatTheServerIsGoneAndBack)
{
    QString strReason;
    m_lab.Stop();
    EXPECT_EQ(m_pDesk->MayStart("KTS-9", "1", PATIENCE_MS, strReason), ChannelDesk::Permission::NoAnswer);
    ASSERT_TRUE(m_lab.Start()) << m_lab.Error().toStdString();
    EXPECT_EQ(m_pDesk->MayStart("KTS-9", "1", PATIENCE_MS, strReason), ChannelDesk::Permission::Allowed);
}

} // namespace
