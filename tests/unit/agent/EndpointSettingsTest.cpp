#include "RecordingLog.h"
#include "RequestCatalogue.h"
#include "SettingRows.h"
#include "SettingsRoot.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/IVelClientSDk.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

class EndpointSettings : public SettingsRoot
{
protected:
    static std::string PathOf(int nType)
    {
        CUIAgentReq::Instance();
        return VelCSDK::SDKFactory::GetInstance()->GetUrl(nType);
    }

    static std::string BuiltIn(int nType) { return VelCSDK::DefaultEndpointPath(nType); }
};

TEST_F(EndpointSettings, WithoutAnySettingEveryRequestUsesItsBuiltInPath)
{
    for (int nType = 3100; nType <= 3115; ++nType) {
        EXPECT_EQ(PathOf(nType), BuiltIn(nType));
        EXPECT_EQ(CUIAgentReq::Instance()->EndpointOrigin(nType), "built in");
    }
    EXPECT_THAT(RecordedLog(), ::testing::IsEmpty());
}

class EndpointSetting : public EndpointSettings, public ::testing::WithParamInterface<SettingRow>
{
};

TEST_P(EndpointSetting, ChangesThePathOfItsOwnRequestAlone)
{
    Write(GetParam().szProfile, QByteArray(GetParam().szName) + "=\"a site's own/path\"\n");
    for (int nType = 3100; nType <= 3115; ++nType) {
        const bool bOwn = nType == GetParam().nType;
        EXPECT_EQ(PathOf(nType), bOwn ? "a site's own/path" : BuiltIn(nType)) << nType;
        EXPECT_EQ(CUIAgentReq::Instance()->EndpointOrigin(nType) == "built in", !bOwn) << nType;
    }
    EXPECT_EQ(PathOf(0), ""); // HttpUrlReportLocation belongs to no request
    EXPECT_EQ(CUIAgentReq::Instance()->EndpointOrigin(0), "built in");
}

INSTANTIATE_TEST_SUITE_P(EachRow, EndpointSetting, ::testing::ValuesIn(ROWS),
                         [](const auto& row) { return row.param.szName + std::to_string(row.param.nType); });

TEST_F(EndpointSettings, TheOriginNamesProfileAndValue)
{
    Write(ORN, "HttpUrlPostReportStepData=orn/path\n");
    EXPECT_EQ(PathOf(3115), "orn/path");
    const QString strOrigin = CUIAgentReq::Instance()->EndpointOrigin(3115);
    EXPECT_TRUE(strOrigin.contains(ORN)) << strOrigin.toStdString();
    EXPECT_TRUE(strOrigin.contains("HttpUrlPostReportStepData")) << strOrigin.toStdString();
}

TEST_F(EndpointSettings, AValueBelowANetcfgKeyOfThePluginProfileIsNotSeen)
{
    Write("HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL/BRELK/KTSStartPlugin/NETCFG", "HttpUrlGetSyxm=unseen\n");
    Write("HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL/BRELK/NETCFG", "HttpUrlGetSyxm=unseen\n");
    Write(PLUGIN, "[NETCFG]\nHttpUrlGetSyxm=unseen\n");
    EXPECT_EQ(PathOf(3103), BuiltIn(3103));
}

TEST_F(EndpointSettings, AnEmptyValueLeavesTheBuiltInPath)
{
    Write(PLUGIN, "HttpUrlGetSyxm=\n");
    EXPECT_EQ(PathOf(3103), BuiltIn(3103));
    EXPECT_EQ(CUIAgentReq::Instance()->EndpointOrigin(3103), "built in");
}

TEST_F(EndpointSettings, AValueIsTakenAsItStandsWithSpacesSlashesAndChinese)
{
    Write(PLUGIN, "HttpUrlGetSyxm=\"  /试验/x \"\n");
    EXPECT_EQ(PathOf(3103), "  /试验/x ");
}

TEST_F(EndpointSettings, AValueThatIsNoTextIsTakenAsText)
{
    Write(PLUGIN, "HttpUrlGetSyxm=42\n");
    EXPECT_EQ(PathOf(3103), "42");
}

TEST_F(EndpointSettings, AProfileThatCannotBeParsedLeavesTheBuiltInPathsAndSaysSo)
{
    Write(PLUGIN, "this line is no setting\nHttpUrlGetSyxm=half/read\n");
    EXPECT_EQ(PathOf(3103), BuiltIn(3103));
    ASSERT_EQ(RecordedLog().size(), 1U);
    EXPECT_EQ(RecordedLog().front().nLevel, 1);
    EXPECT_EQ(RecordedLog().front().nLine, 1);
    EXPECT_THAT(RecordedLog().front().strText,
                ::testing::AllOf(::testing::HasSubstr(PLUGIN), ::testing::HasSubstr("can't be parsed")));
}

TEST_F(EndpointSettings, AProfileThatCannotBeReadLeavesTheBuiltInPathsAndSaysSo)
{
    QDir().mkpath(FileOf(PLUGIN)); // a folder where a file should be
    EXPECT_EQ(PathOf(3103), BuiltIn(3103));
    ASSERT_FALSE(RecordedLog().empty());
    EXPECT_THAT(RecordedLog().front().strText, ::testing::HasSubstr(PLUGIN));
}

TEST_F(EndpointSettings, AreReadOnceAtConstruction)
{
    Write(PLUGIN, "HttpUrlGetSyxm=first\n");
    EXPECT_EQ(PathOf(3103), "first");
    Write(PLUGIN, "HttpUrlGetSyxm=second\n");
    EXPECT_EQ(PathOf(3103), "first");
}

TEST_F(EndpointSettings, ReadingWritesNothing)
{
    CUIAgentReq::Instance();
    EXPECT_TRUE(QDir(m_root.path()).isEmpty());
}

} // namespace
