#pragma once

#include <ktshttpagent/CUIAgentReq.h>

/// The agent, for as long as a command needs it. Make only one in a process; the thread that makes it is the
/// agent's thread.
class AgentSession
{
public:
    /// Makes `CUIAgentRsp` before `CUIAgentReq`, so that no answer is lost, and reads the site's settings.
    AgentSession();

    /// Ends the SDK client: unfinished requests get the transport's drain time. Without this the same would
    /// happen, as safely, when the process ends.
    ~AgentSession();

    AgentSession(const AgentSession&) = delete;
    AgentSession& operator=(const AgentSession&) = delete;

    CUIAgentReq& Req() const { return *CUIAgentReq::Instance(); }
};
