#include "ServerAddress.h"

#include "NumberText.h"

#include <QUrl>

#include <stdexcept>

namespace
{

int ParsePort(const std::string& strText)
{
    int nPort = 0;
    if (!ParseNumber(strText, nPort, 1) || nPort > 65535) {
        throw std::invalid_argument("'" + strText + "' is no port from 1 to 65535");
    }
    return nPort;
}

/// Whether a text is an IPv6 address without brackets.
bool IsIPv6(const std::string& strText)
{
    QUrl url;
    url.setHost(QString::fromStdString('[' + strText + ']'), QUrl::StrictMode);
    return strText.find_first_not_of("0123456789abcdefABCDEF:.") == std::string::npos &&
           !url.host().isEmpty();
}

bool IsHost(const std::string& strText)
{
    if (strText.front() == '[') {
        return strText.size() > 2 && strText.find(']') == strText.size() - 1;
    }
    // A colon here means a URL with a scheme, or a mistake.
    return strText.find_first_of(":/?#@[] \t") == std::string::npos;
}

/// Reads a URL of a server, perhaps with a path.
ServerAddress ParseServerUrl(const std::string& strText)
{
    constexpr int HTTP_PORT = 80;
    constexpr int HTTPS_PORT = 443;
    const QUrl url(QString::fromStdString(strText), QUrl::StrictMode);
    const bool bTls = url.scheme() == "https";
    if (!url.isValid() || url.host().isEmpty() || (!bTls && url.scheme() != "http")) {
        throw std::invalid_argument("'" + strText +
                                    "' is no URL of a server: write http://HOST:PORT or https://HOST:PORT");
    }
    if (!url.userInfo().isEmpty() || url.hasQuery() || url.hasFragment()) {
        throw std::invalid_argument("a URL of a server has no user name, no query and no fragment");
    }
    const QString strHost = url.host();
    ServerAddress server;
    server.strIp = strHost.contains(':') ? '[' + strHost + ']' : strHost;
    server.nPort = url.port(bTls ? HTTPS_PORT : HTTP_PORT);
    server.optTls = bTls;
    server.strPath = url.path(QUrl::FullyEncoded).mid(1);
    return server;
}

} // namespace

std::string BaseUrl(const ServerAddress& server, bool bTls)
{
    QString strPath = server.strPath;
    if (!strPath.isEmpty() && !strPath.endsWith('/')) {
        strPath += '/';
    }
    return (server.optTls.value_or(bTls) ? "https://" : "http://") + server.strIp.toStdString() + ":" +
           std::to_string(server.nPort) + "/" + strPath.toStdString();
}

ServerAddress ParseServerAddress(const std::string& strText)
{
    if (strText.find("://") != std::string::npos) {
        return ParseServerUrl(strText);
    }
    const auto nColon = strText.rfind(':');
    if (nColon == std::string::npos || nColon == 0) {
        throw std::invalid_argument("'" + strText + "' is not HOST:PORT");
    }
    std::string strHost = strText.substr(0, nColon);
    if (IsIPv6(strText)) { // its end may look like a port
        throw std::invalid_argument("'" + strText + "' is an IPv6 address without a port" +
                                    (IsIPv6(strHost)
                                         ? "; if its end is the port, put the address in brackets: [" +
                                               strHost + "]" + strText.substr(nColon)
                                         : ": write [" + strText + "]:PORT"));
    }
    if (IsIPv6(strHost)) {
        strHost = '[' + strHost + ']';
    }
    if (!IsHost(strHost)) {
        throw std::invalid_argument("'" + strHost +
                                    "' is no host: a name or an address, an IPv6 address in brackets");
    }
    ServerAddress server;
    server.strIp = QString::fromStdString(strHost);
    server.nPort = ParsePort(strText.substr(nColon + 1));
    return server;
}
