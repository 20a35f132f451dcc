#pragma once

#include "Request.h"

#include <array>

namespace VelCSDK::requests
{

/// One battery test result.
///
///     POST dev-api/connector/DataCollectionController_KR_KR/saveData
///     {"batchNo":"B2","chargingCapacity":"1.5",...,"uploadTime":"2024-01-02 03:04:05","voltage":"3.7"}
///
/// The asynchronous interface reads no reply.
struct PostUploadData {
    static constexpr RequestForm FORM{RequestType::PostUploadData,
                                      "dev-api/connector/DataCollectionController_KR_KR/saveData",
                                      Method::Post, REPORT_HEADER};
    using Arguments = tagBatteryTestData;
    using Reply = UnregisteredReply;

    /// A member of the body, and the field whose value it gets.
    struct Field {
        const char* szName;
        std::string tagBatteryTestData::*pField;
    };
    /// All members of the body; the blocking interface uses them too.
    static constexpr std::array<Field, 7> FIELDS{{
        {"siteNo", &tagBatteryTestData::siteNo},
        {"batchNo", &tagBatteryTestData::batchNo},
        {"resourceNo", &tagBatteryTestData::resourceNo},
        {"chargingCapacity", &tagBatteryTestData::chargingCapacity},
        {"dischargeCapacity", &tagBatteryTestData::dischargeCapacity},
        {"voltage", &tagBatteryTestData::voltage},
        {"uploadTime", &tagBatteryTestData::uploadTime},
    }};

    static RequestText Outgoing(const Arguments& data);
};

} // namespace VelCSDK::requests
