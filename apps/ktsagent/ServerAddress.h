#pragma once

#include <QString>

#include <string>

/// A server as the senders of the agent take it.
struct ServerAddress {
    QString strIp; ///< host name or address; an IPv6 address keeps its brackets, as a URL needs them
    int nPort = 0; ///< 1 to 65535
};

/// Reads "HOST:PORT" or "[IPv6]:PORT".
/// @throws std::invalid_argument saying what is wrong with the text
ServerAddress ParseServerAddress(const std::string& strText);
