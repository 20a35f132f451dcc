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
/// The only request with its argument in the path, and the only one whose reply is a success if its "code" is
/// 0 or missing.
struct GetUserInfo {
    static constexpr RequestForm FORM{RequestType::GetUserInfo, "posts", Method::Get, JSON_HEADER};
    using Arguments = int; ///< the user's number
    using Reply = CodeReply;
    using Record = USER_INFO;

    static RequestText Outgoing(const Arguments& nUserId);
    static void Read(const Reply& reply, const Arguments* pAsked, Record& record);
};

} // namespace VelCSDK::requests
