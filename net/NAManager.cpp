#include "NAManager.h"

#include "BlockingSettings.h"
#include "CallTrace.h"
#include "EnvironmentsProxy.h"
#include "ManagerFactory.h"
#include "NetworkUse.h"
#include "ProgressGuard.h"
#include "ReplyBody.h"
#include "TlsErrors.h"

#include "platform/reply/ExchangeLimits.h"
#include "platform/reply/ReplyLimits.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

#include <new>
#include <utility>

namespace
{

/// Takes from a reply's object what the log tells, if there is memory for it.
void NoteForLog(const QJsonObject& object, ExchangeEnd& end)
{
    try {
        for (const char* const szName : {"message", "msg", "reason", "error"}) {
            if (end.strMessage.isEmpty()) {
                end.strMessage = object.value(QLatin1String(szName)).toString();
            }
        }
        end.strCode = object.value(QLatin1String("code")).toString();
    } catch (const std::bad_alloc&) { // then the log tells less
    }
}

/// @param object  gets the body's object
ExchangeEnd ReadBody(const QByteArray& baBody, int nStatus, QJsonObject& object)
{
    using Kind = ExchangeEnd::Kind;
    const std::size_t nMost = ReplyLimitsInForce().nValues;
    if (HoldsMoreValues({baBody.constData(), static_cast<std::size_t>(baBody.size())}, nMost)) {
        return {
            Kind::Unreadable, nStatus,
            QStringLiteral("the body holds more than %1 values (%2)").arg(nMost).arg(REPLY_VALUES_VARIABLE),
            baBody.left(ReplyBody::MOST_SHOWN)};
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(baBody, &error);
    if (error.error != QJsonParseError::NoError) {
        return {
            Kind::Unreadable, nStatus,
            QStringLiteral("the body is not JSON: %1 at byte %2").arg(error.errorString()).arg(error.offset),
            baBody.left(ReplyBody::MOST_SHOWN)};
    }
    const QJsonValue root = document.isObject() ? QJsonValue(document.object()) : document.array().at(0);
    if (!root.isObject()) { // undefined when the array is empty
        return {Kind::NoObject, nStatus,
                QStringLiteral("the body is an array that does not begin with an object"),
                baBody.left(ReplyBody::MOST_SHOWN)};
    }
    object = root.toObject();
    ExchangeEnd end{Kind::Object, nStatus, {}};
    NoteForLog(object, end);
    return end;
}

/// The text as a URL. Qt leaves brackets in path and query as they are, although a URL must not hold them
/// there. They are encoded last: if they were encoded before the parsing, a percent sign that begins no
/// escape would change the meaning of their escapes.
QUrl RequestUrl(const QString& strUrl)
{
    QUrl url(strUrl, QUrl::TolerantMode);
    const auto Encoded = [](QString strPart) { return strPart.replace('[', "%5B").replace(']', "%5D"); };
    if (url.isValid()) {
        url.setPath(Encoded(url.path(QUrl::FullyEncoded)), QUrl::TolerantMode);
        url.setQuery(Encoded(url.query(QUrl::FullyEncoded)), QUrl::TolerantMode);
    }
    return url;
}

} // namespace

NAManager::NAManager(QObject* parent) : QNetworkAccessManager(parent)
{
    AvoidEnvironmentsProxy(*this);
    Receive(*this);
}

NAManager::~NAManager() = default;

/// Receives the end of an exchange of that manager.
void NAManager::Receive(QNetworkAccessManager& access)
{
    connect(&access, SIGNAL(finished(QNetworkReply*)), this, SLOT(slot_reply_finished(QNetworkReply*)));
    NoteTlsErrors(access);
}

void NAManager::SendRequest(QString strUrl, QByteArray baBody, int nMethod)
{
    m_nMethod = nMethod;
    if (nMethod != METHOD_POST && nMethod != METHOD_GET) {
        return;
    }
    const NetworkCall call; // an end that begins meanwhile waits until the request is under way
    if (call.IsRefused()) {
        return;
    }
    QNetworkRequest request;
    request.setUrl(RequestUrl(strUrl));
    if (nMethod == METHOD_POST) {
        request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    }
    // Qt would send the same two lines itself, but then also unpack the reply. In a GET they stand where Qt
    // would put them; in a POST, Content-Length follows them instead of preceding them.
    request.setRawHeader("Connection", "Keep-Alive");
    request.setRawHeader("Accept-Encoding", ReplyBody::CODINGS);
    QNetworkAccessManager& access = ManagerFor(*this);
    if (&access != this) {
        Receive(access);
    }
    ApplyBlockingSettings(access, request);
    TraceRequest(*this, request, nMethod == METHOD_POST ? &baBody : nullptr);
    QNetworkReply* const pReply = nMethod == METHOD_POST ? access.post(request, baBody) : access.get(request);
    m_pBody = std::make_unique<ReplyBody>(*pReply, ExchangeLimitsInForce().nMaxReplyBytes);
    connect(pReply, &QNetworkReply::readyRead, this, [this] { m_pBody->Receive(); });
    WatchInFlight(*this);
}

void NAManager::SetEndReceiver(std::function<void(const ExchangeEnd&)> fnReceive)
{
    m_fnEnd = std::move(fnReceive);
}

void NAManager::slot_reply_finished(QNetworkReply* reply)
{
    m_bEnded = true;
    Answer(*reply);
    try {
        reply->deleteLater();
        deleteLater();
    } catch (const std::bad_alloc&) { // both are deleted as WatchInFlight describes
    }
}

/// @param object  gets the reply's object
ExchangeEnd NAManager::Read(QNetworkReply& reply, QJsonObject& object)
{
    const int nStatus = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    try {
        if (m_pBody == nullptr) { // there was no memory for it
            return NoMemoryFor(nStatus);
        }
        if (reply.error() == QNetworkReply::NoError) {
            m_pBody->Receive();
        }
        if (m_bTraced) {
            TraceReply(*this, reply, m_pBody->Bytes());
        }
        if (m_pBody->LacksMemory()) {
            return NoMemoryFor(nStatus);
        }
        if (!m_pBody->Error().isEmpty()) {
            return {ExchangeEnd::Kind::NetworkError, nStatus, m_pBody->Error(), m_pBody->Beginning()};
        }
        if (reply.error() != QNetworkReply::NoError) {
            return {ExchangeEnd::Kind::NetworkError,
                    nStatus,
                    ErrorText(reply),
                    m_pBody->Beginning(),
                    {},
                    {},
                    reply.error()};
        }
        return ReadBody(m_pBody->TakeBytes(), nStatus, object);
    } catch (const std::bad_alloc&) {
        return NoMemoryFor(nStatus);
    }
}

void NAManager::Answer(QNetworkReply& reply)
{
    QJsonObject object;
    const ExchangeEnd end = Read(reply, object);
    if (m_fnEnd) {
        m_fnEnd(end);
    }
    if (end.eKind != ExchangeEnd::Kind::NoObject) {
        Q_EMIT signal_reply_finished(end.eKind == ExchangeEnd::Kind::Object, object);
    }
}

void NAManager::slot_upload_progress(qint64 bytesSent, qint64 bytesTotal)
{
    if (IsProgress(bytesSent, bytesTotal)) {
        Q_EMIT signal_upload_progress(bytesSent, bytesTotal);
    }
}
