#include "Reach.h"
#include "Stages.h"

#include <algorithm>

namespace
{

std::string Target(const QHostAddress& address, int nPort)
{
    const std::string strAddress = address.toString().toStdString();
    return (strAddress.find(':') == std::string::npos ? strAddress : '[' + strAddress + ']') + ":" +
           std::to_string(nPort);
}

Finding Describe(const ConnectResult& result, int nPort, bool bAnyConnects)
{
    const std::string strTarget = Target(result.address, nPort);
    const std::string strTime = std::to_string(result.nMilliseconds) + " ms";
    if (result.strError.empty()) {
        return {Mark::Ok, strTarget + " accepts connections (" + strTime + ")."};
    }
    const Mark eMark = bAnyConnects ? Mark::Warning : Mark::Failed;
    if (result.bSilent) {
        return {eMark, strTarget + " is silent: no answer within " + strTime + ".",
                "Look for a firewall on the way, a wrong address, or a machine that is switched off."};
    }
    return {eMark, strTarget + " accepts no connection: " + result.strError + ".",
            "Start the server there, or correct the port."};
}

} // namespace

Findings CheckConnection(Context& context)
{
    if (context.lstAddresses.isEmpty()) {
        return {{Mark::Skipped, "No address of the server is known here."}};
    }
    const std::vector<ConnectResult> vecResults =
        Connect(context.lstAddresses, context.server.nPort, context.timeout);
    const bool bAnyConnects =
        std::any_of(vecResults.begin(), vecResults.end(),
                    [](const ConnectResult& result) { return result.strError.empty(); });
    if (!bAnyConnects) {
        for (Interface* const pInterface : {&context.asynchronous, &context.blocking}) {
            pInterface->bReachesServer = pInterface->bReachesServer && pInterface->bUsesProxy;
        }
    }
    Findings vecFindings;
    for (const ConnectResult& result : vecResults) {
        vecFindings.push_back(Describe(result, context.server.nPort, bAnyConnects));
    }
    return vecFindings;
}
