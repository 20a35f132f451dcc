#include "ReplyCause.h"

#include "platform/metrics/Recorder.h"
#include "platform/metrics/Servers.h"
#include "platform/system/LogLevel.h"
#include "platform/system/OptionalFunction.h"
#include "platform/text/Escaping.h"
#include "platform/text/LogWords.h"

#include <ktshttpagent/chttpclient.h>
#include <ktshttpagent/clog.h>

#include <chrono>
#include <utility>

namespace VelCSDK
{
namespace
{

using StoryFunction = decltype(&CHttpClientExchangeStory);

// A plain pointer, which needs no destructor at the end of the thread.
thread_local ReplyInHand* t_pInnermost = nullptr;

/// A function of the transport that a site's own one may lack; null then.
template <class Function>
Function Find(const char* szName) noexcept
{
    return reinterpret_cast<Function>(FindOptionalFunction("chttpclient", szName));
}

StoryFunction FindStory() noexcept
{
    static const auto fnStory = Find<StoryFunction>("CHttpClientExchangeStory");
    return fnStory;
}

/// The transport's story of the exchange; null if it has none.
const char* Story()
{
    const StoryFunction fnStory = FindStory();
    return fnStory != nullptr ? fnStory() : nullptr;
}

/// What this side knows about the request.
std::string OwnStory(int nType, std::string_view strUrl, int nHttpError)
{
    return (strUrl.empty() ? "a request" : EscapeUnsafe(WithoutPassword(strUrl))) + ", type " +
           std::to_string(nType) + ", outcome " + std::to_string(nHttpError);
}

/// Why a reply counts as a failure, in the words of the log.
std::string StoryOfReply(const ReplyInHand& reply, int nType, std::string_view strUrl,
                         std::string_view strWhy, std::string_view strSaid)
{
    const char* const szStory = Story();
    if (reply.HttpError() != 0 && szStory != nullptr) {
        return szStory;
    }
    const std::string strStory = szStory != nullptr ? szStory : OwnStory(nType, strUrl, reply.HttpError());
    const bool bSafe = szStory != nullptr && reply.Body().size() <= CHECKED_BYTES &&
                       strStory.find(REPEATS_REPORT) == std::string::npos;
    const std::string strWords = bSafe && !strSaid.empty() ? ": " + BeginningOf(strSaid, {}) : "";
    return std::string(strWhy) + strWords + ": " + strStory;
}

/// The URL as the transport tells it, or else the one given.
std::string_view UrlOr(std::string_view strUrl) noexcept
{
    static const auto fnUrl = Find<decltype(&CHttpClientExchangeUrl)>("CHttpClientExchangeUrl");
    const char* const szUrl = fnUrl != nullptr ? fnUrl() : nullptr;
    return szUrl != nullptr ? szUrl : strUrl;
}

auto FindTime() noexcept
{
    static const auto fnTime =
        Find<decltype(&CHttpClientExchangeMicroseconds)>("CHttpClientExchangeMicroseconds");
    return fnTime;
}

/// How long the exchange took; less than nothing if the transport does not tell.
metrics::Duration ExchangeDuration() noexcept
{
    const auto fnTime = FindTime();
    return std::chrono::microseconds(fnTime != nullptr ? fnTime() : -1);
}

void CountFault(int nType, std::string_view strUrl, ReplyFault fault, const std::string& strWhy) noexcept
{
    const metrics::Kind kind{nType, false};
    if (fault) {
        metrics::NoteFailure(kind, *fault, ExchangeDuration(), strWhy);
    } else {
        metrics::NoteRefusal(kind, ExchangeDuration(), strWhy);
    }
    const std::string_view strWhere = UrlOr(strUrl);
    if (fault && metrics::IsUnreached(*fault)) {
        metrics::NoteUnreached(strWhere, strWhy);
    } else if (!fault || *fault == EKtsFailure::HttpStatus || *fault == EKtsFailure::Unreadable) {
        metrics::NoteReached(strWhere);
    }
}

} // namespace

ReplyInHand::ReplyInHand(const std::string& body, int nHttpError) noexcept
    : m_body(body), m_nHttpError(nHttpError), m_pOuter(std::exchange(t_pInnermost, this))
{
}

ReplyInHand::~ReplyInHand()
{
    t_pInnermost = m_pOuter;
}

const ReplyInHand* ReplyInHand::TakeUncounted() noexcept
{
    const bool bUncounted = t_pInnermost != nullptr && !std::exchange(t_pInnermost->m_bCounted, true);
    return bUncounted ? t_pInnermost : nullptr;
}

void LogReplyCause(int nType, std::string_view strUrl, ReplyFault fault, std::string_view strWhy,
                   std::string_view strSaid) noexcept
{
    const ReplyInHand* const pReply = ReplyInHand::TakeUncounted();
    if (pReply == nullptr) {
        return;
    }
    std::string strStory;
    try {
        strStory = StoryOfReply(*pReply, nType, strUrl, strWhy, strSaid);
        if (pReply->HttpError() == 0 || !TransportTellsStories()) { // otherwise it has logged the story
            Log_Write(LOG_CAUSES, "VelCSDK::CSource::Decode", 2, "failed: %s", strStory.c_str());
        }
    } catch (...) { // not enough memory for the line, or the log threw: the reply is still answered
    }
    CountFault(nType, strUrl, fault, strStory);
}

void CountSuccess(int nType, std::string_view strUrl) noexcept
{
    if (ReplyInHand::TakeUncounted() == nullptr) {
        return;
    }
    metrics::NoteSuccess({nType, false}, ExchangeDuration());
    if (metrics::AnyLost()) {
        metrics::NoteReached(UrlOr(strUrl));
    }
}

bool IsFromExchange() noexcept
{
    return FindTime() == nullptr || ExchangeDuration() >= metrics::Duration::zero();
}

void CountStored(int nType) noexcept
{
    if (ReplyInHand::TakeUncounted() != nullptr) {
        metrics::NoteStored({nType, false}, ExchangeDuration());
    }
}

void NoteServer(int nHttpError) noexcept
{
    const std::string_view strUrl = UrlOr({});
    if (nHttpError < 0 && metrics::IsUnreached(metrics::FailureOf(nHttpError))) {
        const char* const szStory = Story();
        metrics::NoteUnreached(strUrl, szStory != nullptr ? szStory : "the transport reports a failure");
    } else if (nHttpError >= 0 && metrics::AnyLost()) {
        metrics::NoteReached(strUrl);
    }
}

bool TransportTellsStories() noexcept
{
    return FindStory() != nullptr;
}

} // namespace VelCSDK
