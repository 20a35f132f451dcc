#include "QueryString.h"

namespace VelCSDK
{
namespace
{

std::string QueryValue(const Json::Value& value)
{
    switch (value.type()) {
    case Json::stringValue:
        return value.asString();
    case Json::intValue:
        return std::to_string(value.asLargestInt());
    case Json::uintValue:
        return std::to_string(value.asLargestUInt());
    default:
        return {};
    }
}

} // namespace

std::string BuildQueryString(const Json::Value& object)
{
    std::string strQuery = "?";
    if (!object.isObject()) {
        return strQuery;
    }
    for (auto member = object.begin(); member != object.end(); ++member) {
        if (strQuery.size() > 1) {
            strQuery += '&';
        }
        strQuery += member.name();
        strQuery += '=';
        strQuery += QueryValue(*member);
    }
    return strQuery;
}

} // namespace VelCSDK
