#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace outbox
{

/// The address of a report, as the outbox deals with it.
struct Address {
    std::string strServer;   ///< scheme, host and port: "http://host:8080", in lower case
    std::string strPlace;    ///< the same and the path, without what follows it
    std::string strBare;     ///< the whole URL without user name and password
    std::string strUserInfo; ///< user name and password as they stood in it: "user:password"; often empty
};

/// @return nothing if the text is no absolute URL: then nobody can tell where a password stands
std::optional<Address> ReadAddress(std::string_view strUrl);

/// Whether the scheme is http or https.
bool IsHttp(std::string_view strUrl);

/// The URL with a user name and a password. Unchanged if `strUserInfo` is empty.
std::string WithUserInfo(const std::string& strBareUrl, std::string_view strUserInfo);

} // namespace outbox
