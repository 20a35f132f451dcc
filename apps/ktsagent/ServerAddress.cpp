#include "ServerAddress.h"

#include <charconv>
#include <stdexcept>

namespace
{

int ParsePort(const std::string& strText)
{
    int nPort = 0;
    const char* const pEnd = strText.data() + strText.size();
    const auto result = std::from_chars(strText.data(), pEnd, nPort);
    if (result.ec != std::errc() || result.ptr != pEnd || nPort < 1 || nPort > 65535) {
        throw std::invalid_argument("'" + strText + "' is no port from 1 to 65535");
    }
    return nPort;
}

bool IsHost(const std::string& strText)
{
    if (strText.front() == '[') {
        return strText.size() > 2 && strText.find(']') == strText.size() - 1;
    }
    // A colon here is an IPv6 address without brackets or the scheme of a URL.
    return strText.find_first_of(":/?#@[] \t") == std::string::npos;
}

} // namespace

ServerAddress ParseServerAddress(const std::string& strText)
{
    const auto nColon = strText.rfind(':');
    if (nColon == std::string::npos || nColon == 0) {
        throw std::invalid_argument("'" + strText + "' is not HOST:PORT");
    }
    const std::string strHost = strText.substr(0, nColon);
    if (!IsHost(strHost)) {
        throw std::invalid_argument("'" + strHost +
                                    "' is no host: a name or an address, an IPv6 address in brackets");
    }
    return {QString::fromStdString(strHost), ParsePort(strText.substr(nColon + 1))};
}
