#include "HostName.h"

#include "platform/system/Sockets.h"

namespace VelCSDK
{

std::string LocalHostName()
{
    const SocketsStartUp sockets; // on Windows the name needs sockets that are started here
    return sockets.IsUp() ? MachineName() : std::string();
}

} // namespace VelCSDK
