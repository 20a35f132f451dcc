#include "BlockingSettings.h"

#include "EnvironmentsProxy.h"
#include "TransportsProxy.h"

#include "platform/system/Environment.h"
#include "platform/system/NeverDestroyed.h"

#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkRequest>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QUrl>

namespace
{

/// The authorities of CHTTPCLIENT_CA_FILE replace all others; a file that can't be read leaves none, so that
/// no certificate is trusted. It is read for each call, as the transport reads it for each connection.
void SetTls(QNetworkRequest& request)
{
    QSslConfiguration tls = request.sslConfiguration();
    tls.setProtocol(QSsl::TlsV1_2OrLater);
    const std::string strFile = EnvironmentVariable("CHTTPCLIENT_CA_FILE").value_or("");
    if (!strFile.empty()) {
        tls.setCaCertificates(QSslCertificate::fromPath(QString::fromStdString(strFile), QSsl::Pem,
                                                        QSslCertificate::PatternSyntax::FixedString));
    }
    request.setSslConfiguration(tls);
}

/// Without user and password.
QString TextOf(const QNetworkProxy& proxy)
{
    const bool bSocks = proxy.type() == QNetworkProxy::Socks5Proxy;
    if (proxy.type() == QNetworkProxy::NoProxy || proxy.hostName().isEmpty()) {
        return {};
    }
    return (bSocks ? "socks5://" : "http://") + proxy.hostName() + ':' + QString::number(proxy.port());
}

/// What the variable says.
struct Choice {
    bool bTransports = false;
    std::string strComplaint;
};

Choice ReadChoice()
{
    const std::string strValue = EnvironmentVariable(SYNC_SETTINGS_VARIABLE).value_or("");
    if (strValue.empty() || strValue == "qt" || strValue == "transport") {
        return {strValue == "transport", {}};
    }
    return {false, std::string(SYNC_SETTINGS_VARIABLE) + " is \"" + strValue +
                       "\", neither \"transport\" nor \"qt\"; blocking calls use Qt's settings"};
}

const Choice& TheChoice()
{
    static const NeverDestroyed<Choice> choice(ReadChoice()); // calls are made until the process has ended
    return *choice;
}

} // namespace

bool HasTransportsSettings()
{
    return TheChoice().bTransports;
}

const std::string& BlockingSettingsComplaint()
{
    return TheChoice().strComplaint;
}

void ApplyBlockingSettings(QNetworkAccessManager& manager, QNetworkRequest& request)
{
    if (!HasTransportsSettings()) {
        return;
    }
    manager.setProxy(TransportsProxyFor(request.url()));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    if (request.url().scheme() == QLatin1String("https")) {
        SetTls(request);
    }
}

QString ProxyOfBlockingCall(const QUrl& url)
{
    if (HasTransportsSettings()) {
        return TextOf(TransportsProxyFor(url));
    }
    if (IsEnvironmentsProxyAvoided()) {
        return {};
    }
    const QList<QNetworkProxy> lstProxies = QNetworkProxyFactory::proxyForQuery(QNetworkProxyQuery(url));
    return lstProxies.isEmpty() ? QString() : TextOf(lstProxies.first());
}
