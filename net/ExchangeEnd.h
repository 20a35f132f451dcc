#pragma once

#include <QString>

/// How the exchange of an `NAManager` ended.
struct SExchangeEnd {
    enum class EKind {
        Object,       ///< the body is an object or an array that begins with one
        NetworkError, ///< Qt also reports an HTTP status of 400 or more as one
        Unreadable,   ///< the body is not JSON, holds too many values, or there is no memory for it
        NoObject,     ///< an array that is empty or does not begin with an object; no answer is emitted
    };

    EKind eKind = EKind::NetworkError;
    int nHttpStatus = 0; ///< 0 when no reply came
    QString strError;    ///< why there is no object; empty if there is one
};

/// The end of an exchange when there is no memory for its reply. Allocates nothing itself.
inline SExchangeEnd NoMemoryFor(int nHttpStatus)
{
    return {SExchangeEnd::EKind::Unreadable, nHttpStatus,
            QStringLiteral("there is no memory to read the reply")};
}
