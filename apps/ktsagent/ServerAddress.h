#pragma once

#include <QString>

#include <string>

/// A server as the senders of the agent take it.
struct ServerAddress {
    QString strIp; ///< host name or address; an IPv6 address in brackets, as the senders take it
    int nPort = 0; ///< 1 to 65535
};

/// Reads "HOST:PORT" or "[IPv6]:PORT". An IPv6 address without brackets gets them, where its end can't be
/// taken for the port.
/// @throws std::invalid_argument saying what is wrong with the text
ServerAddress ParseServerAddress(const std::string& strText);
