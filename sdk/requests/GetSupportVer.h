#pragma once

#include "Request.h"

namespace VelCSDK::requests
{

/// Whether the server supports a version of the host.
///
///     GET vomd/system/GetSupportVer.action?t=1.1.0
///     {"success":true,"com":"KTS","ver":"1.1.0"}
struct GetSupportVer {
    static constexpr RequestForm FORM{RequestType::GetSupportVer, "vomd/system/GetSupportVer.action",
                                      Method::Get, NO_HEADER};
    using Arguments = std::string; ///< `t`, the version
    using Reply = SuccessReply<ArrayRoot::FirstElement>;
    using Record = SSupportVer;

    static RequestText Outgoing(const Arguments& t);
    static void Read(const Reply& reply, const Arguments* pAsked, Record& record);
};

} // namespace VelCSDK::requests
