#pragma once

#include <string>

/// Address and port as a URL holds them: "127.0.0.1:8080", "[::1]:8080".
inline std::string HostAndPort(const std::string& strAddress, int nPort)
{
    const bool bIPv6 = strAddress.find(':') != std::string::npos;
    return (bIPv6 ? '[' + strAddress + ']' : strAddress) + ':' + std::to_string(nPort);
}
