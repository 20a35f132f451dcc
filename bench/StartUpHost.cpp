// A host that prepares for its first request, says so, and ends. It is built twice: with the library
// (HOST_OF_AGENT), and without it, so that the difference can be computed.

#include "Resident.h"

#include <QCoreApplication>

#if defined(HOST_OF_AGENT)
#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>
#endif

#include <cstdio>

int main(int nArguments, char** arArguments)
{
    const QCoreApplication app(nArguments, arArguments);
#if defined(HOST_OF_AGENT)
    CUIAgentRsp::Instance();
    CUIAgentReq::Instance();
#endif
    std::printf("%.0f\n", ResidentBytes());
    std::fflush(stdout);
    return 0;
}
