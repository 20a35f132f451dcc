#pragma once

#include <json/value.h>

#include <string>

namespace VelCSDK
{

/// Sets for the whole process whether the values of queries are percent-encoded from now on. Off by default.
/// May be called from any thread.
void SetQueryEscaping(bool bEscape) noexcept;
bool HasQueryEscaping() noexcept;

/// The query string "?name=value&name=value" for a JSON object, in ascending order of the names. Integers are
/// written in decimal; a value that is neither a text nor an integer is left empty. For a value that is not
/// an object it is "?".
///
/// Without query escaping, texts are copied unchanged, and the transport encodes what a URL may not contain.
/// With query escaping, each byte of a text is percent-encoded except letters, digits and -._~!$'()*,/:@. The
/// exceptions have no special meaning in a query, so a server that decodes the value gets the text.
std::string BuildQueryString(const Json::Value& object);

} // namespace VelCSDK
