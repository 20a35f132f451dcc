#include <ktshttpagent/RequestRecords.h>
#include <ktshttpagent/ResultRecords.h>

#include <gtest/gtest.h>

// A host sets only the fields that it knows, and reads those that a reply did not fill.

TEST(RecordDefaults, OfAChannelStatus)
{
    const KTSStartPlugin::tagRepoChlStatusInfo info;
    EXPECT_EQ(info.chlType, 0U);
    EXPECT_EQ(info.current, 0.0);
    EXPECT_EQ(info.cycle, 0U);
    EXPECT_EQ(info.disch_capacity, 0.0);
    EXPECT_EQ(info.disch_retention, 0.0);
    EXPECT_EQ(info.reason, 0U);
    EXPECT_EQ(info.voltage, 0.0);
    EXPECT_EQ(info.wtNumId, 0U);
    EXPECT_EQ(info.xmNameId, 0U);
}

TEST(RecordDefaults, OfAnIncubatorStatus)
{
    const KTSStartPlugin::tagRepoIncubatorStatus status;
    EXPECT_FALSE(status.status);
    EXPECT_EQ(status.temperature, 0.0F);
}

TEST(RecordDefaults, OfAChannelCheckQuery)
{
    const tagSRequestGetChannelCheckData query;
    EXPECT_EQ(query.wtNumId, 0);
    EXPECT_EQ(query.xmNameId, 0);
}

TEST(RecordDefaults, OfAReplyHeader)
{
    const SResponseHeader header;
    EXPECT_EQ(header.nCode, 0);
    EXPECT_EQ(header.pData, nullptr);
}

TEST(RecordDefaults, OfNumbersInAnswers)
{
    EXPECT_EQ(USER_INFO().id, 0);
    EXPECT_EQ(SBatteryItem().id, 0);
}

TEST(RecordDefaults, OfAnswersAreANo)
{
    EXPECT_FALSE(SSupportVer().bSupport);
    EXPECT_FALSE(SResponseGetProject().bSuccess);
    EXPECT_FALSE(SResponseGetBatteryStatus().bSuccess);
    EXPECT_FALSE(SResponseGetAutoExport().bSuccess);
    EXPECT_FALSE(SResponseGetFtpFilePath().bSuccess);
    EXPECT_FALSE(SResponseGetFtpFilePath().bPermit);
    EXPECT_FALSE(SResponseGetChannelCheckData().bSuccess);
    EXPECT_FALSE(SResponseGetWhetherInCommon().bSuccess);
    EXPECT_FALSE(SResponseGetWhetherInCommon().bCommon);
}
