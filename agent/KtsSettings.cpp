#include <ktshttpagent/KtsSettings.h>

#include "EndpointSettings.h"
#include "KnownVariables.h"
#include "NearestName.h"
#include "OutboxSetting.h"
#include "ProfileCheck.h"
#include "ServerUrl.h"
#include "SettingsProfile.h"
#include "TlsSetting.h"

#include "outbox/OutboxSettings.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/KtsVersion.h>

#include <QProcessEnvironment>

#include <json/version.h>
#include <rapidjson/rapidjson.h>

#include <algorithm>
#include <array>
#include <set>
#include <string_view>

namespace
{

constexpr const char* BUILT_IN = "built in";
constexpr const char* ENVIRONMENT = "environment";

constexpr std::array<std::string_view, 3> PREFIXES{"CHTTPCLIENT_", "CLOG_", "KTSHTTPAGENT_"};

/// How many letters a variable's name may differ from the one that was meant. A name without one of our
/// prefixes must be long to be taken for a misspelt one: short ones are alike by chance.
constexpr std::size_t NEAR = 4;
constexpr std::size_t NEAR_WITHOUT_PREFIX = 2;
constexpr std::size_t LONG_NAME = 14;

bool IsOurs(std::string_view name)
{
    return std::any_of(PREFIXES.begin(), PREFIXES.end(),
                       [name](std::string_view prefix) { return name.substr(0, prefix.size()) == prefix; });
}

SKtsSetting EndpointInForce(const EndpointSetting& setting)
{
    const QString strOrigin = CUIAgentReq::Instance()->EndpointOrigin(setting.nType);
    const bool bOfTheSite = strOrigin == DescribeEndpointSetting(setting);
    return {setting.szName, VelCSDK::SDKFactory::GetInstance()->GetUrl(setting.nType),
            bOfTheSite ? ProfileLocation(setting.szProfile).toStdString() : BUILT_IN, "", setting.nType};
}

/// The environment's setting wins over the profile's.
SKtsSetting TlsInForce(const KnownVariable& variable)
{
    const bool bTls = VelCSDK::ServerUrl("", 0).rfind("https:", 0) == 0;
    SKtsSetting setting{variable.szName, bTls ? "on" : "off", BUILT_IN, ""};
    if (VelCSDK::TlsOfEnvironment()) {
        setting.strOrigin = ENVIRONMENT;
        setting.strComplaint = StateOf(variable).strComplaint;
    } else if (bTls || OpenProfile(PLUGIN_PROFILE)->contains(TLS_VALUE)) {
        setting.strName = TLS_VALUE;
        setting.strOrigin = ProfileLocation(PLUGIN_PROFILE).toStdString();
        setting.strComplaint = TlsSettingComplaint();
    }
    return setting;
}

/// The environment's setting wins over the profile's.
SKtsSetting OutboxInForce(const KnownVariable& variable)
{
    const VariableState state = StateOf(variable);
    const std::string strOfProfile = state.bFromEnvironment ? "" : ReadOutboxSetting();
    if (strOfProfile.empty()) {
        return {variable.szName, state.strValue, state.bFromEnvironment ? ENVIRONMENT : BUILT_IN,
                state.strComplaint};
    }
    return {OUTBOX_VALUE, strOfProfile, ProfileLocation(PLUGIN_PROFILE).toStdString(), ""};
}

SKtsSetting VariableInForce(const KnownVariable& variable)
{
    if (std::string_view(variable.szName) == outbox::FOLDER_VARIABLE) {
        return OutboxInForce(variable);
    }
    if (std::string_view(variable.szName) == VelCSDK::TLS_VARIABLE) {
        return TlsInForce(variable);
    }
    const VariableState state = StateOf(variable);
    return {variable.szName, state.strValue, state.bFromEnvironment ? ENVIRONMENT : BUILT_IN,
            state.strComplaint};
}

} // namespace

std::vector<SKtsSetting> KtsSettingsInForce()
{
    CUIAgentReq::Instance(); // reads the settings
    std::vector<SKtsSetting> vecSettings;
    for (const EndpointSetting& setting : ENDPOINT_SETTINGS) {
        if (setting.nType != 0) {
            vecSettings.push_back(EndpointInForce(setting));
        }
    }
    for (const KnownVariable& variable : KnownVariables()) {
        vecSettings.push_back(VariableInForce(variable));
    }
    return vecSettings;
}

std::vector<SKtsProfile> KtsProfiles()
{
    // Qt reports a broken profile only to its first reader, and that must be the object.
    CUIAgentReq::Instance();
    std::vector<SKtsProfile> vecProfiles;
    std::set<std::string_view> setChecked;
    for (const EndpointSetting& setting : ENDPOINT_SETTINGS) {
        if (setChecked.insert(setting.szProfile).second) {
            vecProfiles.push_back(CheckProfile(setting.szProfile));
        }
    }
    return vecProfiles;
}

std::vector<SKtsUnknownName> KtsUnknownVariables()
{
    std::vector<std::string> vecKnown;
    for (const KnownVariable& variable : KnownVariables()) {
        vecKnown.emplace_back(variable.szName);
    }
    std::vector<SKtsUnknownName> vecUnknown;
    for (const QString& strKey : QProcessEnvironment::systemEnvironment().keys()) {
        const std::string strName = strKey.toStdString();
        if (std::find(vecKnown.begin(), vecKnown.end(), strName) != vecKnown.end()) {
            continue;
        }
        const bool bOurs = IsOurs(strName);
        const std::string strNearest = NearestName(strName, vecKnown, bOurs ? NEAR : NEAR_WITHOUT_PREFIX);
        if (bOurs || strNearest.size() >= LONG_NAME) {
            vecUnknown.push_back({strName, strNearest});
        }
    }
    return vecUnknown;
}

std::vector<SKtsVersion> KtsVersions()
{
    return {{"ktshttpagent", KtsVersion()},
            {"Qt", qVersion()},
            {"jsoncpp", JSONCPP_VERSION_STRING},
            {"RapidJSON", RAPIDJSON_VERSION_STRING}};
}
