#pragma once

#include <QString>

/// How the exchange of an `NAManager` ended.
struct SExchangeEnd {
    enum class EKind {
        Object,       ///< the body is an object or an array that begins with one
        NetworkError, ///< so Qt calls an HTTP status of 400 or more too
        Unreadable,   ///< the body is not JSON, or holds more values than are read
        NoObject,     ///< an array that is empty or begins with anything but an object; it is never answered
    };

    EKind eKind = EKind::NetworkError;
    int nHttpStatus = 0; ///< 0 when no reply came
    QString strError;    ///< why there is no object; empty where there is one
};
