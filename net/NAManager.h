#pragma once

#include "ExchangeEnd.h"

#include <QByteArray>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QString>

#include <functional>

class QNetworkReply;

/// One request, one answer, and then it deletes itself. Make it with `new`, connect, call `SendRequest` once,
/// and neither delete nor use it again.
///
/// Threads: everything happens on the thread that owns it, whose event loop must run until the answer is
/// there, and once more to delete it.
class NAManager : public QNetworkAccessManager
{
    Q_OBJECT

public:
    static constexpr int METHOD_POST = 0;
    static constexpr int METHOD_GET = 1;

    explicit NAManager(QObject* parent);

    /// Sends. A POST carries the body as "application/json", a GET carries none. With any other method
    /// nothing is sent, no signal ever comes, and the object stays the caller's.
    /// @param strUrl  is encoded as a tolerant `QUrl` does
    void SendRequest(QString strUrl, QByteArray baBody, int nMethod);

    /// Sets who is told how the exchange ended: once, just before the answer, and also where no answer comes.
    void SetEndReceiver(std::function<void(const SExchangeEnd&)> fnReceive);

Q_SIGNALS:
    /// The answer, at most one: `bSucc` with the object that the body is, or the first element of the array
    /// that it is; false with an empty object after a network error (an HTTP status of 400 or more is one)
    /// and for a body that is no JSON object or array, or holds too many values (see ReplyLimits.h).
    /// An empty array, or one that begins with anything but an object, is never answered.
    void signal_reply_finished(bool bSucc, QJsonObject object);
    void signal_upload_progress(qint64 bytesSent, qint64 bytesTotal);

private Q_SLOTS:
    void slot_reply_finished(QNetworkReply* reply);
    void slot_upload_progress(qint64 bytesSent, qint64 bytesTotal);

private:
    void Answer(QNetworkReply& reply);

    int m_nMethod = METHOD_POST; ///< of the request sent
    QString m_strReserved;       ///< unused
    qint64 m_nReserved = 0;      ///< unused
    std::function<void(const SExchangeEnd&)> m_fnEnd;
};
