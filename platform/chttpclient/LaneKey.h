#pragma once

#include <string>
#include <string_view>

namespace chttpclient
{

/// A key that is the same for all URLs that lead to the same server in the same way: scheme, host and port in
/// lower case, without user and password, and without the scheme's default port. Empty for a text that is no
/// absolute URL.
std::string LaneKey(std::string_view strUrl);

} // namespace chttpclient
