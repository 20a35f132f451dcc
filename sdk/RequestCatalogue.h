#pragma once

#include <string>

namespace VelCSDK
{

/// The built-in endpoint path of a request type, relative to the base URL and without a query; empty for an
/// unknown id.
std::string DefaultEndpointPath(int nType);

} // namespace VelCSDK
