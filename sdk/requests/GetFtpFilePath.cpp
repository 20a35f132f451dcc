#include "GetFtpFilePath.h"

namespace VelCSDK::requests
{

RequestText GetFtpFilePath::Outgoing(const Arguments& arguments)
{
    Json::Value query;
    query["bjtzser"] = arguments.bjtzser;
    query["csxmser"] = arguments.csxmser;
    query["supplier"] = arguments.supplier;
    query["batteryStatus"] = arguments.batteryStatus;
    return QueryText(query);
}

void GetFtpFilePath::Read(const Reply& reply, const Arguments* /*pAsked*/, Record& record)
{
    record.bSuccess = reply.Success();
    const JsonObject result = reply.Members().Object("result");
    record.bPermit = result.Bool("permit").value_or(false);
    record.strFtpFilePath = result.Text("ftpFilePath");
}

} // namespace VelCSDK::requests
