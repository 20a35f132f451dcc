#pragma once

#include "net/ExchangeEnd.h"

#include <QEventLoop>
#include <QString>

/// How the exchange of one call ended.
struct CallEnd {
    quint64 nCall = 0; ///< the call's number; 0 for none
    ExchangeEnd exchange;
};

/// What a blocking sender and its reply share, one record a request type. It is not reset before a request,
/// so after a time-out it tells of the reply before; only a strict call (`CUIAgentReq::SetStrictWaits`)
/// clears it.
struct SyncWait {
    QEventLoop loop; ///< in which the sender waits
    bool bSucc = false;
    QString strResult;  ///< channel check: the "allowBoot" text
    QString strReason;  ///< channel check: the "reason" text
    bool bFlag = false; ///< whether in common: the "common" value
    int nCode = 404;
    QString strMessage;

    // What tells an answer to the call that waits from all others.
    bool bWaiting = false;
    quint64 nCalls = 0;       ///< made so far; the number of the latest
    quint64 nReplies = 0;     ///< recorded so far
    CallEnd lastReply;        ///< the one recorded last
    CallEnd noAnswer;         ///< the last that came but is not recorded, since it is no answer
    quint64 nStrictCall = 0;  ///< the strict call that waits for its reply; 0 for none
    quint64 nDroppedUpTo = 0; ///< replies to this call and those before it are dropped

    /// Forgets what the reply before brought.
    void Clear()
    {
        bSucc = false;
        strResult.clear();
        strReason.clear();
        bFlag = false;
        nCode = 404;
        strMessage.clear();
    }
};
