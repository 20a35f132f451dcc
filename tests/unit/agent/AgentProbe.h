#pragma once

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>

/// Makes accessible what hosts can't reach.
class AgentResponseProbe : public CUIAgentRsp
{
public:
    using CUIAgentRsp::OnResponse;
    using CUIAgentRsp::ProcGetUserInfo;
    using CUIAgentRsp::ProcPostReportChlStat;
    using CUIAgentRsp::ProcPostReportIncubatorStatus;
};

class AgentRequestProbe : public CUIAgentReq
{
public:
    using CUIAgentReq::JointServerInfo;
    using CUIAgentReq::m_mapSyncWait;
};
