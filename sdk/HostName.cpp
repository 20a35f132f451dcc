#include "HostName.h"

#include <array>

#include <unistd.h>

namespace VelCSDK
{

std::string LocalHostName()
{
    std::array<char, 256> name{};
    // One byte is kept back, so that a name cut short still ends.
    return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : std::string();
}

} // namespace VelCSDK
