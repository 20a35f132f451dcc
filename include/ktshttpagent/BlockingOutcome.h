#pragma once

/// @file
/// How a blocking call ended. A host needs this if it must act only on the server's answer to that very call.
/// `CUIAgentReq::LastOutcome` returns it, on the thread of that object; CUIAgentReq.h includes this header.
/// The outcome is a copy, which belongs to the caller.

#include <QString>
#include <QtGlobal>

/// How a blocking call of `CUIAgentReq` ended.
enum class EBlockingEnd {
    NoCall = 0, ///< there was no call yet
    /// The reply to this very call came. What the call returned is the server's answer to it.
    Answered = 1,
    /// The reply to another call of the same kind ended the wait: one that had timed out before, or one that
    /// was made during the wait. What the call returned is the answer to that other call's question. A strict
    /// call never ends so.
    OtherAnswer = 2,
    /// No reply came in time. The call returned the result of the previous reply, or false if the call was
    /// strict (`CUIAgentReq::SetStrictWaits`).
    TimedOut = 3,
    /// Another call of the same kind was already waiting. The request was sent, but this call did not wait
    /// for its reply. It returned the result of the previous reply, or false if the call was strict.
    Busy = 4,
    /// Nothing was sent: there is no QCoreApplication, the call came from another thread than the object's,
    /// or the process is ending.
    Refused = 5,
    /// The exchange failed: no connection, no complete reply, a reply that is too large or can't be
    /// decompressed, or an HTTP status of 400 or more.
    Failed = 6,
    /// The reply to this very call came, but its body can't be read: it is not JSON, holds too many values,
    /// or there is not enough memory for it.
    Unreadable = 7,
    /// The wait ended because the application or the event loops of its thread ended.
    Interrupted = 8,
};

/// How one blocking call ended, see `CUIAgentReq::LastOutcome`.
struct SBlockingOutcome {
    EBlockingEnd eEnd = EBlockingEnd::NoCall; ///< how the call ended
    /// The request type id of the call (`VelCSDK::RequestType`): 3109, 3110, 3112 to 3115; 0 for `NoCall`.
    int nType = 0;
    bool bSucc = false;  ///< what the call returned; with `Answered`: whether the server said yes
    int nHttpStatus = 0; ///< of the reply that ended the wait; 0 if none came
    QString strError; ///< why there is no answer to this call, in English; empty for `Answered` and `NoCall`
    QString strUrl;   ///< where the request went, before encoding; empty if the call was refused
    qint64 nMilliseconds =
        0; ///< from the call to the end of its wait, without the pause after a failed report
};
