#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace chttpclient
{

/// The two parts of an absolute URL that say where a request goes, as they stand in it.
struct SUrlParts {
    std::string_view strScheme;
    std::string_view strAuthority; ///< "user:password@host:port"; may be empty
};

/// Splits "scheme://authority/path?query#fragment". The scheme is what stands before the first of "/?#:".
/// @return nothing where the scheme or the "//" after it is missing
std::optional<SUrlParts> SplitUrl(std::string_view strUrl);

/// The same text for all URLs that lead to the same server in the same way: scheme, host and port in lower
/// case, without user and password, and without the port that the scheme implies. Empty where `SplitUrl`
/// returns nothing.
std::string LaneKey(std::string_view strUrl);

} // namespace chttpclient
