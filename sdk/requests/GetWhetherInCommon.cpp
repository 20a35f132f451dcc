#include "GetWhetherInCommon.h"

namespace VelCSDK::requests
{

Json::Value GetWhetherInCommon::Query(const Arguments& dxtm)
{
    Json::Value query;
    query["dxtm"] = dxtm;
    return query;
}

void GetWhetherInCommon::Read(const Reply& reply, const Arguments* /*pAsked*/, Record& record)
{
    record.bSuccess = reply.Success();
    record.strMessage = reply.Members().Text("message");
    record.bCommon = reply.Members().Bool("common").value_or(false);
}

} // namespace VelCSDK::requests
