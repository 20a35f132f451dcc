#include "TransportsProxy.h"

#include "platform/proxy/CurlProxy.h"

#include <QString>
#include <QUrl>

QNetworkProxy TransportsProxyFor(const QUrl& url)
{
    const auto optProxy = CurlProxyFor(url.scheme().toStdString(), url.host().toStdString());
    if (!optProxy) {
        return QNetworkProxy(QNetworkProxy::NoProxy);
    }
    const std::string strHost = optProxy->IsKnownToQt() ? optProxy->strHost : NO_PROXY_OF_QT;
    QNetworkProxy proxy(optProxy->IsSocks5() ? QNetworkProxy::Socks5Proxy : QNetworkProxy::HttpProxy,
                        QString::fromStdString(strHost), static_cast<quint16>(optProxy->nPort),
                        QString::fromStdString(optProxy->strUser),
                        QString::fromStdString(optProxy->strPassword));
    if (optProxy->strScheme == "socks5") { // names are looked up here, with "socks5h" by the proxy
        proxy.setCapabilities(proxy.capabilities() & ~QNetworkProxy::HostNameLookupCapability);
    }
    return proxy;
}
