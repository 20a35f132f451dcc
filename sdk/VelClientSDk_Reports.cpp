#include "VelClientSDk.h"

#include "FieldConversion.h"
#include "HostName.h"
#include "QueryString.h"
#include "RequestCatalogue.h"
#include "RequestObjects.h"

#include <cstdint>
#include <utility>

namespace VelCSDK
{
namespace
{

/// @throws std::invalid_argument, std::out_of_range where `box` or `chl` does not begin with a number that is
/// an int
Json::Value ChlStatusObject(const KTSStartPlugin::tagRepoChlStatusInfo& info)
{
    const int nBox = FieldToInt("box", info.box);
    const std::int64_t nChl = FieldToInt("chl", info.chl);

    Json::Value object;
    object["com"] = info.com;
    object["ver"] = info.ver;
    object["PEXAVer"] = info.PEXAVer;
    object["deviceId"] = info.deviceId;
    object["box"] = nBox;
    object["retentionUnder"] = info.retentionUnder;
    object["stepStatus"] = info.stepStatus;
    object["stopTime"] = info.stopTime;
    object["cMax"] = info.cMax;
    object["errorParam"] = info.errorParam;
    object["errorTime"] = info.errorTime;
    object["chl"] = std::to_string(nChl + 1); // the server counts channels and cycles from 1
    object["dxtm"] = info.dxtm;
    object["cycle"] = info.cycle + 1;
    object["disch_capacity"] = info.disch_capacity;
    object["disch_retention"] = info.disch_retention;
    object["step_state"] = info.step_state;
    object["voltage"] = info.voltage;
    object["current"] = info.current;
    object["backup_dir"] = info.backup_dir;
    object["hostname"] = LocalHostName();
    object["chlType"] = info.chlType;
    object["action"] = info.action;
    object["action_desc"] = info.action_desc;
    object["reason"] = info.reason;
    object["reason_desc"] = info.reason_desc;
    object["deviceModelType"] = info.deviceModelType;
    object["deviceRange"] = info.deviceRange;
    object["wtNumId"] = info.wtNumId;
    object["xmNameId"] = info.xmNameId;
    object["dczt"] = info.dczt;
    return object;
}

} // namespace

void VelClientSDk::ReportChlStatus(std::string t, KTSStartPlugin::tagRepoChlStatusInfo& info)
{
    constexpr int nType = RequestType::ReportChlStatus;
    const Json::Value body = ChlStatusObject(info);
    Json::Value query;
    query["t"] = t;
    Send<nType>(std::move(t), RequestUrl(nType) + BuildQueryString(query), WriteJson(body));
}

void VelClientSDk::ReportIncubatorStatus(KTSStartPlugin::tagRepoIncubatorStatus& status)
{
    constexpr int nType = RequestType::ReportIncubatorStatus;
    Json::Value object;
    object["status"] = status.status ? "idle" : "busy";
    object["name"] = status.name;
    object["temperature"] = static_cast<double>(status.temperature);
    HandToTransport(nType, RequestUrl(nType), WriteJson(object), nullptr);
}

void VelClientSDk::PostUploadData(tagBatteryTestData& data)
{
    constexpr int nType = RequestType::PostUploadData;
    Json::Value object;
    for (const SBatteryField& field : BATTERY_FIELDS) {
        object[field.szName] = data.*field.pField;
    }
    Send<nType>(data, RequestUrl(nType), WriteJson(object));
}

void VelClientSDk::ReportCycleData(std::string json)
{
    constexpr int nType = RequestType::ReportCycleData;
    Send<nType>(json, RequestUrl(nType), json);
}

// Step data travels as cycle data: same endpoint, same id.
void VelClientSDk::ReportStepData(std::string json)
{
    ReportCycleData(std::move(json));
}

} // namespace VelCSDK
