#include "CallTrace.h"

#include "BlockingSettings.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslCertificate>
#include <QSslCipher>
#include <QSslConfiguration>
#include <QUrl>

#include <atomic>
#include <new>

namespace
{

std::atomic<CallTrace> g_fnTrace = nullptr;

std::string_view View(const QByteArray& baBytes)
{
    return {baBytes.constData(), static_cast<std::size_t>(baBytes.size())};
}

QByteArray WayTo(const QUrl& url)
{
    const QString strProxy = ProxyOfBlockingCall(url);
    return (strProxy.isEmpty() ? QStringLiteral("no proxy") : "proxy " + strProxy).toUtf8();
}

QByteArray HeadOf(const QNetworkRequest& request, bool bPost)
{
    QByteArray baHead = bPost ? "POST " : "GET ";
    baHead += request.url().toEncoded(QUrl::RemoveUserInfo | QUrl::RemoveFragment) + "\r\n";
    for (const QByteArray& baName : request.rawHeaderList()) {
        baHead += baName + ": " + request.rawHeader(baName) + "\r\n";
    }
    return baHead + "\r\n";
}

QByteArray HeadOf(const QNetworkReply& reply)
{
    QByteArray baHead = "HTTP " + reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toByteArray() +
                        ' ' + reply.attribute(QNetworkRequest::HttpReasonPhraseAttribute).toByteArray() +
                        "\r\n";
    for (const QNetworkReply::RawHeaderPair& header : reply.rawHeaderPairs()) {
        baHead += header.first + ": " + header.second + "\r\n";
    }
    return baHead + "\r\n";
}

/// Empty if no TLS connection was made.
QByteArray TlsOf(const QNetworkReply& reply)
{
    const QSslConfiguration tls = reply.sslConfiguration();
    if (tls.sessionCipher().isNull()) {
        return {};
    }
    const QSslCertificate certificate = tls.peerCertificate();
    return ("TLS: " + tls.sessionCipher().protocolString() + ", " + tls.sessionCipher().name() +
            "; certificate of \"" + certificate.subjectDisplayName() + "\", signed by \"" +
            certificate.issuerDisplayName() + "\", until " +
            certificate.expiryDate().toUTC().toString(Qt::ISODate))
        .toUtf8();
}

} // namespace

void SetCallTrace(CallTrace fnTrace) noexcept
{
    g_fnTrace = fnTrace;
}

CallTrace CallTraceInForce() noexcept
{
    return g_fnTrace.load(std::memory_order_relaxed);
}

void TraceRequest(const QNetworkAccessManager& manager, const QNetworkRequest& request,
                  const QByteArray* pBody) noexcept
{
    const CallTrace fnTrace = CallTraceInForce();
    if (fnTrace == nullptr) {
        return;
    }
    try {
        fnTrace(CallPart::Remark,
                "Qt does not tell the bytes on the wire: this is the request as it was handed to Qt, which "
                "adds Host, User-Agent, Accept-Language and Content-Length, and the reply as Qt reports it",
                &manager);
        fnTrace(CallPart::Remark, View(WayTo(request.url())), &manager);
        fnTrace(CallPart::RequestHeader, View(HeadOf(request, pBody != nullptr)), &manager);
        if (pBody != nullptr) {
            fnTrace(CallPart::RequestBody, View(*pBody), &manager);
        }
    } catch (const std::bad_alloc&) { // then it is not shown
    }
}

void TraceReply(const QNetworkAccessManager& manager, const QNetworkReply& reply,
                const QByteArray& baBody) noexcept
{
    const CallTrace fnTrace = CallTraceInForce();
    if (fnTrace == nullptr) {
        return;
    }
    try {
        fnTrace(CallPart::Remark, View(TlsOf(reply)), &manager);
        if (reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid()) {
            fnTrace(CallPart::ReplyHeader, View(HeadOf(reply)), &manager);
        }
        fnTrace(CallPart::ReplyBody, View(baBody), &manager);
    } catch (const std::bad_alloc&) { // then it is not shown
    }
}
