#include "NAManager.h"

#include "NetworkUse.h"
#include "ProgressGuard.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

NAManager::NAManager(QObject* parent) : QNetworkAccessManager(parent)
{
    connect(this, SIGNAL(finished(QNetworkReply*)), this, SLOT(slot_reply_finished(QNetworkReply*)));
}

void NAManager::SendRequest(QString strUrl, QByteArray baBody, int nMethod)
{
    m_nMethod = nMethod;
    QNetworkRequest request;
    request.setUrl(QUrl(strUrl, QUrl::TolerantMode));
    if (nMethod == METHOD_POST) {
        request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
        post(request, baBody);
    } else if (nMethod == METHOD_GET) {
        get(request);
    } else {
        return;
    }
    WatchInFlight(*this);
}

void NAManager::slot_reply_finished(QNetworkReply* reply)
{
    Answer(*reply);
    reply->deleteLater();
    deleteLater();
}

void NAManager::Answer(QNetworkReply& reply)
{
    if (reply.error() != QNetworkReply::NoError) {
        Q_EMIT signal_reply_finished(false, QJsonObject());
        return;
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(reply.readAll(), &error);
    if (error.error != QJsonParseError::NoError) {
        Q_EMIT signal_reply_finished(false, QJsonObject());
    } else if (document.isObject()) {
        Q_EMIT signal_reply_finished(true, document.object());
    } else if (const QJsonValue first = document.array().at(0); first.isObject()) { // undefined when empty
        Q_EMIT signal_reply_finished(true, first.toObject());
    }
}

void NAManager::slot_upload_progress(qint64 bytesSent, qint64 bytesTotal)
{
    if (IsProgress(bytesSent, bytesTotal)) {
        Q_EMIT signal_upload_progress(bytesSent, bytesTotal);
    }
}
