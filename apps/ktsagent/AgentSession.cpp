#include "AgentSession.h"

#include <ktshttpagent/CUIAgentRsp.h>
#include <ktshttpagent/IVelClientSDk.h>

#include <algorithm>
#include <stdexcept>

namespace
{

constexpr const char* TLS_VARIABLE = "KTSHTTPAGENT_TLS";

} // namespace

AgentSession::AgentSession(std::optional<bool> optTls)
{
    if (optTls) {
        qputenv(TLS_VARIABLE, *optTls ? "on" : "off");
    }
    CUIAgentRsp::Instance();
    CUIAgentReq::Instance();
    if (optTls && IsTlsOn(KtsSettingsInForce()) != *optTls) {
        throw std::runtime_error("the scheme of the URL can't be used: the environment is ignored");
    }
}

bool IsTlsOn(const std::vector<SKtsSetting>& vecSettings)
{
    return std::any_of(vecSettings.begin(), vecSettings.end(), [](const SKtsSetting& setting) {
        return (setting.strName == TLS_VARIABLE || setting.strName == "UseTls") && setting.strValue == "on";
    });
}

AgentSession::~AgentSession()
{
    VelCSDK::SDKFactory::DestoryInstance(VelCSDK::SDKFactory::GetInstance());
}
