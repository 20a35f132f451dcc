#include "GetBattStatus.h"

#include <optional>

namespace VelCSDK::requests
{
namespace
{

SBatteryItem ReadBattery(const JsonObject& element)
{
    SBatteryItem battery{element.Int("id").value_or(0), element.Text("name"), {}};
    for (const JsonValue& status : element.Array("电池状态")) {
        if (const std::optional<int> nId = JsonObject(&status).Int("id")) {
            battery.lstStatus.push_back(*nId);
        }
    }
    return battery;
}

} // namespace

RequestText GetBattStatus::Outgoing(const Arguments& t)
{
    Json::Value query;
    query["t"] = t;
    return QueryText(query);
}

void GetBattStatus::Read(const Reply& reply, const Arguments* /*pAsked*/, Record& record)
{
    record.bSuccess = reply.Success();
    const JsonElements batteries = reply.Members().Array("全部电池状态");
    record.lstBattery.reserve(batteries.size());
    for (const JsonValue& battery : batteries) {
        record.lstBattery.push_back(ReadBattery(JsonObject(&battery)));
    }
}

} // namespace VelCSDK::requests
