#include "HostName.h"

#include "platform/system/Sockets.h"

namespace VelCSDK
{

std::string LocalHostName()
{
    const SocketsStartUp sockets; // the name is theirs to tell, whatever else has started them
    return sockets.IsUp() ? MachineName() : std::string();
}

} // namespace VelCSDK
