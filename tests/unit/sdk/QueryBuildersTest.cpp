#include "SdkFixture.h"

#include "sdk/UserData.h"
#include "sdk/requests/AllRequests.h"

namespace
{

/// A text as passed by the caller, as written in JSON, and as written in a query that escapes texts.
struct QueryValue {
    const char* szName;
    std::string strText;
    std::string strJson;
    std::string strEscaped;
};

std::vector<QueryValue> QueryValues()
{
    return {{"Plain", "1.2.3", R"("1.2.3")", "1.2.3"},
            {"Empty", "", R"("")", ""},
            {"Space", "a b", R"("a b")", "a%20b"},
            {"Separators", "a&b=c?d#e/f", R"("a&b=c?d#e/f")", "a%26b%3Dc%3Fd%23e/f"},
            {"Percent", "%41%", R"("%41%")", "%2541%25"},
            {"Quotes", R"("a" 'b' \)", R"("\"a\" 'b' \\")", "%22a%22%20'b'%20%5C"},
            {"Chinese", "电池", R"("\u7535\u6c60")", "%E7%94%B5%E6%B1%A0"},
            {"BeyondThePlane", "😀", R"("\ud83d\ude00")", "%F0%9F%98%80"},
            {"Controls", "\r\n\t\x01", R"("\r\n\t\u0001")", "%0D%0A%09%01"},
            {"Nul", std::string("a\0b", 3), R"("a\u0000b")", "a%00b"},
            {"InvalidUtf8", "\xff", R"("\ufffd")", "%FF"},
            {"VeryLong", std::string(1000000, 'x'), '"' + std::string(1000000, 'x') + '"',
             std::string(1000000, 'x')}};
}

/// A query all of whose arguments are texts. In the templates "$" stands for the value.
struct TextQuery {
    const char* szName;
    int nType;
    void (*fnSend)(IVelClientSDk&, const std::string&);
    const char* szUrl;
    const char* szBody;
    std::vector<std::string> (*fnUserTexts)(const void*);
    std::size_t nUserTexts;
};

void PrintTo(const TextQuery& query, std::ostream* pStream)
{
    *pStream << query.szName;
}

std::string Fill(const std::string& strTemplate, const std::string& strValue)
{
    std::string strResult;
    for (const char c : strTemplate) {
        strResult += c == '$' ? strValue : std::string(1, c);
    }
    return strResult;
}

std::vector<std::string> OneText(const void* pUser)
{
    return {*static_cast<const std::string*>(pUser)};
}

std::vector<std::string> ProjectTexts(const void* pUser)
{
    const auto& query = *static_cast<const VelCSDK::requests::GetProjects::Arguments*>(pUser);
    return {query.dxtm, query.t};
}

std::vector<std::string> AutoExportTexts(const void* pUser)
{
    const auto& query = *static_cast<const VelCSDK::requests::GetAutoExport::Arguments*>(pUser);
    return {query.bjtzser, query.csxmser, query.dxtm};
}

std::vector<std::string> FtpPathTexts(const void* pUser)
{
    const auto& query = *static_cast<const VelCSDK::requests::GetFtpFilePath::Arguments*>(pUser);
    return {query.bjtzser, query.csxmser, query.supplier, query.batteryStatus};
}

std::vector<std::string> ChannelCheckTexts(const void* pUser)
{
    const auto& query = *static_cast<const tagSRequestGetChannelCheckData*>(pUser);
    EXPECT_EQ(query.wtNumId, 12);
    EXPECT_EQ(query.xmNameId, 7);
    return {query.dxtm, query.deviceId, query.chl, query.purpose};
}

void ExpectPlainGet(const RecordedRequest& request)
{
    EXPECT_FALSE(request.bPost);
    EXPECT_FALSE(request.bHeader);
    EXPECT_EQ(request.strHeader, "");
}

class QueryBuilders : public SdkTest
{
};

class QueryOfTexts : public SdkTest, public testing::WithParamInterface<TextQuery>
{
};
} // namespace

TEST_P(QueryOfTexts, SendsThemUnchangedInUrlBodyAndUserData)
{
    const TextQuery& query = GetParam();
    for (const QueryValue& value : QueryValues()) {
        SCOPED_TRACE(value.szName);
        query.fnSend(m_client, value.strText);
        const RecordedRequest request = Sent().back();
        EXPECT_EQ(request.nType, query.nType);
        EXPECT_EQ(request.strUrl, BASE + Fill(query.szUrl, value.strText));
        EXPECT_EQ(request.strBody, Fill(query.szBody, value.strJson) + "\n");
        ExpectPlainGet(request);
        ASSERT_NE(request.pUserData, nullptr);
        EXPECT_EQ(query.fnUserTexts(request.pUserData),
                  std::vector<std::string>(query.nUserTexts, value.strText));
    }
    EXPECT_EQ(Sent().size(), QueryValues().size());
}

TEST_P(QueryOfTexts, EscapesThemInTheUrlAloneWhenItIsToldTo)
{
    const TextQuery& query = GetParam();
    VelCSDK::SDKFactory::SetQueryEscaping(true);
    EXPECT_TRUE(VelCSDK::SDKFactory::HasQueryEscaping());
    for (const QueryValue& value : QueryValues()) {
        SCOPED_TRACE(value.szName);
        query.fnSend(m_client, value.strText);
        const RecordedRequest request = Sent().back();
        EXPECT_EQ(request.strUrl, BASE + Fill(query.szUrl, value.strEscaped));
        EXPECT_EQ(request.strBody, Fill(query.szBody, value.strJson) + "\n");
        EXPECT_EQ(query.fnUserTexts(request.pUserData),
                  std::vector<std::string>(query.nUserTexts, value.strText));
    }
    EXPECT_EQ(Sent().size(), QueryValues().size());
}

INSTANTIATE_TEST_SUITE_P(
    Each, QueryOfTexts,
    testing::Values(
        TextQuery{"Projects", 3103, [](IVelClientSDk& c, const std::string& s) { c.GetProjects(s, s); },
                  "vomd/system/GetSyxm.action?dxtm=$&t=$", R"({"dxtm":$,"t":$})", ProjectTexts, 2},
        TextQuery{"SupportVer", 3104, [](IVelClientSDk& c, const std::string& s) { c.GetSupportVer(s); },
                  "vomd/system/GetSupportVer.action?t=$", R"({"t":$})", OneText, 1},
        TextQuery{"BattStatus", 3105, [](IVelClientSDk& c, const std::string& s) { c.GetBattStatus(s); },
                  "vomd/system/GetDxzt.action?t=$", R"({"t":$})", OneText, 1},
        TextQuery{"AutoExport", 3106,
                  [](IVelClientSDk& c, const std::string& s) { c.GetAutoExport(s, s, s); },
                  "vomd/system/autoExport.action?bjtzser=$&csxmser=$&dxtm=$",
                  R"({"bjtzser":$,"csxmser":$,"dxtm":$})", AutoExportTexts, 3},
        TextQuery{"FtpFilePath", 3107,
                  [](IVelClientSDk& c, const std::string& s) { c.GetFtpFilePath(s, s, s, s); },
                  "vomd/system/xmmb/getFtpFilePath.action?batteryStatus=$&bjtzser=$&csxmser=$&supplier=$",
                  R"({"batteryStatus":$,"bjtzser":$,"csxmser":$,"supplier":$})", FtpPathTexts, 4},
        TextQuery{"ChannelCheckData", 3109,
                  [](IVelClientSDk& c, const std::string& s) { c.GetChannelCheckData(12, 7, s, s, s, s); },
                  "vomd/system/channelCheckData.action"
                  "?chl=$&deviceId=$&dxtm=$&purpose=$&wtNumId=12&xmNameId=7",
                  R"({"chl":$,"deviceId":$,"dxtm":$,"purpose":$,"wtNumId":12,"xmNameId":7})",
                  ChannelCheckTexts, 4},
        TextQuery{"WhetherInCommon", 3110,
                  [](IVelClientSDk& c, const std::string& s) { c.GetWhetherInCommon(s); },
                  "vomd/system/whetherInCommon.action?dxtm=$", R"({"dxtm":$})", OneText, 1}),
    testing::PrintToStringParamName());

TEST_F(QueryBuilders, ProjectsKeepTheirArgumentsApart)
{
    m_client.GetProjects("a,b", "");
    const RecordedRequest request = OnlyRequest();
    EXPECT_EQ(request.strUrl, BASE + "vomd/system/GetSyxm.action?dxtm=a,b&t=");
    EXPECT_EQ(request.strBody, "{\"dxtm\":\"a,b\",\"t\":\"\"}\n");
    EXPECT_EQ(ProjectTexts(request.pUserData), (std::vector<std::string>{"a,b", ""}));
}

TEST_F(QueryBuilders, AutoExportKeepsItsArgumentsApart)
{
    m_client.GetAutoExport("B01", "C02", "DX9");
    const RecordedRequest request = OnlyRequest();
    EXPECT_EQ(request.strUrl, BASE + "vomd/system/autoExport.action?bjtzser=B01&csxmser=C02&dxtm=DX9");
    EXPECT_EQ(request.strBody, "{\"bjtzser\":\"B01\",\"csxmser\":\"C02\",\"dxtm\":\"DX9\"}\n");
    EXPECT_EQ(AutoExportTexts(request.pUserData), (std::vector<std::string>{"B01", "C02", "DX9"}));
}

TEST_F(QueryBuilders, FtpFilePathKeepsItsArgumentsApartAndItsSpaces)
{
    m_client.GetFtpFilePath("B", "C", "Li Ltd", "new");
    const RecordedRequest request = OnlyRequest();
    EXPECT_EQ(request.strUrl, BASE + "vomd/system/xmmb/getFtpFilePath.action"
                                     "?batteryStatus=new&bjtzser=B&csxmser=C&supplier=Li Ltd");
    EXPECT_EQ(request.strBody,
              "{\"batteryStatus\":\"new\",\"bjtzser\":\"B\",\"csxmser\":\"C\",\"supplier\":\"Li Ltd\"}\n");
    EXPECT_EQ(FtpPathTexts(request.pUserData), (std::vector<std::string>{"B", "C", "Li Ltd", "new"}));
}

TEST_F(QueryBuilders, ChannelCheckDataKeepsItsArgumentsApart)
{
    m_client.GetChannelCheckData(12, 7, "X", "D1", "3", "p");
    const RecordedRequest request = OnlyRequest();
    EXPECT_EQ(request.strUrl, BASE + "vomd/system/channelCheckData.action"
                                     "?chl=3&deviceId=D1&dxtm=X&purpose=p&wtNumId=12&xmNameId=7");
    EXPECT_EQ(request.strBody, "{\"chl\":\"3\",\"deviceId\":\"D1\",\"dxtm\":\"X\",\"purpose\":\"p\","
                               "\"wtNumId\":12,\"xmNameId\":7}\n");
    EXPECT_EQ(ChannelCheckTexts(request.pUserData), (std::vector<std::string>{"X", "D1", "3", "p"}));
}

TEST_F(QueryBuilders, ChannelCheckDataWritesItsNumbersSigned)
{
    m_client.GetChannelCheckData(-2147483647 - 1, -7, "", "", "", "");
    const RecordedRequest request = OnlyRequest();
    EXPECT_EQ(request.strUrl, BASE + "vomd/system/channelCheckData.action"
                                     "?chl=&deviceId=&dxtm=&purpose=&wtNumId=-2147483648&xmNameId=-7");
    EXPECT_EQ(request.strBody, "{\"chl\":\"\",\"deviceId\":\"\",\"dxtm\":\"\",\"purpose\":\"\","
                               "\"wtNumId\":-2147483648,\"xmNameId\":-7}\n");
    const auto& query = *static_cast<const tagSRequestGetChannelCheckData*>(request.pUserData);
    EXPECT_EQ(query.wtNumId, -2147483647 - 1);
    EXPECT_EQ(query.xmNameId, -7);
}

TEST_F(QueryBuilders, UserInfoPutsTheIdBehindThePathAndCarriesAHeaderLine)
{
    for (const int nUser : {42, 0, -5, 2147483647, -2147483647 - 1}) {
        m_client.GetUserInfo(nUser);
        const RecordedRequest request = Sent().back();
        EXPECT_EQ(request.nType, 3100);
        EXPECT_EQ(request.strUrl, BASE + "posts/" + std::to_string(nUser));
        EXPECT_EQ(request.strBody, "");
        EXPECT_FALSE(request.bPost);
        EXPECT_TRUE(request.bHeader);
        EXPECT_EQ(request.strHeader, "Content-Type: application/json; charset=utf-8");
        ASSERT_NE(request.pUserData, nullptr);
        EXPECT_EQ(*static_cast<const int*>(request.pUserData), nUser);
    }
}

TEST_F(QueryBuilders, QueriesThatAreNotServedSendNothing)
{
    const std::vector<std::string> vecBefore = m_transport.vecCalls;
    m_client.GetChannelUpDownPlatform(1, 2, "a", "b", "c", "d", 3, "e");
    m_client.GetCdlxFileListByDxtmList("a,b");
    EXPECT_EQ(m_transport.vecCalls, vecBefore);
    EXPECT_TRUE(Sent().empty());
}

TEST_F(QueryBuilders, UseThePathOfTheSite)
{
    for (const auto& [operation, strTail] : std::vector<std::pair<Operation, std::string>>{
             {OP_USER_INFO, "/42"},
             {OP_PROJECTS, "?dxtm=DX1&t=tick"},
             {OP_SUPPORT_VER, "?t=1.2.3"},
             {OP_BATT_STATUS, "?t=tick"},
             {OP_AUTO_EXPORT, "?bjtzser=B01&csxmser=C02&dxtm=DX9"},
             {OP_FTP_PATH, "?batteryStatus=new&bjtzser=B01&csxmser=C02&supplier=Li"},
             {OP_CHANNEL_CHECK, "?chl=3&deviceId=D1&dxtm=X&purpose=p&wtNumId=12&xmNameId=7"},
             {OP_IN_COMMON, "?dxtm=DX1"}}) {
        m_client.SetUrlMap({{operation.nType, "/site?x=1"}});
        operation.fnSend(m_client);
        EXPECT_EQ(Sent().back().strUrl, BASE + "/site?x=1" + strTail);
    }
}

TEST_F(QueryBuilders, GiveEachRequestUserDataOfItsOwn)
{
    m_client.GetSupportVer("1");
    m_client.GetSupportVer("2");
    ASSERT_EQ(Sent().size(), 2U);
    EXPECT_EQ(OneText(Sent()[0].pUserData), std::vector<std::string>{"1"});
    EXPECT_EQ(OneText(Sent()[1].pUserData), std::vector<std::string>{"2"});
}
