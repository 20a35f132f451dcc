// A host that gets ready for its first request, says so, and ends. Built twice: with the library
// (HOST_OF_AGENT) and, to subtract, without.

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
