#include "labserver/LabChannels.h"

#include "labserver/LabTables.h"

Json::Value ListChannels(LabContext& context, const LabRequest&)
{
    Json::Value channels(Json::arrayValue);
    for (const LabRow& row : context.store.Select(labtables::CHANNEL_STATUS,
                                                  R"(WHERE row_id IN (SELECT max(row_id) FROM "channel_status"
                                           GROUP BY "deviceId", "chl") ORDER BY "deviceId", "chl")")) {
        channels.append(row.members)["time"] = row.strReceivedAt;
    }
    Json::Value reply(Json::objectValue);
    reply["count"] = channels.size();
    reply["channels"] = std::move(channels);
    return reply;
}
