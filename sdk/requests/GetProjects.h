#pragma once

#include "Request.h"

namespace VelCSDK::requests
{

/// The test projects of cells.
///
///     GET vomd/system/GetSyxm.action?dxtm=CELL-1,CELL-2&t=1.1.0
///     {"success":true,"实验项目":[{"xh":"1","委托单号":{"id":240001,"name":"WT-1"},
///       "测试类型":{"id":11,"name":"常规测试"},"项目分类":{...},"项目名称":{...}},...]}
struct GetProjects {
    static constexpr RequestForm FORM{RequestType::GetProjects, "vomd/system/GetSyxm.action", Method::Get,
                                      NO_HEADER};
    struct Arguments {
        std::string dxtm; ///< barcodes, separated by commas
        std::string t;
    };
    using Reply = SuccessReply<ArrayRoot::FirstElement>;
    using Record = SResponseGetProject;

    static RequestText Outgoing(const Arguments& arguments);
    static void Read(const Reply& reply, const Arguments* pAsked, Record& record);
};

} // namespace VelCSDK::requests
