#include "GetChannelCheckData.h"

namespace VelCSDK::requests
{

Json::Value GetChannelCheckData::Query(const Arguments& arguments)
{
    Json::Value query;
    query["wtNumId"] = arguments.wtNumId;
    query["xmNameId"] = arguments.xmNameId;
    query["dxtm"] = arguments.dxtm;
    query["deviceId"] = arguments.deviceId;
    query["chl"] = arguments.chl;
    query["purpose"] = arguments.purpose;
    return query;
}

void GetChannelCheckData::Read(const Reply& reply, const Arguments* /*pAsked*/, Record& record)
{
    record.bSuccess = reply.Success();
    record.strMessage = reply.Members().Text("message");
    const JsonObject result = reply.Members().Object("result");
    record.strAllowBoot = result.Text("allowBoot");
    record.strReason = result.Text("reason");
}

} // namespace VelCSDK::requests
