#pragma once

#include "ExchangeEnd.h"

#include <QByteArray>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QString>

#include <functional>
#include <memory>

class ReplyBody;
class QNetworkReply;

/// Sends one request, emits one answer, and then deletes itself. Create it with `new`, connect, call
/// `SendRequest` once, and do not use it again. A caller that no longer waits for the answer may delete it
/// while the exchange has not ended: the request is given up, and no signal is emitted.
///
/// A body whose unpacked size exceeds CHTTPCLIENT_MAX_REPLY_BYTES (see ExchangeLimits.h), or that can't be
/// unpacked, ends the exchange as soon as that is detected, like a network error. There is no time limit
/// here.
///
/// Threads: everything happens on the thread that owns it, whose event loop must run until the answer has
/// arrived, and once more to delete the object.
class NAManager : public QNetworkAccessManager
{
    Q_OBJECT

public:
    static constexpr int METHOD_POST = 0;
    static constexpr int METHOD_GET = 1;

    explicit NAManager(QObject* parent);
    ~NAManager() override;

    /// Sends the request. A POST carries the body as "application/json", a GET carries none. With any other
    /// method, and when the process or its QCoreApplication is ending, nothing is sent, no signal is emitted,
    /// and the object remains the caller's.
    /// @param strUrl  is encoded as by `QUrl` in its tolerant mode
    void SendRequest(QString strUrl, QByteArray baBody, int nMethod);

    /// Sets the function that is told how the exchange ended: once, just before the answer, and also when no
    /// answer is emitted.
    void SetEndReceiver(std::function<void(const ExchangeEnd&)> fnReceive);

    /// Leaves what comes from now on out of the trace (CallTrace.h), because the call is over.
    void EndTrace() { m_bTraced = false; }

    /// Whether the exchange has ended. The object may then be handling its reply, and deletes itself.
    bool HasEnded() const { return m_bEnded; }

Q_SIGNALS:
    /// The answer, emitted at most once. `bSucc` is true with the body's object, or with the first element if
    /// the body is an array. It is false with an empty object after a network error (which includes an HTTP
    /// status of 400 or more), and for a body that is not a JSON object or array, holds too many values (see
    /// ReplyLimits.h), or for which there is no memory. For an empty array, or one that does not begin with
    /// an object, no answer is emitted.
    void signal_reply_finished(bool bSucc, QJsonObject object);
    void signal_upload_progress(qint64 bytesSent, qint64 bytesTotal);

private Q_SLOTS:
    void slot_reply_finished(QNetworkReply* reply);
    void slot_upload_progress(qint64 bytesSent, qint64 bytesTotal);

private:
    void Receive(QNetworkAccessManager& access);
    ExchangeEnd Read(QNetworkReply& reply, QJsonObject& object);
    void Answer(QNetworkReply& reply);

    // Nothing reads these three; they stay since the interface names them.
    int m_nMethod = METHOD_POST; ///< of the request sent
    QString m_strReserved;
    qint64 m_nReserved = 0;
    std::function<void(const ExchangeEnd&)> m_fnEnd;
    bool m_bEnded = false;
    bool m_bTraced = true;
    std::unique_ptr<ReplyBody> m_pBody; ///< of the reply, once the request is sent
};
