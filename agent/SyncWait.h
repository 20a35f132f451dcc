#pragma once

#include "net/ExchangeEnd.h"

#include <QEventLoop>
#include <QString>

/// How the exchange of one call ended.
struct CallEnd {
    quint64 nCall = 0; ///< the call's number; 0 for none
    ExchangeEnd exchange;
};

/// The wait record: what a blocking sender and its reply slot share, one for each request type. It is not
/// reset before a request, so after a time-out it holds the result of the previous reply; only a strict call
/// (`CUIAgentReq::SetStrictWaits`) clears it.
struct SyncWait {
    QEventLoop loop; ///< in which the sender waits
    bool bSucc = false;
    QString strResult;  ///< channel check: the "allowBoot" text
    QString strReason;  ///< channel check: the "reason" text
    bool bFlag = false; ///< whether in common: the "common" value
    int nCode = 404;
    QString strMessage;

    // Distinguishes the answer to the waiting call from all others.
    bool bWaiting = false;
    quint64 nCalls = 0;       ///< calls made so far; also the number of the latest call
    quint64 nReplies = 0;     ///< replies recorded so far
    CallEnd lastReply;        ///< the reply recorded last
    CallEnd noAnswer;         ///< the last reply that is not recorded because it answers nothing
    quint64 nStrictCall = 0;  ///< the strict call that waits for its reply; 0 for none
    quint64 nDroppedUpTo = 0; ///< replies to this call and to earlier ones are ignored

    /// Forgets the result of the previous reply.
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
