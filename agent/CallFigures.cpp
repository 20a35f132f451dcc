#include "CallFigures.h"

#include "CallStory.h"

#include "net/ExchangeEnd.h"
#include "platform/metrics/Recorder.h"
#include "platform/metrics/Servers.h"

#include <QNetworkReply>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <new>
#include <string>

namespace
{

struct NetworkFailure {
    QNetworkReply::NetworkError eError;
    EKtsFailure eFailure;
};

constexpr NetworkFailure NETWORK_FAILURES[] = {
    {QNetworkReply::ConnectionRefusedError, EKtsFailure::NotConnected},
    {QNetworkReply::RemoteHostClosedError, EKtsFailure::ConnectionLost},
    {QNetworkReply::HostNotFoundError, EKtsFailure::NameNotFound},
    {QNetworkReply::TimeoutError, EKtsFailure::TimedOut},
    {QNetworkReply::OperationCanceledError, EKtsFailure::Cancelled},
    {QNetworkReply::SslHandshakeFailedError, EKtsFailure::TlsFailed},
    {QNetworkReply::TemporaryNetworkFailureError, EKtsFailure::ConnectionLost},
    {QNetworkReply::NetworkSessionFailedError, EKtsFailure::ConnectionLost},
    {QNetworkReply::UnknownNetworkError, EKtsFailure::NotConnected}, // no route, for example
    {QNetworkReply::ProxyConnectionRefusedError, EKtsFailure::NotConnected},
    {QNetworkReply::ProxyConnectionClosedError, EKtsFailure::ConnectionLost},
    {QNetworkReply::ProxyNotFoundError, EKtsFailure::NameNotFound},
    {QNetworkReply::ProxyTimeoutError, EKtsFailure::TimedOut},
    {QNetworkReply::UnknownProxyError, EKtsFailure::NotConnected},
    {QNetworkReply::NoError, EKtsFailure::Unreadable}, // too large, or can't be decompressed
};

EKtsFailure FailureOf(QNetworkReply::NetworkError eError)
{
    const auto* const pRow =
        std::find_if(std::begin(NETWORK_FAILURES), std::end(NETWORK_FAILURES),
                     [eError](const NetworkFailure& row) { return row.eError == eError; });
    return pRow == std::end(NETWORK_FAILURES) ? EKtsFailure::Other : pRow->eFailure;
}

EKtsFailure FailureOf(const FinishedCall& call)
{
    switch (call.outcome.eEnd) {
    case EBlockingEnd::TimedOut:
        return EKtsFailure::TimedOut;
    case EBlockingEnd::Refused:
        return EKtsFailure::NotSent;
    case EBlockingEnd::Unreadable:
        return EKtsFailure::Unreadable;
    case EBlockingEnd::Interrupted:
        return EKtsFailure::Cancelled;
    case EBlockingEnd::Failed:
        if (call.outcome.nHttpStatus >= 400) {
            return EKtsFailure::HttpStatus;
        }
        return call.pEnd == nullptr ? EKtsFailure::Other : FailureOf(call.pEnd->eError);
    default: // the call did not see how its own exchange ended
        return EKtsFailure::Other;
    }
}

/// Where the request went; empty if it was not sent, or if there is no memory for it.
std::string UrlOf(const FinishedCall& call) noexcept
{
    try {
        return call.outcome.strUrl.toStdString();
    } catch (const std::bad_alloc&) {
        return {};
    }
}

/// While no server is lost, this has nothing to do.
void NoteIfReached(const FinishedCall& call) noexcept
{
    if (call.outcome.nHttpStatus != 0 && metrics::AnyLost()) {
        metrics::NoteReached(UrlOf(call));
    }
}

} // namespace

void CountCallBegin(int nType) noexcept
{
    metrics::NoteSent({nType, true});
}

void CountCallEnd(const FinishedCall& call) noexcept
{
    const metrics::Kind kind{call.outcome.nType, true};
    const std::chrono::milliseconds duration(call.outcome.nMilliseconds);
    if (!HasFailed(call)) {
        metrics::NoteSuccess(kind, duration);
        NoteIfReached(call);
        return;
    }
    std::string strWhy;
    try {
        strWhy = WhyItEnded(call);
    } catch (const std::bad_alloc&) { // the figures have no words then
    }
    if (call.outcome.eEnd == EBlockingEnd::Answered) {
        metrics::NoteRefusal(kind, duration, strWhy);
        NoteIfReached(call);
        return;
    }
    const EKtsFailure eFailure = FailureOf(call);
    metrics::NoteFailure(kind, eFailure, duration, strWhy);
    NoteIfReached(call);
    const bool bUnreached = call.outcome.nHttpStatus == 0 && metrics::IsUnreached(eFailure);
    if (const std::string strUrl = bUnreached ? UrlOf(call) : ""; !strUrl.empty()) {
        metrics::NoteUnreached(strUrl, strWhy);
    }
}
