#include "Reach.h"
#include "Stages.h"

namespace
{

std::string Joined(const QList<QHostAddress>& lstAddresses)
{
    std::string strAll;
    for (const QHostAddress& address : lstAddresses) {
        strAll += (strAll.empty() ? "" : ", ") + address.toString().toStdString();
    }
    return strAll;
}

void NoteUnreachable(Context& context)
{
    for (Interface* const pInterface : {&context.asynchronous, &context.blocking}) {
        pInterface->bReachesServer = pInterface->bReachesServer && pInterface->bUsesProxy;
    }
}

} // namespace

Findings CheckName(Context& context)
{
    if (context.asynchronous.bUsesProxy && context.blocking.bUsesProxy) {
        return {{Mark::Skipped, "The proxy looks up the server's name, not this machine."}};
    }
    const std::string strName = context.Host().toStdString();
    const LookUpResult found = LookUp(context.Host(), context.timeout);
    if (found.lstAddresses.isEmpty()) {
        NoteUnreachable(context);
        return {{Mark::Failed, "The name " + strName + " has no address: " + found.strError + ".",
                 "Correct the name, or enter it in the name service or in this machine's file of hosts."}};
    }
    context.lstAddresses = found.lstAddresses;
    if (!QHostAddress(context.Host()).isNull()) {
        return {{Mark::Ok, strName + " is an address, so no name has to be looked up."}};
    }
    return {{Mark::Ok, strName + " has the addresses " + Joined(found.lstAddresses) + " (found in " +
                           std::to_string(found.nMilliseconds) + " ms)."}};
}
