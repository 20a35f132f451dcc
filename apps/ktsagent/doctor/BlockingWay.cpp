#include "BlockingWay.h"

#include <QSslCertificate>
#include <QUrl>

QSslConfiguration TlsOfBlocking(const Context& context)
{
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    if (!context.HasTransportsSettings()) {
        return tls;
    }
    tls.setProtocol(QSsl::TlsV1_2OrLater);
    const std::string strFile = context.CaFile();
    if (!strFile.empty()) {
        tls.setCaCertificates(QSslCertificate::fromPath(QString::fromStdString(strFile), QSsl::Pem,
                                                        QSslCertificate::PatternSyntax::FixedString));
    }
    return tls;
}

void ApplyBlockingWay(const Context& context, QNetworkAccessManager& manager, QNetworkRequest& request)
{
    if (!context.HasTransportsSettings()) {
        return;
    }
    manager.setProxy(context.proxyOfBlocking);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    if (request.url().scheme() == "https") {
        request.setSslConfiguration(TlsOfBlocking(context));
    }
}
