#include "GetSupportVer.h"

namespace VelCSDK::requests
{

RequestText GetSupportVer::Outgoing(const Arguments& t)
{
    Json::Value query;
    query["t"] = t;
    return QueryText(query);
}

void GetSupportVer::Read(const Reply& reply, const Arguments* pAsked, Record& record)
{
    record.bSupport = reply.Success();
    record.com = reply.Members().Text("com");
    record.ver = reply.Members().Text("ver");
    if (pAsked != nullptr) {
        record.strVersion = *pAsked;
    }
}

} // namespace VelCSDK::requests
