#include "CurlProxy.h"

#include <QByteArray>
#include <QHostAddress>
#include <QString>
#include <QUrl>

#include <initializer_list>
#include <utility>

namespace
{

constexpr int DEFAULT_PROXY_PORT = 1080; // libcurl's

/// The first of the variables that is set and not empty, with its value.
std::optional<std::pair<std::string, std::string>> FirstSet(std::initializer_list<const char*> lstNames)
{
    for (const char* szName : lstNames) {
        const QByteArray baValue = qgetenv(szName);
        if (!baValue.isEmpty()) {
            return std::pair<std::string, std::string>(szName, baValue.toStdString());
        }
    }
    return std::nullopt;
}

QString WithoutDots(QString strName)
{
    if (strName.startsWith('.')) {
        strName.remove(0, 1);
    }
    if (strName.endsWith('.')) {
        strName.chop(1);
    }
    return strName.remove('[').remove(']').toLower();
}

bool IsNamedBy(const QString& strEntry, const QString& strHost)
{
    const QHostAddress address(strHost);
    if (!address.isNull()) {
        const bool bSubnet = strEntry.contains('/');
        return bSubnet ? address.isInSubnet(QHostAddress::parseSubnet(strEntry))
                       : address == QHostAddress(WithoutDots(strEntry));
    }
    const QString strName = WithoutDots(strEntry);
    return !strName.isEmpty() && (strHost == strName || strHost.endsWith('.' + strName));
}

} // namespace

bool IsInNoProxy(const std::string& strList, const std::string& strHost)
{
    const QString strAll = QString::fromStdString(strList);
    if (strAll == "*") {
        return true;
    }
    const QString strName = WithoutDots(QString::fromStdString(strHost));
    for (const QString& strPart : strAll.split(',')) {
        for (const QString& strEntry : strPart.split(' ', Qt::SkipEmptyParts)) {
            if (IsNamedBy(strEntry, strName)) {
                return true;
            }
        }
    }
    return false;
}

std::optional<CurlProxy> CurlProxyFor(const std::string& strScheme, const std::string& strHost)
{
    const auto optNone = FirstSet({"no_proxy", "NO_PROXY"});
    if (optNone && IsInNoProxy(optNone->second, strHost)) {
        return std::nullopt;
    }
    // A web server passes a request's header "Proxy" to its programs as HTTP_PROXY, so libcurl ignores that.
    auto optProxy = strScheme == "http" ? FirstSet({"http_proxy"}) : FirstSet({"https_proxy", "HTTPS_PROXY"});
    if (!optProxy) {
        optProxy = FirstSet({"all_proxy", "ALL_PROXY"});
    }
    if (!optProxy) {
        return std::nullopt;
    }
    const auto& [strVariable, strValue] = *optProxy;
    const QString strText = QString::fromStdString(strValue);
    const QUrl url(strText.contains("://") ? strText : "http://" + strText, QUrl::TolerantMode);
    const int nDefault = url.scheme() == "https" ? 443 : DEFAULT_PROXY_PORT;
    return CurlProxy{strVariable, url.host().toStdString(), url.port(nDefault),
                     url.scheme().toStdString() + "://" + url.host().toStdString() + ":" +
                         std::to_string(url.port(nDefault))};
}
