#pragma once

#include "Request.h"

namespace VelCSDK::requests
{

/// One line of a channel's status log. The lines of one channel are a stream: its device, box and channel.
///
///     POST vomd/system/addstatuslog.action?t=1.1.0
///     {"PEXAVer":"1.0","action":"start","box":1,"chl":"3","cycle":1,"hostname":"LAB-7",...}
///
///     {"success":true}
struct ReportChlStatus {
    static constexpr RequestForm FORM{RequestType::ReportChlStatus, "vomd/system/addstatuslog.action",
                                      Method::Post, REPORT_HEADER};
    using Arguments = std::string; ///< `t`
    using Reply = SuccessReply<ArrayRoot::FirstElement>;
    using Record = NoRecord;

    /// @throws std::invalid_argument, std::out_of_range if `box` or `chl` does not begin with a number that
    ///         fits an int, see `FieldToInt`
    static RequestText Outgoing(const Arguments& t, const KTSStartPlugin::tagRepoChlStatusInfo& info);
};

} // namespace VelCSDK::requests
