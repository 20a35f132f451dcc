#include "TransportsProxy.h"

#include "platform/system/Environment.h"

#include <QHostAddress>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <algorithm>
#include <initializer_list>

namespace
{

/// The value of the first variable that is not empty.
QString FirstOf(std::initializer_list<const char*> lstNames)
{
    for (const char* const szName : lstNames) {
        QString strValue = QString::fromStdString(EnvironmentVariable(szName).value_or(""));
        if (!strValue.isEmpty()) {
            return strValue;
        }
    }
    return {};
}

QString WithoutDots(QString strName)
{
    while (strName.startsWith('.')) {
        strName.remove(0, 1);
    }
    while (strName.endsWith('.')) {
        strName.chop(1);
    }
    return strName.toLower();
}

/// Whether an entry of no_proxy names a host: by its name, by a domain that it is in, by its address, or by a
/// network with the length of its prefix.
bool Names(const QString& strEntry, const QString& strHost)
{
    const QHostAddress address(strHost);
    if (!address.isNull()) {
        const auto subnet = QHostAddress::parseSubnet(strEntry);
        return address == QHostAddress(strEntry) ||
               (strEntry.contains('/') && subnet.second >= 0 && address.isInSubnet(subnet));
    }
    const QString strDomain = WithoutDots(strEntry);
    const QString strName = WithoutDots(strHost);
    return !strDomain.isEmpty() && (strName == strDomain || strName.endsWith('.' + strDomain));
}

bool IsExempt(const QString& strHost)
{
    const QString strList = FirstOf({"no_proxy", "NO_PROXY"});
    if (strList == QLatin1String("*")) {
        return true;
    }
    const QStringList lstEntries = QString(strList).replace(' ', ',').split(',', Qt::SkipEmptyParts);
    return std::any_of(lstEntries.begin(), lstEntries.end(),
                       [&](const QString& strEntry) { return Names(strEntry, strHost); });
}

QNetworkProxy ProxyOf(const QString& strValue)
{
    const QUrl proxy(strValue.contains(QLatin1String("://")) ? strValue : "http://" + strValue);
    const bool bSocks = proxy.scheme().startsWith(QLatin1String("socks5"));
    const bool bKnown = bSocks || proxy.scheme() == QLatin1String("http");
    constexpr int LIBCURLS_PORT = 1080;
    QNetworkProxy result(bSocks ? QNetworkProxy::Socks5Proxy : QNetworkProxy::HttpProxy,
                         bKnown ? proxy.host() : QStringLiteral("unsupported-kind-of-proxy.invalid"),
                         static_cast<quint16>(proxy.port(LIBCURLS_PORT)), proxy.userName(), proxy.password());
    if (proxy.scheme() == QLatin1String("socks5")) { // names are looked up here, with "socks5h" by the proxy
        result.setCapabilities(result.capabilities() & ~QNetworkProxy::HostNameLookupCapability);
    }
    return result;
}

} // namespace

QNetworkProxy TransportsProxyFor(const QUrl& url)
{
    if (IsExempt(url.host())) {
        return QNetworkProxy(QNetworkProxy::NoProxy);
    }
    QString strValue = url.scheme() == QLatin1String("https") ? FirstOf({"https_proxy", "HTTPS_PROXY"})
                                                              : FirstOf({"http_proxy"});
    if (strValue.isEmpty()) {
        strValue = FirstOf({"all_proxy", "ALL_PROXY"});
    }
    return strValue.isEmpty() ? QNetworkProxy(QNetworkProxy::NoProxy) : ProxyOf(strValue);
}
