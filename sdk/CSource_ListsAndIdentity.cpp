#include "CSource.h"

#include "CDataResponse.h"
#include "DecodeFrame.h"
#include "RequestCatalogue.h"

#include <json/value.h>

namespace VelCSDK
{
namespace
{

/// A text member up to its first NUL; empty for anything else.
std::string TextOf(const Json::Value& member)
{
    return member.isString() ? std::string(member.asCString()) : std::string();
}

USER_INFO ReadUserInfo(const Json::Value& members)
{
    const Json::Value& id = members["id"];
    return {id.isInt() ? id.asInt() : 0, TextOf(members["title"]), TextOf(members["author"])};
}

SIdName ReadIdName(const CJsonObject& object)
{
    return {object.IntText("id"), object.Text("name")};
}

SProjectItem ReadProject(const CJsonObject& element)
{
    return {element.Text("xh"), ReadIdName(element.Object("委托单号")),
            ReadIdName(element.Object("测试类型")), ReadIdName(element.Object("项目分类")),
            ReadIdName(element.Object("项目名称"))};
}

SBatteryItem ReadBattery(const CJsonObject& element)
{
    SBatteryItem battery{element.Int("id").value_or(0), element.Text("name"), {}};
    for (const JsonValue& status : element.Array("电池状态")) {
        if (const std::optional<int> nId = CJsonObject(&status).Int("id")) {
            battery.lstStatus.push_back(*nId);
        }
    }
    return battery;
}

SSupportVer ReadSupportVer(const CReplyReader& reply)
{
    SSupportVer payload;
    payload.bSupport = reply.Success();
    payload.com = reply.Members().Text("com");
    payload.ver = reply.Members().Text("ver");
    return payload;
}

SResponseGetProject ReadProjects(const CReplyReader& reply)
{
    SResponseGetProject payload;
    payload.bSuccess = reply.Success();
    const SJsonElements projects = reply.Members().Array("实验项目");
    payload.lstProject.reserve(projects.size());
    for (const JsonValue& project : projects) {
        payload.lstProject.push_back(ReadProject(CJsonObject(&project)));
    }
    return payload;
}

SResponseGetBatteryStatus ReadBatteries(const CReplyReader& reply)
{
    SResponseGetBatteryStatus payload;
    payload.bSuccess = reply.Success();
    const SJsonElements batteries = reply.Members().Array("全部电池状态");
    payload.lstBattery.reserve(batteries.size());
    for (const JsonValue& battery : batteries) {
        payload.lstBattery.push_back(ReadBattery(CJsonObject(&battery)));
    }
    return payload;
}

} // namespace

void RepeatRequest(SSupportVer& payload, const CUserData& user)
{
    if (const auto* const pVersion = user.Get<RequestType::GetSupportVer>()) {
        payload.strVersion = *pVersion;
    }
}

void RepeatRequest(SResponseGetProject& payload, const CUserData& user)
{
    if (const auto* const pQuery = user.Get<RequestType::GetProjects>()) {
        payload.strUserText = pQuery->t;
    }
}

// The one decoder that judges by the envelope's "code", and takes a reply without one for a success.
void CSource::OnGetUserInfo(const std::string& body, int nType, void* pUserData)
{
    const CUserData user(nType, pUserData);
    SResponseHeader header;
    USER_INFO payload;
    const bool bDecoded = Attempt(nType, [&] {
        Json::Value root;
        CDataResponse::Instance()->JsonHeader(body, root, header.nCode, header.strMessage);
        if (header.nCode == 0 && root.isObject()) {
            payload = ReadUserInfo(root);
        }
    });
    if (!bDecoded) {
        header = SResponseHeader();
        header.nCode = -1;
    }
    header.pData = &payload;
    Notify(nType, user.Context(), header, header.nCode);
}

void CSource::OnGetSupportVer(const std::string& body, int nType, void* pUserData)
{
    Decode(body, nType, pUserData, EArrayRoot::FirstElement, ReadSupportVer);
}

void CSource::OnGetProjects(const std::string& body, int nType, void* pUserData)
{
    Decode(body, nType, pUserData, EArrayRoot::FirstElement, ReadProjects);
}

void CSource::OnGetBattStatus(const std::string& body, int nType, void* pUserData)
{
    Decode(body, nType, pUserData, EArrayRoot::FirstElement, ReadBatteries);
}

} // namespace VelCSDK
