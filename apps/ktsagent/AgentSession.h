#pragma once

#include <ktshttpagent/CUIAgentReq.h>

/// The agent, for as long as a command needs it. Once in a process; its thread is the agent's thread.
class AgentSession
{
public:
    /// Makes the receiving side before the sending one, so no answer is lost, and reads the site's settings.
    AgentSession();

    /// Ends the SDK client: requests under way get the transport's drain time. To leave that to the end of
    /// the process would be as safe.
    ~AgentSession();

    AgentSession(const AgentSession&) = delete;
    AgentSession& operator=(const AgentSession&) = delete;

    CUIAgentReq& Req() const { return *CUIAgentReq::Instance(); }
};
