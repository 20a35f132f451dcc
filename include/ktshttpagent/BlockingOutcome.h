#pragma once

/// @file
/// What became of a blocking call, for whoever may act on the server's own answer only.
/// `CUIAgentReq::LastOutcome` (CUIAgentReq.h, which includes this header) tells it, on the thread of that
/// object. The outcome is a copy, which belongs to who got it.

#include <QString>
#include <QtGlobal>

/// How a blocking call of `CUIAgentReq` ended.
enum class EBlockingEnd {
    NoCall = 0, ///< there was no call yet
    /// The reply to this very call came. What the call returned is the server's answer to it.
    Answered = 1,
    /// The reply to another call of the same kind ended the wait: one that had timed out before, or one that
    /// was made during the wait. What the call returned is the answer to that other call's question. No
    /// strict call ends so.
    OtherAnswer = 2,
    /// No reply came in time. What the call returned is what the reply before had brought; false after a
    /// strict call (`CUIAgentReq::SetStrictWaits`).
    TimedOut = 3,
    /// Another call of the same kind was waiting. The request was sent, but nobody waited for its reply; what
    /// the call returned is what the reply before had brought; false after a strict call.
    Busy = 4,
    /// Nothing was sent: there is no QCoreApplication, the thread is not the object's, or the process is
    /// ending.
    Refused = 5,
    /// The exchange failed: no connection, no complete reply, a reply that is too large or can't be unpacked,
    /// or an HTTP status of 400 or more.
    Failed = 6,
    /// The reply to this very call came, but its body can't be read: it is not JSON, holds too many values,
    /// or there is no memory for it.
    Unreadable = 7,
    /// The end of the application, or of the event loops of its thread, ended the wait.
    Interrupted = 8,
};

/// What became of one blocking call, see `CUIAgentReq::LastOutcome`.
struct SBlockingOutcome {
    EBlockingEnd eEnd = EBlockingEnd::NoCall; ///< how the call ended
    /// The request type id of the call (`VelCSDK::RequestType`): 3109, 3110, 3112 to 3115; 0 for `NoCall`.
    int nType = 0;
    bool bSucc = false;  ///< what the call returned; with `Answered`: whether the server said yes
    int nHttpStatus = 0; ///< of the reply that ended the wait; 0 when none came
    QString strError; ///< why there is no answer to this call, in English; empty for `Answered` and `NoCall`
    QString strUrl;   ///< where the request went, before it was encoded; empty when it was refused
    qint64 nMilliseconds =
        0; ///< from the call to the end of its wait; the pause of a failed report comes on top
};
