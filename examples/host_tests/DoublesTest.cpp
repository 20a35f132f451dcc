// Tests of ChannelDesk without a server and without a network.

#include "ChannelDesk.h"
#include "Patience.h"

#include <ktshttpagent/RequestType.h>
#include <ktshttpagent/testing/KtsGoogleTest.h>
#include <ktshttpagent/testing/KtsScriptedNetwork.h>
#include <ktshttpagent/testing/KtsScriptedTransport.h>

#include <QSignalSpy>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
namespace RequestType = VelCSDK::RequestType;

namespace
{

class ChannelDeskTest : public ::testing::Test
{
protected:
    ~ChannelDeskTest() override
    {
        EXPECT_THAT(m_transport.Unscripted(), IsEmpty());
        EXPECT_THAT(m_network.Unscripted(), IsEmpty());
    }

    KtsScriptedTransport m_transport; // answers the asynchronous senders
    KtsScriptedNetwork m_network;     // answers the blocking senders
    ChannelDesk m_desk{"no.such.server", 8080};
};

TEST_F(ChannelDeskTest, TellsThatAVersionIsSupported)
{
    m_transport.On(RequestType::GetSupportVer, KtsReply::Body(R"({"success":true})"));
    QSignalSpy checked(&m_desk, &ChannelDesk::VersionChecked);
    m_desk.CheckVersion("1.1.0");
    ASSERT_TRUE(checked.wait(PATIENCE_MS));
    EXPECT_EQ(checked[0][0].toBool(), true);
    EXPECT_THAT(m_transport.Sent()[0].strUrl, HasSubstr("t=1.1.0"));
}

TEST_F(ChannelDeskTest, TellsThatAVersionIsNotSupportedIfTheServerIsGone)
{
    m_transport.On(RequestType::GetSupportVer, KtsReply::Failure(EKtsFault::ConnectionRefused));
    QSignalSpy checked(&m_desk, &ChannelDesk::VersionChecked);
    m_desk.CheckVersion("1.1.0");
    ASSERT_TRUE(checked.wait(PATIENCE_MS));
    EXPECT_EQ(checked[0][0].toBool(), false);
}

TEST_F(ChannelDeskTest, ReportsOnceMoreAfterAFailure)
{
    m_transport.On(RequestType::ReportIncubatorStatus, KtsReply::Body("Bad Gateway", 502).Times(1));
    m_transport.On(RequestType::ReportIncubatorStatus, KtsReply::Body(R"({"success":true})").After(20ms));
    QSignalSpy reported(&m_desk, &ChannelDesk::TemperatureReported);
    m_desk.ReportTemperature("INC-1", 25.5F);
    ASSERT_TRUE(reported.wait(PATIENCE_MS));
    EXPECT_EQ(reported[0][0].toBool(), true);
    const auto vecSent = m_transport.Sent(RequestType::ReportIncubatorStatus);
    ASSERT_EQ(vecSent.size(), 2U);
    EXPECT_EQ(vecSent[0].strBody, vecSent[1].strBody);
    EXPECT_THAT(vecSent[1].strBody, HasSubstr("25.5"));
}

TEST_F(ChannelDeskTest, GivesUpAfterTheSecondFailure)
{
    m_transport.On(RequestType::ReportIncubatorStatus, KtsReply::Failure(EKtsFault::TimedOut));
    QSignalSpy reported(&m_desk, &ChannelDesk::TemperatureReported);
    m_desk.ReportTemperature("INC-1", 25.5F);
    ASSERT_TRUE(reported.wait(PATIENCE_MS));
    EXPECT_EQ(reported[0][0].toBool(), false);
    EXPECT_EQ(m_transport.Sent().size(), 2U);
}

TEST_F(ChannelDeskTest, AllowsAStartOnlyOnTheServersYes)
{
    m_network.On(RequestType::GetChannelCheckData,
                 KtsReply::Body(R"({"success":true,"result":{"allowBoot":"yes","reason":"free"}})"));
    QString strReason;
    EXPECT_EQ(m_desk.MayStart("KTS-1", "8", PATIENCE_MS, strReason), ChannelDesk::Permission::Allowed);
    EXPECT_EQ(strReason, "free");
}

TEST_F(ChannelDeskTest, DoesNotStartWhenTheServerIsSilent)
{
    m_network.On(RequestType::GetChannelCheckData, KtsReply::Never());
    QString strReason;
    EXPECT_EQ(m_desk.MayStart("KTS-1", "8", 50, strReason), ChannelDesk::Permission::NoAnswer);
    EXPECT_THAT(strReason.toStdString(), HasSubstr("50 ms"));
}

TEST_F(ChannelDeskTest, DoesNotStartWhenTheServerSaysNo)
{
    m_network.On(RequestType::GetChannelCheckData,
                 KtsReply::Body(R"({"success":true,"result":{"allowBoot":"no","reason":"in use"}})"));
    QString strReason;
    EXPECT_EQ(m_desk.MayStart("KTS-1", "8", PATIENCE_MS, strReason), ChannelDesk::Permission::Denied);
    EXPECT_EQ(strReason, "in use");
}

TEST_F(ChannelDeskTest, HandlesAnswersWhileItWaits)
{
    m_transport.On(RequestType::GetSupportVer, KtsReply::Body(R"({"success":true})"));
    m_network.On(RequestType::GetChannelCheckData, KtsReply::Body("Bad Gateway", 502).After(200ms));
    const QSignalSpy checked(&m_desk, &ChannelDesk::VersionChecked);
    m_desk.CheckVersion("1.1.0");
    QString strReason;
    EXPECT_EQ(m_desk.MayStart("KTS-1", "8", PATIENCE_MS, strReason), ChannelDesk::Permission::NoAnswer);
    EXPECT_EQ(checked.count(), 1);
}

} // namespace
