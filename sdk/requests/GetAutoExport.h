#pragma once

#include "Request.h"

namespace VelCSDK::requests
{

/// The data for a cell's export file.
///
///     GET vomd/system/autoExport.action?bjtzser=B01&csxmser=C02&dxtm=CELL-1
///     {"success":true,"result":{"strCustomer":"ACME","strBatchNumber":"24-07",...}}
struct GetAutoExport {
    static constexpr RequestForm FORM{RequestType::GetAutoExport, "vomd/system/autoExport.action",
                                      Method::Get, NO_HEADER};
    struct Arguments {
        std::string bjtzser;
        std::string csxmser;
        std::string dxtm; ///< barcode
    };
    using Reply = SuccessReply<ArrayRoot::FirstElement>;
    using Record = SResponseGetAutoExport;

    static RequestText Outgoing(const Arguments& arguments);
    static void Read(const Reply& reply, const Arguments* pAsked, Record& record);
};

} // namespace VelCSDK::requests
