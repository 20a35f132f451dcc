#pragma once

#include "Request.h"

namespace VelCSDK::requests
{

/// The states that a battery can have.
///
///     GET vomd/system/GetDxzt.action?t=1.1.0
///     {"success":true,"全部电池状态":[{"id":1,"name":"A","电池状态":[{"id":7},{"id":8}]},...]}
struct GetBattStatus {
    static constexpr RequestForm FORM{RequestType::GetBattStatus, "vomd/system/GetDxzt.action", Method::Get,
                                      NO_HEADER};
    using Arguments = std::string; ///< `t`
    using Reply = SuccessReply<ArrayRoot::FirstElement>;
    using Record = SResponseGetBatteryStatus;

    static RequestText Outgoing(const Arguments& t);
    static void Read(const Reply& reply, const Arguments* pAsked, Record& record);
};

} // namespace VelCSDK::requests
