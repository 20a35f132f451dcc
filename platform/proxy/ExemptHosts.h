#pragma once

#include <string>
#include <string_view>

/// Whether a list like the one in no_proxy names a host, by libcurl's rules: an entry is the host's name, a
/// domain that it is in, its address, or a network with the length of its prefix (10.0.0.0/8); "*" alone
/// names every host. Entries are separated by commas and blanks.
/// @param strHost  a name or an address, without brackets
bool IsExempt(std::string_view strList, const std::string& strHost);
