#include "Request.h"

#include "sdk/QueryString.h"

#include <json/writer.h>

namespace VelCSDK
{

RequestText QueryText(const Json::Value& object)
{
    return {BuildQueryString(object), WriteJson(object)};
}

std::string WriteJson(const Json::Value& value)
{
    return Json::FastWriter().write(value);
}

} // namespace VelCSDK
