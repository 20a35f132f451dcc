#pragma once

#include <ktshttpagent/RequestRecords.h>

#include <json/value.h>

#include <array>
#include <string>

namespace VelCSDK
{

// What both roads to the server, the asynchronous and the blocking one, say in the same words.

/// A channel check as its members stand in the query.
Json::Value ChannelCheckObject(const tagSRequestGetChannelCheckData& request);

/// Whether a barcode is in common, as a query.
Json::Value WhetherInCommonObject(const std::string& strDxtm);

/// A member of the battery test report with the field that it is filled from.
struct SBatteryField {
    const char* szName;
    std::string tagBatteryTestData::*pField;
};

constexpr std::array<SBatteryField, 7> BATTERY_FIELDS{{
    {"siteNo", &tagBatteryTestData::siteNo},
    {"batchNo", &tagBatteryTestData::batchNo},
    {"resourceNo", &tagBatteryTestData::resourceNo},
    {"chargingCapacity", &tagBatteryTestData::chargingCapacity},
    {"dischargeCapacity", &tagBatteryTestData::dischargeCapacity},
    {"voltage", &tagBatteryTestData::voltage},
    {"uploadTime", &tagBatteryTestData::uploadTime},
}};

/// Cycle and step data, the inside of a JSON array, as an array. Nothing is checked.
std::string JsonArrayOf(const std::string& strData);

} // namespace VelCSDK
