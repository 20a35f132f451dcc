#include "ReportChlStatus.h"

#include "sdk/FieldConversion.h"
#include "sdk/HostName.h"
#include "sdk/QueryString.h"

#include <cstdint>
#include <variant>

namespace VelCSDK::requests
{
namespace
{

using KTSStartPlugin::tagRepoChlStatusInfo;

/// A member of the report, and the field whose value it gets.
struct StatusField {
    const char* szName;
    std::variant<std::string tagRepoChlStatusInfo::*, unsigned int tagRepoChlStatusInfo::*,
                 double tagRepoChlStatusInfo::*>
        pField;
};

constexpr StatusField STATUS_FIELDS[] = {
    {"com", &tagRepoChlStatusInfo::com},
    {"ver", &tagRepoChlStatusInfo::ver},
    {"PEXAVer", &tagRepoChlStatusInfo::PEXAVer},
    {"deviceId", &tagRepoChlStatusInfo::deviceId},
    {"retentionUnder", &tagRepoChlStatusInfo::retentionUnder},
    {"stepStatus", &tagRepoChlStatusInfo::stepStatus},
    {"stopTime", &tagRepoChlStatusInfo::stopTime},
    {"cMax", &tagRepoChlStatusInfo::cMax},
    {"errorParam", &tagRepoChlStatusInfo::errorParam},
    {"errorTime", &tagRepoChlStatusInfo::errorTime},
    {"dxtm", &tagRepoChlStatusInfo::dxtm},
    {"disch_capacity", &tagRepoChlStatusInfo::disch_capacity},
    {"disch_retention", &tagRepoChlStatusInfo::disch_retention},
    {"step_state", &tagRepoChlStatusInfo::step_state},
    {"voltage", &tagRepoChlStatusInfo::voltage},
    {"current", &tagRepoChlStatusInfo::current},
    {"backup_dir", &tagRepoChlStatusInfo::backup_dir},
    {"chlType", &tagRepoChlStatusInfo::chlType},
    {"action", &tagRepoChlStatusInfo::action},
    {"action_desc", &tagRepoChlStatusInfo::action_desc},
    {"reason", &tagRepoChlStatusInfo::reason},
    {"reason_desc", &tagRepoChlStatusInfo::reason_desc},
    {"deviceModelType", &tagRepoChlStatusInfo::deviceModelType},
    {"deviceRange", &tagRepoChlStatusInfo::deviceRange},
    {"wtNumId", &tagRepoChlStatusInfo::wtNumId},
    {"xmNameId", &tagRepoChlStatusInfo::xmNameId},
    {"dczt", &tagRepoChlStatusInfo::dczt},
};

Json::Value StatusObject(const tagRepoChlStatusInfo& info)
{
    const int nBox = FieldToInt("box", info.box);
    const std::int64_t nChl = FieldToInt("chl", info.chl);

    Json::Value object;
    for (const StatusField& field : STATUS_FIELDS) {
        std::visit([&](auto pField) { object[field.szName] = info.*pField; }, field.pField);
    }
    object["box"] = nBox;
    object["chl"] = std::to_string(nChl + 1); // the server counts channels and cycles from 1
    object["cycle"] = info.cycle + 1;
    object["hostname"] = LocalHostName();
    return object;
}

} // namespace

RequestText ReportChlStatus::Outgoing(const Arguments& t, const tagRepoChlStatusInfo& info)
{
    const Json::Value body = StatusObject(info);
    Json::Value query;
    query["t"] = t;
    return {BuildQueryString(query), WriteJson(body), info.deviceId + '/' + info.box + '/' + info.chl};
}

} // namespace VelCSDK::requests
