#pragma once

#include <QString>

/// How the exchange of an `NAManager` ended.
struct SExchangeEnd {
    enum class EKind {
        Object,       ///< the body is an object or an array that begins with one
        NetworkError, ///< so Qt calls an HTTP status of 400 or more too
        Unreadable,   ///< the body is not JSON, holds more values than are read, or there is no memory for it
        NoObject,     ///< an array that is empty or begins with anything but an object; it is never answered
    };

    EKind eKind = EKind::NetworkError;
    int nHttpStatus = 0; ///< 0 when no reply came
    QString strError;    ///< why there is no object; empty where there is one
};

/// The end of an exchange for whose reply there is no memory. It needs none itself.
inline SExchangeEnd NoMemoryFor(int nHttpStatus)
{
    return {SExchangeEnd::EKind::Unreadable, nHttpStatus,
            QStringLiteral("there is no memory to read the reply")};
}
