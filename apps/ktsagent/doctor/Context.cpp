#include "Context.h"

#include <ktshttpagent/IVelClientSDk.h>

#include <algorithm>

QString Context::Host() const
{
    QString strHost = server.strIp;
    return strHost.remove('[').remove(']');
}

const SKtsSetting* Context::FindSetting(const std::string& strName) const
{
    const auto it =
        std::find_if(vecSettings.begin(), vecSettings.end(),
                     [&strName](const SKtsSetting& setting) { return setting.strName == strName; });
    return it == vecSettings.end() ? nullptr : &*it;
}

std::string Context::CaFile() const
{
    const SKtsSetting* const pSetting = FindSetting("CHTTPCLIENT_CA_FILE");
    return pSetting != nullptr && pSetting->strOrigin == "environment" ? pSetting->strValue : "";
}

bool Context::HasTransportsSettings() const
{
    const SKtsSetting* const pSetting = FindSetting("KTSHTTPAGENT_SYNC_SETTINGS");
    return pSetting != nullptr && pSetting->strValue == "transport";
}

std::string Context::PathOf(int nType) const
{
    return VelCSDK::SDKFactory::GetInstance()->GetUrl(nType);
}

std::vector<const Interface*> Context::Usable() const
{
    std::vector<const Interface*> vecUsable;
    for (const Interface* const pInterface : {&asynchronous, &blocking}) {
        if (pInterface->bReachesServer) {
            vecUsable.push_back(pInterface);
        }
    }
    return vecUsable;
}
