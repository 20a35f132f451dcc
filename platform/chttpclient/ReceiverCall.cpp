#include "ReceiverCall.h"

#include "ExchangeStory.h"
#include "StartStory.h"
#include "Trace.h"

#include <ktshttpagent/clog.h>

#include <exception>
#include <optional>

namespace chttpclient
{
namespace
{

/// Writes a line to the log if possible. Memory may have run out, which may be just what the line reports,
/// and a site's own log may throw; the replies that follow must be delivered all the same.
template <class Say>
void SayIfPossible(Say fnSay) noexcept
{
    try {
        fnSay();
    } catch (...) { // the line is lost
    }
}

/// Logs how an exchange went, if the level asks for it. The story of a failure is the one that the layers
/// above get too, so it is made once. Call it while a `StoryTeller` of the exchange exists.
void LogExchange(const HttpExchange& exchange, int nLogLevel) noexcept
{
    if (exchange.nHttpError == 0) {
        if (nLogLevel >= LOG_EXCHANGES) {
            SayIfPossible([&] {
                Log_Write(LOG_EXCHANGES, "chttpclient::CDelivery::Deliver", __LINE__, "succeeded: %s",
                          StoryOf(exchange, false).c_str());
            });
        }
        return;
    }
    const char* const szStory = nLogLevel >= LOG_CAUSES ? StoryTeller::Told() : nullptr;
    if (szStory != nullptr) {
        SayIfPossible([&] {
            Log_Write(LOG_CAUSES, "chttpclient::CDelivery::Deliver", __LINE__, "failed: %s", szStory);
        });
    }
}

} // namespace

void CallReceiver(const CHttpClientResponse* pReceiver, const HttpExchange& exchange, int nLogLevel) noexcept
{
    std::optional<StoryTeller> teller;
    if (!exchange.bHandedBack) {
        teller.emplace(exchange);
        TraceEnd(exchange);
        LogExchange(exchange, nLogLevel);
    }
    if (pReceiver == nullptr || *pReceiver == nullptr) {
        SayIfPossible([&] {
            Log_Write(1, "chttpclient::CDelivery::Deliver", __LINE__, "no receiver for a reply of type %d",
                      exchange.nType);
        });
        return;
    }
    try {
        (*pReceiver)(exchange.strReply, exchange.nType, exchange.pUserData, exchange.nHttpError);
    } catch (const std::exception& error) {
        SayIfPossible([&] {
            Log_Write(1, "chttpclient::CDelivery::Deliver", __LINE__,
                      "the receiver of a reply of type %d threw: %s", exchange.nType, error.what());
        });
    } catch (...) {
        SayIfPossible([&] {
            Log_Write(1, "chttpclient::CDelivery::Deliver", __LINE__,
                      "the receiver of a reply of type %d threw something that is no std::exception",
                      exchange.nType);
        });
    }
}

void LogStart(const TransportSettings& settings) noexcept
{
    if (settings.nLogLevel >= LOG_LIFE) {
        SayIfPossible([&] {
            Log_Write(LOG_LIFE, "chttpclient::CTransport::Start", __LINE__, "%s",
                      StoryOfStart(settings).c_str());
        });
    }
}

void LogStop() noexcept
{
    SayIfPossible([] { Log_Write(LOG_LIFE, "chttpclient::CTransport::Stop", __LINE__, "stopped"); });
}

void LogNoThread(const char* szWhy) noexcept
{
    SayIfPossible([szWhy] {
        Log_Write(1, "chttpclient::CDelivery::Post", __LINE__, "no thread to deliver on: %s", szWhy);
    });
}

} // namespace chttpclient
