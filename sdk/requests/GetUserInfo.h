#pragma once

#include "Request.h"

#include "sdk/CodeReply.h"

namespace VelCSDK::requests
{

/// Who a user is.
///
///     GET posts/42
///     {"code":0,"description":"","id":42,"title":"Engineer","author":"Li"}
///
/// The one request whose number stands in the path, and whose reply is judged by "code": 0, like a reply
/// without a code, is a success.
struct GetUserInfo {
    static constexpr RequestForm FORM{RequestType::GetUserInfo, "posts", Method::Get, JSON_HEADER};
    using Arguments = int; ///< the user's number
    using Reply = CodeReply;
    using Record = USER_INFO;

    static RequestText Outgoing(const Arguments& nUserId);
    static void Read(const Reply& reply, const Arguments* pAsked, Record& record);
};

} // namespace VelCSDK::requests
