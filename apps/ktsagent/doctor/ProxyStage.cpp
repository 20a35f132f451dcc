#include "Reach.h"
#include "Stages.h"

#include "platform/proxy/CurlProxy.h"

#include <QNetworkProxyFactory>
#include <QNetworkProxyQuery>
#include <QUrl>

namespace
{

/// A proxy, whichever interface uses it.
struct Proxy {
    QString strHost;
    int nPort;
    std::string strShown; ///< for users, without user name and password
    std::string strFrom;  ///< where it is set
};

/// Why no connection to a proxy can be made; empty if one can.
std::string Hindrance(const Proxy& proxy, std::chrono::milliseconds timeout)
{
    const LookUpResult found = LookUp(proxy.strHost, timeout);
    if (found.lstAddresses.isEmpty()) {
        return "its name has no address: " + found.strError;
    }
    std::string strWhy;
    for (const ConnectResult& result : Connect(found.lstAddresses, proxy.nPort, timeout)) {
        if (result.strError.empty()) {
            return "";
        }
        strWhy = result.strError;
    }
    return "no connection to it can be made: " + strWhy;
}

Finding Check(const Proxy& proxy, Interface& interface, std::chrono::milliseconds timeout)
{
    interface.bUsesProxy = true;
    const std::string strUses = std::string("The ") + interface.szName + " uses the proxy " + proxy.strShown +
                                " (" + proxy.strFrom + ")";
    const std::string strWhy = Hindrance(proxy, timeout / 2);
    if (strWhy.empty()) {
        return {Mark::Ok, strUses + ", which accepts connections."};
    }
    interface.bReachesServer = false;
    return {Mark::Failed, strUses + "; " + strWhy + ".",
            "Start or correct the proxy, or name the server in no_proxy."};
}

Finding Direct(const Interface& interface)
{
    return {Mark::Ok, std::string("The ") + interface.szName + " uses no proxy for this server."};
}

/// The proxy of libcurl for the server.
std::optional<CurlProxy> CurlsProxy(const Context& context)
{
    return CurlProxyFor(context.UsesTls() ? "https" : "http", context.Host().toStdString());
}

Proxy Described(const CurlProxy& proxy)
{
    return {QString::fromStdString(proxy.strHost), proxy.nPort, proxy.Shown(),
            "variable " + proxy.strVariable};
}

Finding CheckAsynchronous(Context& context)
{
    const std::optional<CurlProxy> optProxy = CurlsProxy(context);
    return optProxy ? Check(Described(*optProxy), context.asynchronous, context.timeout / 2)
                    : Direct(context.asynchronous);
}

/// What blocking calls use with the transport's settings.
Finding CheckBlockingAsTransport(Context& context)
{
    const std::optional<CurlProxy> optProxy = CurlsProxy(context);
    if (!optProxy) {
        return Direct(context.blocking);
    }
    if (!optProxy->IsKnownToQt()) {
        context.blocking.bReachesServer = false;
        return {Mark::Failed,
                std::string("The ") + context.blocking.szName + " can't use the proxy " + optProxy->Shown() +
                    " (variable " + optProxy->strVariable + "): Qt does not know this kind of proxy.",
                "Name a proxy of HTTP or SOCKS 5, or unset KTSHTTPAGENT_SYNC_SETTINGS."};
    }
    context.proxyOfBlocking = QNetworkProxy(
        optProxy->IsSocks5() ? QNetworkProxy::Socks5Proxy : QNetworkProxy::HttpProxy,
        QString::fromStdString(optProxy->strHost), static_cast<quint16>(optProxy->nPort),
        QString::fromStdString(optProxy->strUser), QString::fromStdString(optProxy->strPassword));
    return Check(Described(*optProxy), context.blocking, context.timeout / 2);
}

Finding CheckBlocking(Context& context)
{
    if (context.HasTransportsSettings()) {
        return CheckBlockingAsTransport(context);
    }
    const QUrl url(QString::fromStdString(context.strBaseUrl));
    const QList<QNetworkProxy> lstProxies =
        QNetworkProxyFactory::proxyForQuery(QNetworkProxyQuery(url)); // as Qt's network access does
    context.proxyOfBlocking = lstProxies.value(0, QNetworkProxy::NoProxy);
    const QNetworkProxy& proxy = context.proxyOfBlocking;
    if (proxy.type() == QNetworkProxy::NoProxy || proxy.type() == QNetworkProxy::DefaultProxy) {
        return Direct(context.blocking);
    }
    return Check({proxy.hostName(), proxy.port(),
                  proxy.hostName().toStdString() + ":" + std::to_string(proxy.port()),
                  "the system's, as Qt finds it"},
                 context.blocking, context.timeout / 2);
}

} // namespace

Findings CheckProxy(Context& context)
{
    Findings vecFindings{CheckAsynchronous(context), CheckBlocking(context)};
    if (context.asynchronous.bUsesProxy != context.blocking.bUsesProxy) {
        vecFindings.push_back(
            {Mark::Warning, "The two interfaces reach the server by different ways.",
             "Set http_proxy, https_proxy and no_proxy in small letters, which both read; or "
             "KTSHTTPAGENT_SYNC_SETTINGS=transport, which gives both the same."});
    }
    return vecFindings;
}
