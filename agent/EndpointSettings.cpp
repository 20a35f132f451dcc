#include "EndpointSettings.h"

#include "SettingsProfile.h"

#include <ktshttpagent/RequestType.h>
#include <ktshttpagent/clog.h>

#include <QVariant>

#include <memory>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

using namespace VelCSDK;

namespace
{

constexpr const char* PLUGIN = PLUGIN_PROFILE;
constexpr const char* ORN = "HKEY_LOCAL_MACHINE\\SOFTWARE\\ZORVAL\\ORN\\NETCFG";
constexpr const char* TAMOR = "HKEY_LOCAL_MACHINE\\SOFTWARE\\ZORVAL\\TAMOR\\NETCFG";
constexpr const char* PLIX = "HKEY_LOCAL_MACHINE\\SOFTWARE\\ZORVAL\\PLIX\\NETCFG";

} // namespace

// User information has no setting. Two profiles have a value for step data, for two different requests.
const std::array<EndpointSetting, 16> ENDPOINT_SETTINGS{{
    {PLUGIN, "HttpUrlAddStatusLog", RequestType::ReportChlStatus},
    {PLUGIN, "HttpUrlAutoExport", RequestType::GetAutoExport},
    {PLUGIN, "HttpUrlGetDxzt", RequestType::GetBattStatus},
    {PLUGIN, "HttpUrlGetFtpFilePath", RequestType::GetFtpFilePath},
    {PLUGIN, "HttpUrlGetSupportVer", RequestType::GetSupportVer},
    {PLUGIN, "HttpUrlGetSyxm", RequestType::GetProjects},
    {PLUGIN, "HttpUrlIncubatorStatus", RequestType::ReportIncubatorStatus},
    {PLUGIN, "HttpUrlReportLocation", 0},
    {PLUGIN, "HttpUrlGetChannelUpDownPlatform", RequestType::GetChannelUpDownPlatform},
    {PLUGIN, "HttpUrlGetChannelCheckData", RequestType::GetChannelCheckData},
    {PLUGIN, "HttpUrlGetWhetherInCommon", RequestType::GetWhetherInCommon},
    {PLUGIN, "HttpUrlGetCdlxFileListByDxtmList", RequestType::GetCdlxFileListByDxtmList},
    {TAMOR, "HttpUrlPostBatteryTestData", RequestType::PostUploadData},
    {PLIX, "HttpUrlPostReportCycleData", RequestType::ReportCycleData},
    {PLIX, "HttpUrlPostReportStepData", RequestType::ReportStepData},
    {ORN, "HttpUrlPostReportStepData", RequestType::ReportStepDataOrn},
}};

namespace
{

const char* StatusText(QSettings::Status eStatus)
{
    return eStatus == QSettings::FormatError ? "can't be parsed" : "can't be read";
}

/// Reads the value of a setting.
/// @return nothing if its profile can't be read
std::optional<std::string> ReadValue(const EndpointSetting& setting)
{
    const std::unique_ptr<QSettings> pSettings = OpenProfile(setting.szProfile);
    const QString strPath = pSettings->value(QString::fromLatin1(setting.szName), QVariant("")).toString();
    if (pSettings->status() == QSettings::NoError) {
        return strPath.toStdString();
    }
    Log_Write(1, "ReadEndpointSettings", 1, "%s %s; the built-in paths stay in force for its requests",
              qUtf8Printable(ProfileLocation(setting.szProfile)), StatusText(pSettings->status()));
    return std::nullopt;
}

} // namespace

std::array<std::string, ENDPOINT_SETTING_COUNT> ReadEndpointSettings()
{
    std::array<std::string, ENDPOINT_SETTING_COUNT> paths;
    // Qt reports a broken file only to its first reader, so the broken profiles are remembered here.
    std::set<std::string_view> setBroken;
    for (std::size_t nSetting = 0; nSetting < paths.size(); ++nSetting) {
        const EndpointSetting& setting = ENDPOINT_SETTINGS.at(nSetting);
        if (setBroken.count(setting.szProfile) != 0) {
            continue;
        }
        if (std::optional<std::string> strPath = ReadValue(setting)) {
            paths.at(nSetting) = std::move(*strPath);
        } else {
            setBroken.insert(setting.szProfile);
        }
    }
    return paths;
}

QString DescribeEndpointSetting(const EndpointSetting& setting)
{
    return ProfileLocation(setting.szProfile) + " " + QString::fromLatin1(setting.szName);
}
