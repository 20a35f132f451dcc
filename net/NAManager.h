#pragma once

#include "ExchangeEnd.h"

#include <QByteArray>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QString>

#include <functional>
#include <memory>

class CReplyBody;
class QNetworkReply;

/// One request, one answer, and then it deletes itself. Make it with `new`, connect, call `SendRequest` once,
/// and do not use it again. Who no longer waits for the answer may delete it while the exchange has not
/// ended: the request is given up, and nobody is told.
///
/// A body that is larger, unpacked, than CHTTPCLIENT_MAX_REPLY_BYTES (see ExchangeLimits.h), or that can't be
/// unpacked, ends the exchange as soon as that is seen, like a network error. No time is limited here.
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
    ~NAManager() override;

    /// Sends. A POST carries the body as "application/json", a GET carries none. With any other method, and
    /// when the process or its QCoreApplication is ending, nothing is sent, no signal ever comes, and the
    /// object stays the caller's.
    /// @param strUrl  is encoded as a tolerant `QUrl` does
    void SendRequest(QString strUrl, QByteArray baBody, int nMethod);

    /// Sets who is told how the exchange ended: once, just before the answer, and also where no answer comes.
    void SetEndReceiver(std::function<void(const SExchangeEnd&)> fnReceive);

    /// Whether the exchange has ended. Then it may be handling its reply, and deletes itself.
    bool HasEnded() const { return m_bEnded; }

Q_SIGNALS:
    /// The answer, at most one: `bSucc` with the object that the body is, or the first element of the array
    /// that it is; false with an empty object after a network error (an HTTP status of 400 or more is one)
    /// and for a body that is no JSON object or array, or holds too many values (see ReplyLimits.h), or for
    /// which there is no memory.
    /// An empty array, or one that begins with anything but an object, is never answered.
    void signal_reply_finished(bool bSucc, QJsonObject object);
    void signal_upload_progress(qint64 bytesSent, qint64 bytesTotal);

private Q_SLOTS:
    void slot_reply_finished(QNetworkReply* reply);
    void slot_upload_progress(qint64 bytesSent, qint64 bytesTotal);

private:
    SExchangeEnd Read(QNetworkReply& reply, QJsonObject& object);
    void Answer(QNetworkReply& reply);

    int m_nMethod = METHOD_POST; ///< of the request sent
    QString m_strReserved;       ///< unused
    qint64 m_nReserved = 0;      ///< unused
    std::function<void(const SExchangeEnd&)> m_fnEnd;
    bool m_bEnded = false;
    std::unique_ptr<CReplyBody> m_pBody; ///< of the reply, once the request is sent
};
