#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace chttpclient
{

/// The two parts of an absolute URL that determine where a request goes, unchanged.
struct UrlParts {
    std::string_view strScheme;
    std::string_view strAuthority; ///< "user:password@host:port"; may be empty
};

/// Splits "scheme://authority/path?query#fragment". The scheme ends before the first of "/?#:".
/// @return nothing if the scheme or the "://" after it is missing
std::optional<UrlParts> SplitUrl(std::string_view strUrl);

/// A key that is the same for all URLs that lead to the same server in the same way: scheme, host and port in
/// lower case, without user and password, and without the scheme's default port. Empty if `SplitUrl` returns
/// nothing.
std::string LaneKey(std::string_view strUrl);

} // namespace chttpclient
