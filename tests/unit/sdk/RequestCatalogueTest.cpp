#include "SdkFixture.h"

#include "sdk/RequestCatalogue.h"

#include <limits>

namespace
{
struct EndpointRow {
    int nType;
    const char* szPath;
};

void PrintTo(const EndpointRow& row, std::ostream* pStream)
{
    *pStream << row.nType;
}

class RequestCatalogue : public SdkTest
{
};

class RequestCatalogueRow : public SdkTest, public testing::WithParamInterface<EndpointRow>
{
};

class IdOutsideTheCatalogue : public SdkTest, public testing::WithParamInterface<int>
{
};
} // namespace

TEST_P(RequestCatalogueRow, HasItsDefaultPath)
{
    EXPECT_EQ(VelCSDK::DefaultEndpointPath(GetParam().nType), GetParam().szPath);
}

TEST_P(RequestCatalogueRow, AnswersGetUrlWithTheDefaultPathWhileNothingOverridesIt)
{
    EXPECT_EQ(m_client.GetUrl(GetParam().nType), GetParam().szPath);
}

TEST_P(RequestCatalogueRow, AnswersGetUrlWithItsOverride)
{
    m_client.SetUrlMap({{GetParam().nType, "api/site"}});
    EXPECT_EQ(m_client.GetUrl(GetParam().nType), "api/site");
}

TEST_P(RequestCatalogueRow, AnEmptyOverrideDoesNotHideTheDefaultPath)
{
    m_client.SetUrlMap({{GetParam().nType, ""}});
    EXPECT_EQ(m_client.GetUrl(GetParam().nType), GetParam().szPath);
}

INSTANTIATE_TEST_SUITE_P(
    Every, RequestCatalogueRow,
    testing::Values(EndpointRow{3100, "posts"}, EndpointRow{3101, "vomd/system/addstatuslog.action"},
                    EndpointRow{3102, "vomd/system/incubatorStatus.action"},
                    EndpointRow{3103, "vomd/system/GetSyxm.action"},
                    EndpointRow{3104, "vomd/system/GetSupportVer.action"},
                    EndpointRow{3105, "vomd/system/GetDxzt.action"},
                    EndpointRow{3106, "vomd/system/autoExport.action"},
                    EndpointRow{3107, "vomd/system/xmmb/getFtpFilePath.action"},
                    EndpointRow{3108, "vomd/system/channelUpDownPlatform.action"},
                    EndpointRow{3109, "vomd/system/channelCheckData.action"},
                    EndpointRow{3110, "vomd/system/whetherInCommon.action"},
                    EndpointRow{3111, "vomd/system/getCdlxFileListByDxtmList.action"},
                    EndpointRow{3112, "dev-api/connector/DataCollectionController_KR_KR/saveData"},
                    EndpointRow{3113, "open/test-cabinet/add/kostrel/cycle"},
                    EndpointRow{3114, "open/test-cabinet/add/kostrel/step"},
                    EndpointRow{3115, "core/api/public/orn/qm/autoWriteInspection"}),
    testing::PrintToStringParamName());

TEST_P(IdOutsideTheCatalogue, HasNoPath)
{
    EXPECT_EQ(VelCSDK::DefaultEndpointPath(GetParam()), "");
    EXPECT_EQ(m_client.GetUrl(GetParam()), "");
}

TEST_P(IdOutsideTheCatalogue, MayBeGivenOneByTheSite)
{
    m_client.SetUrlMap({{GetParam(), "api/extra"}});
    EXPECT_EQ(m_client.GetUrl(GetParam()), "api/extra");
    EXPECT_EQ(VelCSDK::DefaultEndpointPath(GetParam()), "");
}

INSTANTIATE_TEST_SUITE_P(Any, IdOutsideTheCatalogue,
                         testing::Values(3099, 3116, 0, -1, -3104, std::numeric_limits<int>::min(),
                                         std::numeric_limits<int>::max()));

TEST_F(RequestCatalogue, AnOverrideIsUsedVerbatim)
{
    for (const char* szPath : {"api/ver", "/api/ver/", "//", " ", "api/ver?x=1", "api/版本", "%zz"}) {
        m_client.SetUrlMap({{3104, szPath}});
        EXPECT_EQ(m_client.GetUrl(3104), szPath);
    }
}

TEST_F(RequestCatalogue, AnOverrideLeavesTheOtherIdsAlone)
{
    m_client.SetUrlMap({{3104, "api/ver"}});
    EXPECT_EQ(m_client.GetUrl(3103), "vomd/system/GetSyxm.action");
    EXPECT_EQ(m_client.GetUrl(3105), "vomd/system/GetDxzt.action");
}

TEST_F(RequestCatalogue, ANewMapReplacesTheOldOneWhole)
{
    m_client.SetUrlMap({{3103, "api/projects"}, {3104, "api/ver"}, {9000, "api/extra"}});
    m_client.SetUrlMap({{3104, "api/version"}});
    EXPECT_EQ(m_client.GetUrl(3103), "vomd/system/GetSyxm.action");
    EXPECT_EQ(m_client.GetUrl(3104), "api/version");
    EXPECT_EQ(m_client.GetUrl(9000), "");
}

TEST_F(RequestCatalogue, TheClientKeepsItsOwnCopyOfTheMap)
{
    std::map<int, std::string> mapUrl{{3104, "api/ver"}};
    m_client.SetUrlMap(mapUrl);
    mapUrl[3104] = "changed";
    EXPECT_EQ(m_client.GetUrl(3104), "api/ver");
}

TEST_F(RequestCatalogue, AskingForAnIdAddsNothingToTheOverrides)
{
    m_client.SetUrlMap({});
    EXPECT_EQ(m_client.GetUrl(9000), "");
    EXPECT_EQ(m_client.GetUrl(9000), "");
    EXPECT_EQ(m_client.GetUrl(3104), "vomd/system/GetSupportVer.action");
    EXPECT_EQ(m_client.GetUrl(3104), "vomd/system/GetSupportVer.action");
}
