#pragma once

#include "Request.h"

namespace VelCSDK::requests
{

/// Whether a channel may start.
///
///     GET vomd/system/channelCheckData.action?chl=3&deviceId=D1&dxtm=CELL-1&purpose=p&wtNumId=12&xmNameId=7
///     {"success":true,"message":"","result":{"allowBoot":"yes","reason":""}}
///
/// An array as reply is a success without content.
struct GetChannelCheckData {
    static constexpr RequestForm FORM{RequestType::GetChannelCheckData, "vomd/system/channelCheckData.action",
                                      Method::Get, NO_HEADER};
    using Arguments = tagSRequestGetChannelCheckData;
    using Reply = SuccessReply<ArrayRoot::Success>;
    using Record = SResponseGetChannelCheckData;

    /// The members of the query; the blocking interface uses them too.
    static Json::Value Query(const Arguments& arguments);
    static RequestText Outgoing(const Arguments& arguments) { return QueryText(Query(arguments)); }
    static void Read(const Reply& reply, const Arguments* pAsked, Record& record);
};

} // namespace VelCSDK::requests
