#pragma once

#include <string>

namespace VelCSDK
{

/// The name of the local machine; empty if it can't be determined.
std::string LocalHostName();

} // namespace VelCSDK
