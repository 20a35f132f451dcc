#pragma once

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/KtsSettings.h>

#include <optional>
#include <vector>

/// The agent, for as long as a command needs it. Make only one in a process; the thread that makes it is the
/// agent's thread.
class AgentSession
{
public:
    /// Makes `CUIAgentRsp` before `CUIAgentReq`, so that no answer is lost, and reads the site's settings.
    /// @param optTls  whether to use TLS for servers that are named by host and port; if nothing, the
    /// settings
    ///                decide. Passed on as the environment variable that does the same for every host.
    /// @throws std::runtime_error if the library does not do what optTls says
    explicit AgentSession(std::optional<bool> optTls = std::nullopt);

    /// Ends the SDK client: unfinished requests get the transport's drain time. Without this the same would
    /// happen, as safely, when the process ends.
    ~AgentSession();

    AgentSession(const AgentSession&) = delete;
    AgentSession& operator=(const AgentSession&) = delete;

    CUIAgentReq& Req() const { return *CUIAgentReq::Instance(); }
};

/// Whether servers that are named by host and port are reached with TLS, by the settings in force.
bool IsTlsOn(const std::vector<SKtsSetting>& vecSettings);
