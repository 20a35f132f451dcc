#include "ReplyCause.h"

#include "platform/system/OptionalFunction.h"
#include "platform/text/Escaping.h"
#include "platform/text/LogWords.h"

#include <ktshttpagent/chttpclient.h>
#include <ktshttpagent/clog.h>

#include <utility>

namespace VelCSDK
{
namespace
{

using StoryFunction = decltype(&CHttpClientExchangeStory);

// A plain pointer, which needs no destructor at the end of the thread.
thread_local ReplyInHand* t_pInnermost = nullptr;

StoryFunction FindStory() noexcept
{
    static const auto fnStory =
        reinterpret_cast<StoryFunction>(FindOptionalFunction("chttpclient", "CHttpClientExchangeStory"));
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

} // namespace

ReplyInHand::ReplyInHand(const std::string& body, int nHttpError) noexcept
    : m_body(body), m_nHttpError(nHttpError), m_pOuter(std::exchange(t_pInnermost, this))
{
}

ReplyInHand::~ReplyInHand()
{
    t_pInnermost = m_pOuter;
}

const ReplyInHand* ReplyInHand::TakeUnlogged() noexcept
{
    const bool bUnlogged = t_pInnermost != nullptr && !std::exchange(t_pInnermost->m_bLogged, true);
    return bUnlogged ? t_pInnermost : nullptr;
}

void LogReplyCause(int nType, std::string_view strUrl, std::string_view strWhy,
                   std::string_view strSaid) noexcept
{
    const ReplyInHand* const pReply = ReplyInHand::TakeUnlogged();
    if (pReply == nullptr) {
        return;
    }
    try {
        const char* const szStory = Story();
        if (pReply->HttpError() != 0 && szStory != nullptr) {
            return; // it has logged this story
        }
        const std::string strStory =
            szStory != nullptr ? szStory : OwnStory(nType, strUrl, pReply->HttpError());
        const bool bSafe = szStory != nullptr && pReply->Body().size() <= CHECKED_BYTES &&
                           strStory.find(REPEATS_REPORT) == std::string::npos;
        const std::string strWords = bSafe && !strSaid.empty() ? ": " + BeginningOf(strSaid, {}) : "";
        Log_Write(2, "VelCSDK::CSource::Decode", 2, "failed: %s%s: %s", std::string(strWhy).c_str(),
                  strWords.c_str(), strStory.c_str());
    } catch (...) { // not enough memory for the line, or the log threw: the reply is still answered
    }
}

bool TransportTellsStories() noexcept
{
    return FindStory() != nullptr;
}

} // namespace VelCSDK
