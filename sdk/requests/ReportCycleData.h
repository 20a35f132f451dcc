#pragma once

#include "Request.h"

namespace VelCSDK::requests
{

/// Cycle data; the asynchronous interface sends step data in the same way.
///
///     POST open/test-cabinet/add/kostrel/cycle
///     [{"cycle":1,...},{"cycle":2,...}]
///
/// The asynchronous interface reads no reply.
struct ReportCycleData {
    static constexpr RequestForm FORM{RequestType::ReportCycleData, "open/test-cabinet/add/kostrel/cycle",
                                      Method::Post, NO_HEADER};
    using Arguments = std::string; ///< the body, sent as it is
    using Reply = UnregisteredReply;

    /// The array whose content is `strData`. Nothing is checked.
    static std::string JsonArrayOf(const std::string& strData) { return "[" + strData + "]"; }

    static RequestText Outgoing(const Arguments& json) { return {"", json}; }
};

} // namespace VelCSDK::requests
