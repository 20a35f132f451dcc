#include "CallStory.h"

#include "net/BlockingSettings.h"
#include "net/CallTrace.h"
#include "net/ExchangeEnd.h"
#include "net/NetworkUse.h"
#include "platform/system/LogLevel.h"
#include "platform/text/Escaping.h"
#include "platform/text/LogWords.h"

#include <ktshttpagent/RequestType.h>
#include <ktshttpagent/clog.h>

#include <QUrl>

#include <new>
#include <string_view>

namespace
{

/// Whether the code in the answer to battery data is one that servers use for a success.
bool IsYes(const QString& strCode)
{
    return strCode == QLatin1String("200") ||
           strCode.compare(QLatin1String("success"), Qt::CaseInsensitive) == 0;
}

/// Qt's words for a failure hold the URL, in which a password may stand decoded or encoded.
std::string WithoutPasswordOf(const QUrl& url, QString strText)
{
    for (const auto eForm : {QUrl::PrettyDecoded, QUrl::FullyEncoded, QUrl::FullyDecoded}) {
        const QString strPassword = url.password(eForm);
        if (!strPassword.isEmpty()) {
            strText.replace(':' + strPassword + '@', QLatin1String(":***@"));
        }
    }
    return EscapeUnsafe(WithoutPasswords(strText.toStdString()));
}

std::string Why(const FinishedCall& call, const QUrl& url)
{
    std::string strError = WithoutPasswordOf(url, call.outcome.strError);
    if (call.outcome.eEnd == EBlockingEnd::TimedOut) {
        return "timed out: " + strError;
    }
    if (call.outcome.eEnd != EBlockingEnd::Answered) {
        return strError;
    }
    if (!HasFailed(call)) {
        return "the server said yes";
    }
    const std::string strMessage =
        call.pEnd == nullptr ? "" : BeginningOf(call.pEnd->strMessage.toStdString(), call.strReport);
    return "the server refused it" + (strMessage.empty() ? "" : ": " + strMessage);
}

std::string Peer(const QUrl& url)
{
    const int nUsual = url.scheme() == QLatin1String("https") ? 443 : 80;
    const QString strHost = url.host().contains(':') ? '[' + url.host() + ']' : url.host();
    return EscapeUnsafe((strHost + ':' + QString::number(url.port(nUsual))).toStdString());
}

std::string Proxy(const QUrl& url)
{
    if (HasNetworkUseEnded()) { // then Qt must not be asked
        return "proxy unknown";
    }
    const QString strProxy = ProxyOfBlockingCall(url);
    return strProxy.isEmpty() ? "no proxy" : "proxy " + EscapeUnsafe(strProxy.toStdString());
}

std::string StoryOf(const FinishedCall& call)
{
    const std::string strUrl = call.outcome.strUrl.toStdString();
    const QUrl url(call.outcome.strUrl, QUrl::TolerantMode);
    std::string strStory = (call.bPost ? "POST " : "GET ") + EscapeUnsafe(WithoutPassword(strUrl)) +
                           ", type " + std::to_string(call.outcome.nType) + ": " + Why(call, url) +
                           "; server " + Peer(url) + ", " + Proxy(url) + ", ";
    strStory += call.outcome.nHttpStatus == 0 ? "no HTTP status"
                                              : "HTTP status " + std::to_string(call.outcome.nHttpStatus);
    strStory += "; ms: whole " + std::to_string(call.outcome.nMilliseconds);
    if (call.pEnd != nullptr) {
        const QByteArray& baBody = call.pEnd->baBeginning;
        const std::string strBody =
            BeginningOf({baBody.constData(), static_cast<std::size_t>(baBody.size())}, call.strReport);
        strStory += strBody.empty() ? "" : "; the body begins " + strBody;
    }
    return strStory;
}

} // namespace

bool HasFailed(const FinishedCall& call)
{
    if (call.outcome.eEnd != EBlockingEnd::Answered) {
        return true;
    }
    if (call.outcome.nType == VelCSDK::RequestType::PostUploadData) {
        return call.pEnd == nullptr || !IsYes(call.pEnd->strCode);
    }
    return !call.outcome.bSucc;
}

std::string WhyItEnded(const FinishedCall& call)
{
    return Why(call, QUrl(call.outcome.strUrl, QUrl::TolerantMode));
}

void TraceCallEnd(const FinishedCall& call, const void* pExchange) noexcept
{
    const CallTrace fnTrace = CallTraceInForce();
    if (fnTrace == nullptr) {
        return;
    }
    std::string strStory;
    try {
        strStory = StoryOf(call);
    } catch (const std::bad_alloc&) { // then the end has no words
    }
    fnTrace(CallPart::End, strStory, pExchange);
}

void LogCall(const FinishedCall& call) noexcept
{
    try {
        static const int nMostLevel = LogLevelOfEnvironment();
        const bool bFailed = HasFailed(call);
        const int nLevel = bFailed ? LOG_CAUSES : LOG_EXCHANGES;
        if (nLevel <= nMostLevel) {
            Log_Write(nLevel, "CUIAgentReq::Exchange", 2, "%s: %s", bFailed ? "failed" : "succeeded",
                      StoryOf(call).c_str());
        }
    } catch (...) { // not enough memory for the line, or the log threw: the call returns all the same
    }
}
