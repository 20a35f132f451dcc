#include "LabFixture.h"

namespace
{

using LabQueries = LabTest;

const std::string CHANNEL_CHECK =
    "/vomd/system/channelCheckData.action?dxtm=X&purpose=p&wtNumId=12&xmNameId=7";

TEST_F(LabQueries, AUserIsAnsweredWithCodeZeroAndHisMembers)
{
    const LabReply reply = Get("/posts/3");
    EXPECT_EQ(reply.nStatus, 200);
    EXPECT_EQ(reply.strContentType, "application/json; charset=utf-8");
    EXPECT_EQ(reply.json, JsonFrom(R"({"code": 0, "id": 3, "title": "Laboratory manager", "author": "王芳",
                                       "description": "实验室主管"})"));
}

TEST_F(LabQueries, AnUnknownUserIsNotFound)
{
    const LabReply reply = Get("/posts/-5");
    EXPECT_EQ(reply.nStatus, 404);
    EXPECT_EQ(reply.json["success"], false);
    EXPECT_EQ(reply.json["code"], 404);
    EXPECT_EQ(reply.json["description"], "There is no such user.");
}

TEST_F(LabQueries, AUserIdThatIsNoNumberIsRefused)
{
    for (const char* szId : {"x", "1x", "1.5", "+1", "99999999999999999999"}) {
        EXPECT_EQ(Get(std::string("/posts/") + szId).nStatus, 400) << szId;
    }
}

TEST_F(LabQueries, ASupportedVersionIsASuccess)
{
    EXPECT_EQ(Get("/vomd/system/GetSupportVer.action?t=1.1.0").json,
              JsonFrom(R"({"success": true, "com": "2.1", "ver": "1.1.0"})"));
}

TEST_F(LabQueries, AnUnsupportedVersionIsNoSuccess)
{
    EXPECT_EQ(Get("/vomd/system/GetSupportVer.action?t=0.9.0").json,
              JsonFrom(R"({"success": false, "com": "1.0", "ver": "0.9.0"})"));
    const LabReply reply = Get("/vomd/system/GetSupportVer.action?t=7");
    EXPECT_EQ(reply.nStatus, 200);
    EXPECT_EQ(reply.json["success"], false);
}

TEST_F(LabQueries, ProjectsAreThoseOfEveryCellInTheList)
{
    const LabReply reply = Get("/vomd/system/GetSyxm.action?dxtm=CELL-0002,CELL-0001&t=");
    EXPECT_EQ(reply.json["success"], true);
    const Json::Value& projects = reply.json["实验项目"];
    ASSERT_EQ(projects.size(), 3U);
    EXPECT_EQ(projects[0], JsonFrom(R"({"xh": "1",
        "委托单号": {"id": 1202, "name": "WT-2024-1202"}, "测试类型": {"id": 6, "name": "存储"},
        "项目分类": {"id": 12, "name": "高温性能"}, "项目名称": {"id": 131, "name": "60℃存储7天"}})"));
    EXPECT_EQ(projects[1]["委托单号"]["id"], 1201);
    EXPECT_EQ(projects[2]["xh"], "2");
    // On the wire the names are UTF-8, not escaped.
    EXPECT_NE(reply.strBody.find("实验项目"), std::string::npos);
}

TEST_F(LabQueries, AnUnknownCellHasNoProjects)
{
    const LabReply reply = Get("/vomd/system/GetSyxm.action?dxtm=&t=1");
    EXPECT_EQ(reply.json, JsonFrom(R"({"success": true, "实验项目": []})"));
}

TEST_F(LabQueries, BatteryStatesComeInGroups)
{
    const LabReply reply = Get("/vomd/system/GetDxzt.action?t=1");
    EXPECT_EQ(reply.json["success"], true);
    const Json::Value& groups = reply.json["全部电池状态"];
    ASSERT_EQ(groups.size(), 3U);
    EXPECT_EQ(groups[1]["id"], 2);
    EXPECT_EQ(groups[1]["name"], "测试中");
    EXPECT_EQ(groups[1]["电池状态"][1]["id"], 4);
}

TEST_F(LabQueries, AutoExportOfACellHasItsTwentyTexts)
{
    const LabReply reply = Get("/vomd/system/autoExport.action?bjtzser=B01&csxmser=C02&dxtm=CELL-0002");
    EXPECT_EQ(reply.json["success"], true);
    const Json::Value& result = reply.json["result"];
    EXPECT_EQ(result.size(), 20U);
    EXPECT_EQ(result["strAnodeMaterial"], "LFP");
    EXPECT_EQ(result["strType"], "Prismatic 100Ah");
    for (const Json::Value& text : result) {
        EXPECT_TRUE(text.isString());
    }
}

TEST_F(LabQueries, AutoExportOfAnUnknownCellIsNoSuccess)
{
    const LabReply reply = Get("/vomd/system/autoExport.action?bjtzser=B01&csxmser=C02&dxtm=DX9");
    EXPECT_EQ(reply.nStatus, 200);
    EXPECT_EQ(reply.json["success"], false);
    EXPECT_FALSE(reply.json.isMember("result"));
}

TEST_F(LabQueries, AnFtpPathIsFoundByAllFourValues)
{
    const std::string strPath =
        "/vomd/system/xmmb/getFtpFilePath.action?bjtzser=B01&csxmser=C03&batteryStatus=2";
    EXPECT_EQ(Get(strPath + "&supplier=Harbour%20Storage").json, JsonFrom(R"({"success": true,
                           "result": {"ftpFilePath": "/data/harbour/B01/C03", "permit": false}})"));
    EXPECT_EQ(Get(strPath + "&supplier=Other").json["success"], false);
}

TEST_F(LabQueries, TheLatestRuleThatCoversAChannelDecides)
{
    EXPECT_EQ(Get(CHANNEL_CHECK + "&deviceId=KTS-0007&chl=7").json["result"],
              JsonFrom(R"({"allowBoot": "yes", "reason": "No restriction"})"));
    EXPECT_EQ(Get(CHANNEL_CHECK + "&deviceId=KTS-0007&chl=8").json["result"],
              JsonFrom(R"({"allowBoot": "no", "reason": "Channel 8 waits for calibration"})"));
    const LabReply reply = Get(CHANNEL_CHECK + "&deviceId=KTS-MAINT-3&chl=1");
    EXPECT_EQ(reply.json["success"], true);
    EXPECT_EQ(reply.json["result"]["allowBoot"], "no");
    EXPECT_TRUE(reply.json["message"].isString());
}

TEST_F(LabQueries, AWorkNumberThatIsNoNumberIsRefused)
{
    const LabReply reply =
        Get("/vomd/system/channelCheckData.action?chl=1&deviceId=D&dxtm=X&purpose=p&wtNumId=a&xmNameId=7");
    EXPECT_EQ(reply.nStatus, 400);
    EXPECT_NE(reply.json["message"].asString().find("wtNumId"), std::string::npos);
}

TEST_F(LabQueries, OnlySharedBarcodesAreInCommon)
{
    const LabReply reply = Get("/vomd/system/whetherInCommon.action?dxtm=CELL-0099");
    EXPECT_EQ(reply.json["success"], true);
    EXPECT_EQ(reply.json["common"], true);
    EXPECT_TRUE(reply.json["message"].isString());
    EXPECT_EQ(Get("/vomd/system/whetherInCommon.action?dxtm=CELL-0001").json["common"], false);
}

/// A query with everything that it needs, and the names of what it needs.
struct Query {
    std::string strPath;
    std::vector<std::string> vecParameters;
};

TEST_F(LabQueries, EachMissingParameterIsRefusedByName)
{
    const std::vector<Query> vecQueries = {
        {"/vomd/system/GetSupportVer.action", {"t"}},
        {"/vomd/system/GetSyxm.action", {"dxtm", "t"}},
        {"/vomd/system/GetDxzt.action", {"t"}},
        {"/vomd/system/autoExport.action", {"bjtzser", "csxmser", "dxtm"}},
        {"/vomd/system/xmmb/getFtpFilePath.action", {"bjtzser", "csxmser", "supplier", "batteryStatus"}},
        {"/vomd/system/channelCheckData.action",
         {"wtNumId", "xmNameId", "dxtm", "deviceId", "chl", "purpose"}},
        {"/vomd/system/whetherInCommon.action", {"dxtm"}},
    };
    for (const Query& query : vecQueries) {
        for (const std::string& strMissing : query.vecParameters) {
            std::string strTarget = query.strPath + "?other=1";
            for (const std::string& strName : query.vecParameters) {
                strTarget += strName == strMissing ? "" : '&' + strName + "=1";
            }
            const LabReply reply = Get(strTarget);
            EXPECT_EQ(reply.nStatus, 400) << strTarget;
            EXPECT_EQ(reply.json["success"], false);
            EXPECT_EQ(reply.json["code"], 400);
            EXPECT_EQ(reply.json["message"], "The query parameter \"" + strMissing + "\" is missing.");
        }
    }
}

} // namespace
