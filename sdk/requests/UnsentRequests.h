#pragma once

#include "Request.h"

// Request types that the client never sends. Each has a path nevertheless, which a site may set.

namespace VelCSDK::requests
{

/// The server supports this query and the next one, but the client's operations for them deliberately send
/// nothing.
struct GetChannelUpDownPlatform {
    static constexpr RequestForm FORM{RequestType::GetChannelUpDownPlatform,
                                      "vomd/system/channelUpDownPlatform.action", Method::Get, NO_HEADER};
    using Arguments = NoArguments;
    using Reply = IgnoredReply;
};

struct GetCdlxFileListByDxtmList {
    static constexpr RequestForm FORM{RequestType::GetCdlxFileListByDxtmList,
                                      "vomd/system/getCdlxFileListByDxtmList.action", Method::Get, NO_HEADER};
    using Arguments = NoArguments;
    using Reply = IgnoredReply;
};

/// Sent by the blocking interface only, like the next one.
struct ReportStepData {
    static constexpr RequestForm FORM{RequestType::ReportStepData, "open/test-cabinet/add/kostrel/step",
                                      Method::Post, NO_HEADER};
    using Arguments = NoArguments;
    using Reply = UnregisteredReply;
};

struct ReportStepDataOrn {
    static constexpr RequestForm FORM{RequestType::ReportStepDataOrn,
                                      "core/api/public/orn/qm/autoWriteInspection", Method::Post, NO_HEADER};
    using Arguments = NoArguments;
    using Reply = UnregisteredReply;
};

} // namespace VelCSDK::requests
