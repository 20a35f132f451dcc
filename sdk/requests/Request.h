#pragma once

#include "sdk/ReplyReader.h"

#include <ktshttpagent/RequestRecords.h>
#include <ktshttpagent/RequestType.h>
#include <ktshttpagent/ResultRecords.h>

#include <json/value.h>

#include <string>

/// @file
/// What the requests are made of. A request is a struct with
/// - `FORM`: what is the same each time it is sent;
/// - `Arguments`: what it keeps of its arguments until its reply is decoded, its user data;
/// - `Reply`: how its reply is parsed and judged;
/// - `Record`: what the host gets of its reply;
/// - `Outgoing`: makes what is sent of the arguments;
/// - `Read`: fills the record, which holds its defaults, from a reply. Where the reply could not be read, it
///   gets one without members.
///
/// A reply of kind `IgnoredReply` or `UnregisteredReply` has no record, and `NoRecord` is not read. A request
/// that is never sent has no `Outgoing`.

namespace VelCSDK
{

enum class Method { Get, Post };

/// What is the same each time a request is sent.
struct RequestForm {
    int nType;          ///< request type id, see ktshttpagent/RequestType.h
    const char* szPath; ///< built-in endpoint path, relative to the base URL; a site may set another
    Method eMethod;
    const char* szHeader; ///< header line to send; empty for none
};

inline constexpr const char* NO_HEADER = "";
inline constexpr const char* JSON_HEADER = "Content-Type: application/json; charset=utf-8";
/// The server's reports ask for exactly this value, with both character sets in it.
inline constexpr const char* REPORT_HEADER = "Content-Type: application/json; charset=utf-8/gb2312";

/// For a request that carries no user data.
struct NoArguments {
};

/// For a reply that is judged, but not read into a record.
struct NoRecord {
};

/// The kind of reply that a request type takes in and drops.
struct IgnoredReply {
};

/// The kind of reply that no decoder is registered for. It is dropped as well.
struct UnregisteredReply {
};

/// What one sending of a request adds to its form.
struct RequestText {
    std::string strAfterPath; ///< follows the endpoint path in the URL
    std::string strBody;
};

/// A query: the members of `object` as query string, and as body for a transport that wants one.
RequestText QueryText(const Json::Value& object);

/// The compact text of a JSON value, with a line feed at its end.
std::string WriteJson(const Json::Value& value);

} // namespace VelCSDK
