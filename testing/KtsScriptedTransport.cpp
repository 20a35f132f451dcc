#include "Faults.h"
#include "ReplyClock.h"
#include "ScriptState.h"

#include <ktshttpagent/CHttpClientDouble.h>
#include <ktshttpagent/testing/KtsScriptedTransport.h>

#include <utility>

namespace
{

constexpr int FIRST_STATUS_BEYOND_SUCCESS = 300;

bool IsSuccess(int nStatus)
{
    return nStatus >= 200 && nStatus < FIRST_STATUS_BEYOND_SUCCESS;
}

SKtsSent SentToTransport(const CHttpClientRequest& request)
{
    SKtsSent sent;
    sent.nType = request.nType;
    sent.bPost = request.bPost;
    sent.strUrl = request.strUrl;
    sent.strBody = request.bPost ? request.strBody : std::string();
    sent.vecHeaders = request.vecHeaders;
    return sent;
}

/// The reply in the form of the transport.
CHttpClientReply TransportsReply(const ChosenReply& chosen)
{
    CHttpClientReply reply;
    if (chosen.reply.TheKind() == KtsReply::Kind::Body) {
        reply.strBody = chosen.reply.TheBody();
        reply.nHttpError = IsSuccess(chosen.reply.Status()) ? 0 : chosen.reply.Status();
        reply.nRetryAfter = chosen.reply.RetryAfterOrZero().count();
    } else {
        const FaultWords& words = WordsOf(chosen.reply.Fault());
        reply.nHttpError = words.nOutcome;
        reply.strWhy = chosen.strWhy.empty() ? words.szWords : chosen.strWhy;
    }
    return reply;
}

} // namespace

/// Gives the answers when their time has come.
class KtsScriptedTransport::Clock
{
public:
    void Answer(const ChosenReply& chosen, CHttpClientAnswer fnAnswer)
    {
        if (chosen.reply.TheKind() == KtsReply::Kind::Never) {
            m_clock.Keep([fnAnswer = std::move(fnAnswer)] { static_cast<void>(fnAnswer); });
        } else if (chosen.reply.Delay().count() > 0) {
            m_clock.After(chosen.reply.Delay(), [fnAnswer = std::move(fnAnswer),
                                                 reply = TransportsReply(chosen)] { fnAnswer(reply); });
        } else {
            fnAnswer(TransportsReply(chosen));
        }
    }

    void Stop() { m_clock.Stop(); }

private:
    ReplyClock m_clock;
};

KtsScriptedTransport::KtsScriptedTransport()
    : KtsScript("KtsScriptedTransport"), m_pClock(std::make_shared<Clock>())
{
    CHttpClientSetDouble([pState = m_pState, pClock = m_pClock](const CHttpClientRequest& request,
                                                                CHttpClientAnswer fnAnswer) {
        pClock->Answer(pState->ReplyFor(SentToTransport(request)), std::move(fnAnswer));
    });
}

KtsScriptedTransport::~KtsScriptedTransport()
{
    CHttpClientSetDouble({});
    m_pClock->Stop();
}
