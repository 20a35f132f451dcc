#pragma once

#include <string>

namespace VelCSDK
{

/// The name of the local machine; empty when it can't be had.
std::string LocalHostName();

} // namespace VelCSDK
