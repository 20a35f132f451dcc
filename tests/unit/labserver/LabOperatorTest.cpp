#include "LabFixture.h"

namespace
{

using LabOperator = LabTest;

const std::string CHECK_CHANNEL3 =
    "/vomd/system/channelCheckData.action?dxtm=X&purpose=p&wtNumId=1&xmNameId=1"
    "&deviceId=D1&chl=3";

TEST_F(LabOperator, ANewRuleDecidesOverTheOnesBefore)
{
    EXPECT_EQ(Get(CHECK_CHANNEL3).json["result"]["allowBoot"], "yes");
    Post("/lab/channel-rules", R"({"deviceId": "D?", "chl": "[1-4]", "allowBoot": "no", "reason": "停用"})");
    EXPECT_EQ(Get(CHECK_CHANNEL3).json["result"], JsonFrom(R"({"allowBoot": "no", "reason": "停用"})"));
}

TEST_F(LabOperator, TheSameRuleAgainReplacesTheOldOneAndIsTheLatest)
{
    const int nRules = Get("/lab/channel-rules").json["count"].asInt();
    Post("/lab/channel-rules", R"([{"deviceId": "D1", "chl": "3", "allowBoot": "no", "reason": "a"},
                                   {"deviceId": "*", "chl": "*", "allowBoot": "Yes", "reason": "b"}])");
    EXPECT_EQ(Get(CHECK_CHANNEL3).json["result"]["allowBoot"], "Yes");
    const Json::Value rules = Get("/lab/channel-rules").json;
    EXPECT_EQ(rules["count"], nRules + 1);
    EXPECT_EQ(rules["items"][nRules]["reason"], "b");
}

TEST_F(LabOperator, ABarcodeIsSharedAndUnshared)
{
    for (const bool bCommon : {true, false}) {
        Json::Value barcode;
        barcode["dxtm"] = "CELL-0001";
        barcode["common"] = bCommon;
        EXPECT_EQ(Post("/lab/shared-barcodes", Json::FastWriter().write(barcode)).json["success"], true);
        EXPECT_EQ(Get("/vomd/system/whetherInCommon.action?dxtm=CELL-0001").json["common"], bCommon);
    }
}

TEST_F(LabOperator, AVersionIsSupportedAndNoMore)
{
    const std::string strQuery = "/vomd/system/GetSupportVer.action?t=2.0";
    EXPECT_EQ(Get(strQuery).json["success"], false);
    Post("/lab/supported-versions", R"({"t": "2.0", "com": "3", "ver": "2.0", "supported": true})");
    EXPECT_EQ(Get(strQuery).json["success"], true);
    Post("/lab/supported-versions", R"({"t": "2.0", "com": "3", "ver": "2.0", "supported": false})");
    EXPECT_EQ(Get(strQuery).json["success"], false);
}

TEST_F(LabOperator, AnItemIsDeletedByItsId)
{
    for (const char* szPath : {"/lab/channel-rules", "/lab/shared-barcodes", "/lab/supported-versions"}) {
        const Json::Value before = Get(szPath).json;
        const std::string strItem = szPath + ("/" + before["items"][0]["id"].asString());
        EXPECT_EQ(m_client.Send("DELETE", strItem).json["success"], true) << strItem;
        EXPECT_EQ(m_client.Send("DELETE", strItem).nStatus, 404) << strItem;
        EXPECT_EQ(Get(szPath).json["count"], before["count"].asInt() - 1);
        EXPECT_EQ(Get(szPath).json["items"][0], before["items"][1]);
    }
    EXPECT_EQ(m_client.Send("DELETE", "/lab/channel-rules/x").nStatus, 400);
}

TEST_F(LabOperator, TheInterfaceIsListed)
{
    const Json::Value interface = Get("/lab/").json;
    EXPECT_EQ(interface["name"], "ktslabserver");
    EXPECT_FALSE(interface["version"].asString().empty());
    EXPECT_EQ(interface["paths"][0], JsonFrom(R"({"method": "GET", "path": "/posts/", "what": "a user"})"));
    for (const Json::Value& path : interface["paths"]) {
        EXPECT_FALSE(path["what"].asString().empty()) << path;
    }
    EXPECT_EQ(Post("/lab/", "{}").nStatus, 404);
}

TEST_F(LabOperator, OneBadRowKeepsAllOfThemOut)
{
    for (const char* szPath : {"/lab/channel-rules", "/lab/shared-barcodes", "/lab/supported-versions"}) {
        const Json::Value before = Get(szPath).json;
        ASSERT_GT(before["count"].asInt(), 0);
        Json::Value rows = before["items"];
        rows.append(Json::Value(Json::objectValue));
        const LabReply reply = Post(szPath, Json::FastWriter().write(rows));
        EXPECT_EQ(reply.nStatus, 400);
        EXPECT_NE(reply.json["message"].asString().find("is missing"), std::string::npos);
        EXPECT_EQ(Get(szPath).json, before);
        EXPECT_EQ(Post(szPath, "[7]").nStatus, 400);
    }
}

} // namespace
