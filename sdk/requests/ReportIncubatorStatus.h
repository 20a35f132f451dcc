#pragma once

#include "Request.h"

namespace VelCSDK::requests
{

/// The state of an incubator.
///
///     POST vomd/system/incubatorStatus.action
///     {"name":"INC-1","status":"idle","temperature":25.0}
///
///     {"success":true}
struct ReportIncubatorStatus {
    static constexpr RequestForm FORM{RequestType::ReportIncubatorStatus,
                                      "vomd/system/incubatorStatus.action", Method::Post, REPORT_HEADER};
    using Arguments = NoArguments;
    using Reply = SuccessReply<ArrayRoot::FirstElement>;
    using Record = NoRecord;

    static RequestText Outgoing(const Arguments&, const KTSStartPlugin::tagRepoIncubatorStatus& status);
};

} // namespace VelCSDK::requests
