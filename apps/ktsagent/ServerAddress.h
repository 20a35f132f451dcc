#pragma once

#include <QString>

#include <optional>
#include <string>

/// A server's address in the form that the agent's senders accept.
struct ServerAddress {
    QString strIp;                             ///< host name or address; an IPv6 address is in brackets
    int nPort = 0;                             ///< 1 to 65535
    std::optional<bool> optTls = std::nullopt; ///< whether a URL says https or http; nothing without a URL
    QString strPath = {}; ///< the path of a URL without the "/" at its beginning; empty if it has none
};

/// The URL of a server, with a "/" at its end.
/// @param bTls  whether to use TLS if the address does not say so itself
std::string BaseUrl(const ServerAddress& server, bool bTls);

/// Reads "HOST:PORT", "[IPv6]:PORT" or a URL of http or https, which needs no port. Brackets are added to an
/// IPv6 address without them, unless its end could be the port.
/// @throws std::invalid_argument that says what is wrong with the text
ServerAddress ParseServerAddress(const std::string& strText);
