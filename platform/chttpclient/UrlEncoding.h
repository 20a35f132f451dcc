#pragma once

#include <string>
#include <string_view>

namespace chttpclient
{

/// Returns the text as a valid URL. Percent-encoded are the bytes that no URL may hold (control bytes, space,
/// "<>\^`{|}, 127 and above), [ and ] outside the authority (which may hold an IPv6 address in brackets), and
/// a % that does not begin an escape. Everything else stays as it is, including valid escapes and other
/// reserved characters.
std::string EncodeUrl(std::string_view strUrl);

} // namespace chttpclient
