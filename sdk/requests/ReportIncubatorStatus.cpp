#include "ReportIncubatorStatus.h"

namespace VelCSDK::requests
{

RequestText ReportIncubatorStatus::Outgoing(const Arguments& /*none*/,
                                            const KTSStartPlugin::tagRepoIncubatorStatus& status)
{
    Json::Value object;
    object["status"] = status.status ? "idle" : "busy";
    object["name"] = status.name;
    object["temperature"] = static_cast<double>(status.temperature);
    return {"", WriteJson(object)};
}

} // namespace VelCSDK::requests
