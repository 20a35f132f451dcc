#pragma once

#include "SdkFixture.h"

#include <string>
#include <vector>

/// A text too long for a string's internal buffer.
inline const std::string LONG_TEXT = "a text that needs memory of its own";

inline const Operation OP_LONG_CHL_STATUS{"ChlStatus", 3101, [](IVelClientSDk& c) {
                                              KTSStartPlugin::tagRepoChlStatusInfo info;
                                              info.box = "1";
                                              info.chl = "2";
                                              c.ReportChlStatus(LONG_TEXT, info);
                                          }};
inline const Operation OP_LONG_PROJECTS{"Projects", 3103,
                                        [](IVelClientSDk& c) { c.GetProjects(LONG_TEXT, LONG_TEXT); }};
inline const Operation OP_LONG_SUPPORT_VER{"SupportVer", 3104,
                                           [](IVelClientSDk& c) { c.GetSupportVer(LONG_TEXT); }};
inline const Operation OP_LONG_CHANNEL_CHECK{
    "ChannelCheckData", 3109,
    [](IVelClientSDk& c) { c.GetChannelCheckData(12, 7, LONG_TEXT, LONG_TEXT, LONG_TEXT, LONG_TEXT); }};
inline const Operation OP_LONG_IN_COMMON{"WhetherInCommon", 3110,
                                         [](IVelClientSDk& c) { c.GetWhetherInCommon(LONG_TEXT); }};

/// The operations whose replies reach the receiver, with long texts in what an answer repeats of its request.
inline const std::vector<Operation>& LongOperations()
{
    static const std::vector<Operation> vecOperations{
        OP_USER_INFO,   OP_LONG_CHL_STATUS, OP_INCUBATOR, OP_LONG_PROJECTS,      OP_LONG_SUPPORT_VER,
        OP_BATT_STATUS, OP_AUTO_EXPORT,     OP_FTP_PATH,  OP_LONG_CHANNEL_CHECK, OP_LONG_IN_COMMON};
    return vecOperations;
}

/// A success for each of them, with long texts and enough values to make a parser allocate memory.
inline std::string RichReply()
{
    const std::string strText = '"' + LONG_TEXT + '"';
    const std::string strIdName = R"({"id":1,"name":)" + strText + "}";
    const std::string strProject = R"({"xh":)" + strText + R"(,"委托单号":)" + strIdName + R"(,"测试类型":)" +
                                   strIdName + R"(,"项目分类":)" + strIdName + R"(,"项目名称":)" + strIdName +
                                   "}";
    const std::string strBattery = R"({"id":1,"name":)" + strText + R"(,"电池状态":[{"id":1},{"id":2}]})";
    std::string strValues = "0";
    for (int i = 1; i < 100; ++i) {
        strValues += ",0";
    }
    return R"({"success":true,"code":0,"id":7,"common":true,"com":)" + strText + R"(,"ver":)" + strText +
           R"(,"title":)" + strText + R"(,"author":)" + strText + R"(,"description":)" + strText +
           R"(,"message":)" + strText + R"(,"result":{"allowBoot":"yes","permit":true,"reason":)" + strText +
           R"(,"strPlace":)" + strText + R"(,"strType":)" + strText + R"(,"ftpFilePath":)" + strText +
           R"(},"实验项目":[)" + strProject + ",{}," + strProject + R"(],"全部电池状态":[)" + strBattery +
           ",{}," + strBattery + R"(],"more":[)" + strValues + "]}";
}
