#include "EndpointSettings.h"
#include "AgentProbe.h"
#include "IVelClientSDk.h"
#include "RecordingLog.h"
#include "RecordingTransport.h"
#include "RequestCatalogue.h"
#include "SyncWait.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <thread>

namespace
{

constexpr const char* PLUGIN = "HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL/BRELK/KTSStartPlugin.ini";
constexpr const char* ORN = "HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL/ORN/NETCFG.ini";
constexpr const char* TAMOR = "HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL/TAMOR/NETCFG.ini";
constexpr const char* PLIX = "HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL/PLIX/NETCFG.ini";

/// A settings root of the test's own. Each test is a process of its own, so the singletons are fresh.
class EndpointSettings : public ::testing::Test
{
protected:
    EndpointSettings() { qputenv("KTSHTTPAGENT_SETTINGS_ROOT", m_root.path().toUtf8()); }

    void Write(const char* szProfile, const QByteArray& text) const
    {
        const QString strFile = m_root.path() + '/' + szProfile;
        QDir().mkpath(QFileInfo(strFile).path());
        QFile file(strFile);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }

    static std::string PathOf(int nType)
    {
        CUIAgentReq::Instance();
        return VelCSDK::SDKFactory::GetInstance()->GetUrl(nType);
    }

    static std::string BuiltIn(int nType) { return VelCSDK::DefaultEndpointPath(nType); }

    QTemporaryDir m_root;
};

TEST_F(EndpointSettings, WithoutAnySettingEveryRequestUsesItsBuiltInPath)
{
    for (int nType = 3100; nType <= 3115; ++nType) {
        EXPECT_EQ(PathOf(nType), BuiltIn(nType));
        EXPECT_EQ(CUIAgentReq::Instance()->EndpointOrigin(nType), "built in");
    }
    EXPECT_THAT(RecordedLog(), ::testing::IsEmpty());
}

struct SettingRow {
    const char* szName;
    int nType;
    const char* szProfile;
};

// Held apart from the library's own table on purpose: this is what sites have in their registries.
const SettingRow ROWS[] = {
    {"HttpUrlAddStatusLog", 3101, PLUGIN},
    {"HttpUrlAutoExport", 3106, PLUGIN},
    {"HttpUrlGetDxzt", 3105, PLUGIN},
    {"HttpUrlGetFtpFilePath", 3107, PLUGIN},
    {"HttpUrlGetSupportVer", 3104, PLUGIN},
    {"HttpUrlGetSyxm", 3103, PLUGIN},
    {"HttpUrlIncubatorStatus", 3102, PLUGIN},
    {"HttpUrlReportLocation", 0, PLUGIN},
    {"HttpUrlGetChannelUpDownPlatform", 3108, PLUGIN},
    {"HttpUrlGetChannelCheckData", 3109, PLUGIN},
    {"HttpUrlGetWhetherInCommon", 3110, PLUGIN},
    {"HttpUrlGetCdlxFileListByDxtmList", 3111, PLUGIN},
    {"HttpUrlPostBatteryTestData", 3112, TAMOR},
    {"HttpUrlPostReportCycleData", 3113, PLIX},
    {"HttpUrlPostReportStepData", 3114, PLIX},
    {"HttpUrlPostReportStepData", 3115, ORN},
};

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
}

INSTANTIATE_TEST_SUITE_P(EachRow, EndpointSetting, ::testing::ValuesIn(ROWS),
                         [](const auto& row) { return row.param.szName + std::to_string(row.param.nType); });

TEST_F(EndpointSettings, AreReadInTheirOrder)
{
    ASSERT_EQ(ENDPOINT_SETTINGS.size(), std::size(ROWS));
    for (std::size_t nRow = 0; nRow < ENDPOINT_SETTINGS.size(); ++nRow) {
        EXPECT_STREQ(ENDPOINT_SETTINGS.at(nRow).szName, ROWS[nRow].szName);
        EXPECT_EQ(ENDPOINT_SETTINGS.at(nRow).nType, ROWS[nRow].nType);
    }
}

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
    Write("HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL/BRELK/KTSStartPlugin/NETCFG.ini", "HttpUrlGetSyxm=unseen\n");
    Write("HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL/BRELK/NETCFG.ini", "HttpUrlGetSyxm=unseen\n");
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
    EXPECT_THAT(RecordedLog().front().strText,
                ::testing::AllOf(::testing::HasSubstr(PLUGIN), ::testing::HasSubstr("can't be parsed")));
}

TEST_F(EndpointSettings, AProfileThatCannotBeReadLeavesTheBuiltInPathsAndSaysSo)
{
    QDir().mkpath(m_root.path() + '/' + PLUGIN); // a folder where a file should be
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

TEST_F(EndpointSettings, TheRequestObjectInitialisesTheClientOnce)
{
    CUIAgentReq::Instance();
    EXPECT_THAT(RecordingTransport::Instance().vecCalls,
                ::testing::ElementsAre("CHttpClientInit", "CHttpClientSetResponseCallBack"));
}

TEST_F(EndpointSettings, SixWaitRecordsStartWithTheirInitialValues)
{
    const AgentRequestProbe request;
    EXPECT_EQ(request.m_mapSyncWait.keys(), (QList<int>{3109, 3110, 3112, 3113, 3114, 3115}));
    for (const SyncWait* const pWait : request.m_mapSyncWait) {
        EXPECT_EQ(pWait->loop.parent(), nullptr);
        EXPECT_FALSE(pWait->loop.isRunning());
        EXPECT_FALSE(pWait->bSucc);
        EXPECT_TRUE(pWait->strResult.isEmpty());
        EXPECT_TRUE(pWait->strReason.isEmpty());
        EXPECT_FALSE(pWait->bFlag);
        EXPECT_EQ(pWait->nCode, 404);
        EXPECT_TRUE(pWait->strMessage.isEmpty());
    }
}

TEST_F(EndpointSettings, TheServerIsJoinedWithoutAnyCheck)
{
    AgentRequestProbe request;
    EXPECT_EQ(request.JointServerInfo("srv", 8080), "http://srv:8080/");
    EXPECT_EQ(request.JointServerInfo("", 0), "http://:0/");
    EXPECT_EQ(request.JointServerInfo("a b", -1), "http://a b:-1/");
}

TEST_F(EndpointSettings, TheInstanceIsOneForAllThreads)
{
    std::vector<CUIAgentReq*> vecSeen(4);
    std::vector<std::thread> vecThreads;
    for (CUIAgentReq*& pSeen : vecSeen) {
        vecThreads.emplace_back([&pSeen] { pSeen = CUIAgentReq::Instance(); });
    }
    for (std::thread& thread : vecThreads) {
        thread.join();
    }
    EXPECT_EQ(std::set<CUIAgentReq*>(vecSeen.begin(), vecSeen.end()).size(), 1U);
}

} // namespace
