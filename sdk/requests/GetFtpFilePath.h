#pragma once

#include "Request.h"

namespace VelCSDK::requests
{

/// Where test files are kept on the FTP server.
///
///     GET vomd/system/xmmb/getFtpFilePath.action?batteryStatus=new&bjtzser=B01&csxmser=C02&supplier=Li
///     {"success":true,"result":{"permit":true,"ftpFilePath":"/data/2024/07"}}
struct GetFtpFilePath {
    static constexpr RequestForm FORM{RequestType::GetFtpFilePath, "vomd/system/xmmb/getFtpFilePath.action",
                                      Method::Get, NO_HEADER};
    struct Arguments {
        std::string bjtzser;
        std::string csxmser;
        std::string supplier;
        std::string batteryStatus;
    };
    using Reply = SuccessReply<ArrayRoot::FirstElement>;
    using Record = SResponseGetFtpFilePath;

    static RequestText Outgoing(const Arguments& arguments);
    static void Read(const Reply& reply, const Arguments* pAsked, Record& record);
};

} // namespace VelCSDK::requests
