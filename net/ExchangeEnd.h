#pragma once

#include <QByteArray>
#include <QNetworkReply>
#include <QString>

/// How the exchange of an `NAManager` ended.
struct ExchangeEnd {
    enum class Kind {
        Object,       ///< the body is an object or an array that begins with one
        NetworkError, ///< Qt also reports an HTTP status of 400 or more as one
        Unreadable,   ///< the body is not JSON, holds too many values, or there is no memory for it
        NoObject,     ///< an array that is empty or does not begin with an object; no answer is emitted
    };

    Kind eKind = Kind::NetworkError;
    int nHttpStatus = 0; ///< 0 when no reply came
    QString strError;    ///< why there is no object; empty if there is one

    // For the log and the figures.
    QByteArray baBeginning{}; ///< if there is no object: how the body begins, as far as it came
    QString strMessage{};     ///< the first text of the object's "message", "msg", "reason" or "error"
    QString strCode{};        ///< the text of the object's "code"
    /// Of a network error; none if the body itself was the reason.
    QNetworkReply::NetworkError eError = QNetworkReply::NoError;
};

/// The end of an exchange when there is no memory for its reply. Allocates nothing itself.
inline ExchangeEnd NoMemoryFor(int nHttpStatus)
{
    return {ExchangeEnd::Kind::Unreadable,
            nHttpStatus,
            QStringLiteral("there is no memory to read the reply"),
            {},
            {},
            {},
            QNetworkReply::NoError};
}
