#include "GetUserInfo.h"

namespace VelCSDK::requests
{
namespace
{

/// A text member up to its first NUL; empty for anything else.
std::string TextOf(const Json::Value& member)
{
    return member.isString() ? std::string(member.asCString()) : std::string();
}

} // namespace

RequestText GetUserInfo::Outgoing(const Arguments& nUserId)
{
    return {"/" + std::to_string(nUserId), ""};
}

void GetUserInfo::Read(const Reply& reply, const Arguments* /*pAsked*/, Record& record)
{
    if (reply.Result() != 0) {
        return;
    }
    const Json::Value& members = reply.Members();
    const Json::Value& id = members["id"];
    record.id = id.isInt() ? id.asInt() : 0;
    record.title = TextOf(members["title"]);
    record.author = TextOf(members["author"]);
}

} // namespace VelCSDK::requests
