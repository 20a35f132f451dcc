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

Finding CheckAsynchronous(Context& context)
{
    const std::optional<CurlProxy> optProxy =
        CurlProxyFor(context.UsesTls() ? "https" : "http", context.Host().toStdString());
    if (!optProxy) {
        return Direct(context.asynchronous);
    }
    return Check({QString::fromStdString(optProxy->strHost), optProxy->nPort, optProxy->Shown(),
                  "variable " + optProxy->strVariable},
                 context.asynchronous, context.timeout / 2);
}

Finding CheckBlocking(Context& context)
{
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
             "Set http_proxy, https_proxy and no_proxy in small letters, which both read."});
    }
    return vecFindings;
}
