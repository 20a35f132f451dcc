#pragma once

#include <string>
#include <string_view>

namespace chttpclient
{

/// The text as a valid URL: bytes that no URL may hold (control bytes, space, "<>\^`{|}, 127 and above), [
/// and ] outside the authority, where an IPv6 address has its own, and a % that begins no escape are
/// percent-encoded. All else is left alone, valid escapes and other reserved characters included.
std::string EncodeUrl(std::string_view strUrl);

} // namespace chttpclient
