// A library of a host that creates the agent while it is being loaded.

#include <ktshttpagent/CUIAgentReq.h>

namespace
{

[[maybe_unused]] const CUIAgentReq* const g_pRequest = CUIAgentReq::Instance();

} // namespace
