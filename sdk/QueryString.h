#pragma once

#include <json/value.h>

#include <string>

namespace VelCSDK
{

/// "?name=value&name=value" of a JSON object, in ascending order of the names. Texts stand in it verbatim
/// (the transport encodes what a URL may not hold), integers in decimal, any other value as nothing. A value
/// that is no object gives "?".
std::string BuildQueryString(const Json::Value& object);

} // namespace VelCSDK
