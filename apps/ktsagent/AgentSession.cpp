#include "AgentSession.h"

#include <ktshttpagent/CUIAgentRsp.h>
#include <ktshttpagent/IVelClientSDk.h>

AgentSession::AgentSession()
{
    CUIAgentRsp::Instance();
    CUIAgentReq::Instance();
}

AgentSession::~AgentSession()
{
    VelCSDK::SDKFactory::DestoryInstance(VelCSDK::SDKFactory::GetInstance());
}
