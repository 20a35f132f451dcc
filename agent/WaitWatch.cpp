#include "WaitWatch.h"

#include "SyncWait.h"

#include "net/NAManager.h"

#include <QPointer>

WaitWatch::WaitWatch(SyncWait& wait, int nTimeoutMs, bool bStrict)
    : m_wait(wait),
      m_bStrict(bStrict),
      m_bBusy(wait.bWaiting),
      m_nCall(++wait.nCalls),
      m_nRepliesBefore(wait.nReplies),
      m_nTimeoutMs(nTimeoutMs),
      m_timer(wait.loop, nTimeoutMs)
{
    m_wait.bWaiting = true;
    if (m_bStrict && !m_bBusy) {
        m_wait.Clear();
        m_wait.nStrictCall = m_nCall;
        m_wait.nDroppedUpTo = m_nCall - 1;
    }
}

WaitWatch::~WaitWatch()
{
    m_wait.bWaiting = m_bBusy;
    if (m_wait.nStrictCall == m_nCall) {
        m_wait.nStrictCall = 0;
    }
}

void WaitWatch::Follow(NAManager& manager, const QObject& receiver) const
{
    // The manager may outlive this watch and the wait record. pLoop is null if the record is destroyed.
    // `this` is used only while this call is the waiting strict one, and the watch exists that long.
    manager.SetEndReceiver([this, &manager, &receiver, &wait = m_wait,
                            pLoop = QPointer<QEventLoop>(&m_wait.loop), nCall = m_nCall,
                            bStrict = m_bStrict](const ExchangeEnd& end) {
        if (pLoop == nullptr) {
            return;
        }
        const bool bCounts = wait.nStrictCall != 0 ? wait.nStrictCall == nCall && !m_timer.HasExpired()
                                                   : !bStrict && nCall > wait.nDroppedUpTo;
        if (!bCounts) {
            manager.disconnect(&receiver);
        } else if (end.eKind == ExchangeEnd::Kind::NoObject) {
            wait.noAnswer = {nCall, end};
        } else {
            ++wait.nReplies;
            wait.lastReply = {nCall, end};
        }
    });
}

SBlockingOutcome WaitWatch::Outcome() const
{
    SBlockingOutcome outcome;
    outcome.bSucc = !IsStrictAndBusy() && m_wait.bSucc;
    outcome.nMilliseconds = m_timer.Milliseconds();
    TellEnd(outcome);
    return outcome;
}

// The reply that was recorded last decides, because the call returns its result. If it came during the call,
// it decides even if the time-out had passed or another reply had ended the wait before: a nested call may
// have kept this call from returning.
void WaitWatch::TellEnd(SBlockingOutcome& outcome) const
{
    if (m_bBusy) {
        outcome.eEnd = EBlockingEnd::Busy;
        outcome.strError = QStringLiteral("another call of this kind is waiting");
    } else if (m_wait.nReplies != m_nRepliesBefore) {
        TellReply(outcome);
    } else if (m_timer.HasExpired()) {
        TellTimeout(outcome);
    } else {
        outcome.eEnd = EBlockingEnd::Interrupted;
        outcome.strError = QStringLiteral("the application ended the wait");
    }
}

void WaitWatch::TellReply(SBlockingOutcome& outcome) const
{
    const CallEnd& reply = m_wait.lastReply;
    outcome.nHttpStatus = reply.exchange.nHttpStatus;
    outcome.strError = reply.exchange.strError;
    if (reply.nCall != m_nCall) {
        outcome.eEnd = EBlockingEnd::OtherAnswer;
        outcome.strError = QStringLiteral("the reply to another call of this kind ended the wait") +
                           (outcome.strError.isEmpty() ? QString() : ": " + outcome.strError);
    } else if (reply.exchange.eKind == ExchangeEnd::Kind::Unreadable) {
        outcome.eEnd = EBlockingEnd::Unreadable;
    } else {
        outcome.eEnd =
            reply.exchange.eKind == ExchangeEnd::Kind::Object ? EBlockingEnd::Answered : EBlockingEnd::Failed;
    }
}

void WaitWatch::TellTimeout(SBlockingOutcome& outcome) const
{
    outcome.eEnd = EBlockingEnd::TimedOut;
    outcome.strError = QStringLiteral("no answer came within %1 ms").arg(m_nTimeoutMs);
    if (m_wait.noAnswer.nCall == m_nCall) {
        outcome.nHttpStatus = m_wait.noAnswer.exchange.nHttpStatus;
        outcome.strError += ": " + m_wait.noAnswer.exchange.strError;
    }
}
