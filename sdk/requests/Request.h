#pragma once

#include "sdk/ReplyReader.h"

#include <ktshttpagent/RequestRecords.h>
#include <ktshttpagent/RequestType.h>
#include <ktshttpagent/ResultRecords.h>

#include <json/value.h>

#include <string>

/// @file
/// The parts of a request. A request is a struct with
/// - `FORM`: what is the same each time that it is sent;
/// - `Arguments`: its user data, that is the arguments that are kept until its reply is decoded;
/// - `Reply`: how its reply is parsed and whether it is a success;
/// - `Record`: what the host gets from its reply;
/// - `Outgoing`: builds what is sent from the arguments;
/// - `Read`: fills the record, which contains its defaults, from a reply. If the reply could not be read,
///   `Read` gets a reply without members.
///
/// A request whose `Reply` is `IgnoredReply` or `UnregisteredReply` has no `Record`; one whose `Record` is
/// `NoRecord` has no `Read`; one that is never sent has no `Outgoing`.

namespace VelCSDK
{

enum class Method { Get, Post };

/// What is the same each time that a request is sent.
struct RequestForm {
    int nType;          ///< request type id, see ktshttpagent/RequestType.h
    const char* szPath; ///< built-in endpoint path, relative to the base URL; a site may set another
    Method eMethod;
    const char* szHeader; ///< header line to send; empty if there is none
};

inline constexpr const char* NO_HEADER = "";
inline constexpr const char* JSON_HEADER = "Content-Type: application/json; charset=utf-8";
/// The server requires exactly this value for reports, with both character sets.
inline constexpr const char* REPORT_HEADER = "Content-Type: application/json; charset=utf-8/gb2312";

/// For a request that carries no user data.
struct NoArguments {
};

/// For a reply that only tells whether it is a success.
struct NoRecord {
};

/// For a reply that a decoder receives and drops.
struct IgnoredReply {
};

/// For a reply for which no decoder is registered. It is dropped too.
struct UnregisteredReply {
};

/// What is sent in addition to a request's form.
struct RequestText {
    std::string strAfterPath; ///< follows the endpoint path in the URL
    std::string strBody;
    std::string strStream = {}; ///< requests of one stream are sent in order if they are reports that the
                                ///< outbox keeps; empty for no order
};

/// A query: the members of `object` as query string, and as JSON body for a transport that uses it.
RequestText QueryText(const Json::Value& object);

/// A JSON value as compact text with a line feed at its end.
std::string WriteJson(const Json::Value& value);

} // namespace VelCSDK
