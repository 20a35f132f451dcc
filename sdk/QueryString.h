#pragma once

#include <json/value.h>

#include <string>

namespace VelCSDK
{

/// Whether the values of the queries that are built from now on are percent-encoded, in the whole process. At
/// first they are not. From any thread.
void SetQueryEscaping(bool bEscape) noexcept;
bool HasQueryEscaping() noexcept;

/// "?name=value&name=value" of a JSON object, in ascending order of the names: texts, integers in decimal,
/// any other value as nothing. A value that is no object gives "?".
///
/// Without query escaping texts stand in it verbatim, and the transport encodes what a URL may not hold. With
/// it each byte of a text but letters, digits and -._~!$'()*,/:@ is percent-encoded, whatever text it is part
/// of: what is left means nothing in a query, so a server that decodes the value has the text.
std::string BuildQueryString(const Json::Value& object);

} // namespace VelCSDK
