#include "VelClientSDk.h"

#include "QueryString.h"
#include "RequestCatalogue.h"
#include "RequestObjects.h"

#include <utility>

namespace VelCSDK
{

template <int nType>
void VelClientSDk::SendQuery(typename UserDataOf<nType>::Type userData, const Json::Value& object)
{
    Send<nType>(std::move(userData), RequestUrl(nType) + BuildQueryString(object), WriteJson(object));
}

void VelClientSDk::GetSupportVer(std::string t)
{
    Json::Value object;
    object["t"] = t;
    SendQuery<RequestType::GetSupportVer>(std::move(t), object);
}

void VelClientSDk::GetUserInfo(int userId)
{
    constexpr int nType = RequestType::GetUserInfo;
    Send<nType>(userId, RequestUrl(nType) + "/" + std::to_string(userId), "");
}

void VelClientSDk::GetProjects(std::string dxtm, std::string t)
{
    Json::Value object;
    object["dxtm"] = dxtm;
    object["t"] = t;
    SendQuery<RequestType::GetProjects>({std::move(dxtm), std::move(t)}, object);
}

void VelClientSDk::GetBattStatus(std::string t)
{
    Json::Value object;
    object["t"] = t;
    SendQuery<RequestType::GetBattStatus>(std::move(t), object);
}

void VelClientSDk::GetAutoExport(std::string bjtzser, std::string csxmser, std::string dxtm)
{
    Json::Value object;
    object["bjtzser"] = bjtzser;
    object["csxmser"] = csxmser;
    object["dxtm"] = dxtm;
    SendQuery<RequestType::GetAutoExport>({std::move(bjtzser), std::move(csxmser), std::move(dxtm)}, object);
}

void VelClientSDk::GetFtpFilePath(std::string bjtzser, std::string csxmser, std::string supplier,
                                  std::string batteryStatus)
{
    Json::Value object;
    object["bjtzser"] = bjtzser;
    object["csxmser"] = csxmser;
    object["supplier"] = supplier;
    object["batteryStatus"] = batteryStatus;
    SendQuery<RequestType::GetFtpFilePath>(
        {std::move(bjtzser), std::move(csxmser), std::move(supplier), std::move(batteryStatus)}, object);
}

void VelClientSDk::GetChannelCheckData(int wtNumId, int xmNameId, std::string dxtm, std::string deviceId,
                                       std::string chl, std::string purpose)
{
    tagSRequestGetChannelCheckData request{
        wtNumId, xmNameId, std::move(dxtm), std::move(deviceId), std::move(chl), std::move(purpose)};
    const Json::Value object = ChannelCheckObject(request);
    SendQuery<RequestType::GetChannelCheckData>(std::move(request), object);
}

void VelClientSDk::GetWhetherInCommon(std::string dxtm)
{
    const Json::Value object = WhetherInCommonObject(dxtm);
    SendQuery<RequestType::GetWhetherInCommon>(std::move(dxtm), object);
}

// The server has these two queries, but no host is to reach them.
void VelClientSDk::GetChannelUpDownPlatform(int /*unused*/, int /*unused*/, std::string /*unused*/,
                                            std::string /*unused*/, std::string /*unused*/,
                                            std::string /*unused*/, int /*unused*/, std::string /*unused*/)
{
}

void VelClientSDk::GetCdlxFileListByDxtmList(std::string /*dxtmList*/) {}

} // namespace VelCSDK
