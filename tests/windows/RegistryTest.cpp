// The endpoint paths given by a site's registry.

#include "Registry.h"

#include "AgentProbe.h"
#include "RecordingLog.h"
#include "RequestCatalogue.h"
#include "SettingRows.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/IVelClientSDk.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

/// A registry without settings. The tests run one at a time, each in a process of its own.
class Registry : public ::testing::Test
{
protected:
    Registry() { EXPECT_TRUE(DeleteRegistry(ROOT)); }
    ~Registry() override { EXPECT_TRUE(DeleteRegistry(ROOT)); }
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;

    /// @param szType  the value's type, as the system's tool names it
    static void Write(const QString& strProfile, const QString& strName, const QString& strData,
                      const char* szType = "REG_SZ")
    {
        ASSERT_TRUE(WriteRegistry(strProfile, strName, strData, szType));
    }

    static std::string PathOf(int nType)
    {
        CUIAgentReq::Instance();
        return VelCSDK::SDKFactory::GetInstance()->GetUrl(nType);
    }

    static std::string BuiltIn(int nType) { return VelCSDK::DefaultEndpointPath(nType); }

    static constexpr const char* ROOT = "HKEY_LOCAL_MACHINE\\SOFTWARE\\ZORVAL";
};

TEST_F(Registry, WithoutAnyValueEveryRequestUsesItsBuiltInPath)
{
    Write("HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL", "Unrelated", "x");
    for (int nType = 3100; nType <= 3115; ++nType) {
        EXPECT_EQ(PathOf(nType), BuiltIn(nType));
        EXPECT_EQ(CUIAgentReq::Instance()->EndpointOrigin(nType), "built in");
    }
    EXPECT_THAT(RecordedLog(), ::testing::IsEmpty());
}

class RegistryRow : public Registry, public ::testing::WithParamInterface<SettingRow>
{
};

TEST_P(RegistryRow, ChangesThePathOfItsOwnRequestAlone)
{
    Write(GetParam().szProfile, GetParam().szName, "a site's own/path");
    for (int nType = 3100; nType <= 3115; ++nType) {
        const bool bOwn = nType == GetParam().nType;
        EXPECT_EQ(PathOf(nType), bOwn ? "a site's own/path" : BuiltIn(nType)) << nType;
        EXPECT_EQ(CUIAgentReq::Instance()->EndpointOrigin(nType) == "built in", !bOwn) << nType;
    }
}

INSTANTIATE_TEST_SUITE_P(EachRow, RegistryRow, ::testing::ValuesIn(ROWS),
                         [](const auto& row) { return row.param.szName + std::to_string(row.param.nType); });

TEST_F(Registry, AllFourProfilesAreReadTogether)
{
    for (const SettingRow& row : ROWS) {
        Write(row.szProfile, row.szName, "site/" + QString::number(row.nType));
    }
    EXPECT_EQ(PathOf(3100), BuiltIn(3100));
    for (int nType = 3101; nType <= 3115; ++nType) {
        EXPECT_EQ(PathOf(nType), "site/" + std::to_string(nType));
    }
}

TEST_F(Registry, TheValueOfTwoProfilesGivesTwoPaths)
{
    Write(PLIX, "HttpUrlPostReportStepData", "of plix");
    Write(ORN, "HttpUrlPostReportStepData", "of orn");
    EXPECT_EQ(PathOf(3114), "of plix");
    EXPECT_EQ(PathOf(3115), "of orn");
    EXPECT_EQ(CUIAgentReq::Instance()->EndpointOrigin(3115),
              "HKEY_LOCAL_MACHINE\\SOFTWARE\\ZORVAL\\ORN\\NETCFG HttpUrlPostReportStepData");
}

TEST_F(Registry, AValueBelowANetcfgKeyOfThePluginProfileIsNotSeen)
{
    Write(QString(PLUGIN) + "/NETCFG", "HttpUrlGetSyxm", "unseen");
    Write("HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL/BRELK/NETCFG", "HttpUrlGetSyxm", "unseen");
    EXPECT_EQ(PathOf(3103), BuiltIn(3103));
}

/// A value that is not a plain text, and the path that it gives; null for the built-in one.
struct OtherValue {
    const char* szType;
    const char* szData;
    const char* szPath;
};

class RegistryValue : public Registry, public ::testing::WithParamInterface<OtherValue>
{
};

TEST_P(RegistryValue, IsTakenAsText)
{
    Write(PLUGIN, "HttpUrlGetSyxm", GetParam().szData, GetParam().szType);
    EXPECT_EQ(PathOf(3103), GetParam().szPath == nullptr ? BuiltIn(3103) : GetParam().szPath);
}

INSTANTIATE_TEST_SUITE_P(OfType, RegistryValue,
                         ::testing::Values(OtherValue{"REG_DWORD", "42", "42"},
                                           OtherValue{"REG_EXPAND_SZ", "%NOVARIABLE%/x", "%NOVARIABLE%/x"},
                                           OtherValue{"REG_MULTI_SZ", "one", "one"},
                                           OtherValue{"REG_MULTI_SZ", "one\\0two", nullptr},
                                           OtherValue{"REG_SZ", "", nullptr}));

/// A value that switches TLS on or off, and the scheme used for servers named by address and port.
struct TlsValue {
    const char* szType;
    const char* szData;
    const char* szScheme;
    std::size_t nLogged;
};

class RegistryTls : public Registry, public ::testing::WithParamInterface<TlsValue>
{
};

TEST_P(RegistryTls, DecidesTheScheme)
{
    Write(PLUGIN, "UseTls", GetParam().szData, GetParam().szType);
    AgentRequestProbe request;
    EXPECT_EQ(request.JointServerInfo("h", 80), std::string(GetParam().szScheme) + "://h:80/");
    EXPECT_THAT(RecordedLog(), ::testing::SizeIs(GetParam().nLogged));
}

INSTANTIATE_TEST_SUITE_P(
    OfType, RegistryTls,
    ::testing::Values(TlsValue{"REG_DWORD", "1", "https", 0}, TlsValue{"REG_DWORD", "0", "http", 0},
                      TlsValue{"REG_DWORD", "2", "https", 1}, TlsValue{"REG_SZ", "Yes", "https", 0},
                      TlsValue{"REG_SZ", "OFF", "http", 0}, TlsValue{"REG_SZ", "maybe", "https", 1},
                      TlsValue{"REG_MULTI_SZ", "0\\00", "https", 1}));

TEST_F(Registry, AValueIsTakenAsItStandsWithSpacesSlashesAndChinese)
{
    Write(PLUGIN, "HttpUrlGetSyxm", QString::fromUtf8("  /试验/x "));
    EXPECT_EQ(PathOf(3103), "  /试验/x ");
}

TEST_F(Registry, IsReadOnceAtConstruction)
{
    Write(PLUGIN, "HttpUrlGetSyxm", "first");
    EXPECT_EQ(PathOf(3103), "first");
    Write(PLUGIN, "HttpUrlGetSyxm", "second");
    EXPECT_EQ(PathOf(3103), "first");
}

} // namespace
