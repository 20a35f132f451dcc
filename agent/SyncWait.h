#pragma once

#include <QEventLoop>
#include <QString>

/// What a blocking sender and its reply share, one record a request type. It is not reset before a request,
/// so after a time-out it tells of the reply before.
struct SyncWait {
    QEventLoop loop; ///< in which the sender waits
    bool bSucc = false;
    QString strResult;  ///< channel check: the "allowBoot" text
    QString strReason;  ///< channel check: the "reason" text
    bool bFlag = false; ///< whether in common: the "common" value
    int nCode = 404;
    QString strMessage;
};
