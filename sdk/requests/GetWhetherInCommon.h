#pragma once

#include "Request.h"

namespace VelCSDK::requests
{

/// Whether a cell barcode is in common.
///
///     GET vomd/system/whetherInCommon.action?dxtm=CELL-1
///     {"success":true,"message":"","common":false}
///
/// An array as reply is a success without content.
struct GetWhetherInCommon {
    static constexpr RequestForm FORM{RequestType::GetWhetherInCommon, "vomd/system/whetherInCommon.action",
                                      Method::Get, NO_HEADER};
    using Arguments = std::string; ///< `dxtm`, the barcode
    using Reply = SuccessReply<ArrayRoot::Success>;
    using Record = SResponseGetWhetherInCommon;

    /// The members of the query; the blocking interface uses them too.
    static Json::Value Query(const Arguments& dxtm);
    static RequestText Outgoing(const Arguments& dxtm) { return QueryText(Query(dxtm)); }
    static void Read(const Reply& reply, const Arguments* pAsked, Record& record);
};

} // namespace VelCSDK::requests
