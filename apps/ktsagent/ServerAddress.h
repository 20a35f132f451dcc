#pragma once

#include <QString>

#include <string>

/// A server's address in the form that the agent's senders accept.
struct ServerAddress {
    QString strIp; ///< host name or address; an IPv6 address is in brackets
    int nPort = 0; ///< 1 to 65535
};

/// Reads "HOST:PORT" or "[IPv6]:PORT". Brackets are added to an IPv6 address without them, unless its end
/// could be the port.
/// @throws std::invalid_argument that says what is wrong with the text
ServerAddress ParseServerAddress(const std::string& strText);
