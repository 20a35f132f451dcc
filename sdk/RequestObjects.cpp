#include "RequestObjects.h"

namespace VelCSDK
{

Json::Value ChannelCheckObject(const tagSRequestGetChannelCheckData& request)
{
    Json::Value object;
    object["wtNumId"] = request.wtNumId;
    object["xmNameId"] = request.xmNameId;
    object["dxtm"] = request.dxtm;
    object["deviceId"] = request.deviceId;
    object["chl"] = request.chl;
    object["purpose"] = request.purpose;
    return object;
}

Json::Value WhetherInCommonObject(const std::string& strDxtm)
{
    Json::Value object;
    object["dxtm"] = strDxtm;
    return object;
}

std::string JsonArrayOf(const std::string& strData)
{
    return "[" + strData + "]";
}

} // namespace VelCSDK
