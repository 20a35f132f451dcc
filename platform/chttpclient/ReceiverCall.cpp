#include "ReceiverCall.h"

#include "ExchangeStory.h"
#include "StartStory.h"

#include <ktshttpagent/clog.h>

#include <exception>

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

constexpr int CAUSES = 2; // the level of the causes of failures
constexpr int LIFE = 3;
constexpr int EXCHANGES = 4;

/// Logs how an exchange went, if the level asks for it.
void LogExchange(const HttpExchange& exchange, int nLogLevel) noexcept
{
    const bool bFailed = exchange.nHttpError != 0;
    const int nLevel = bFailed ? CAUSES : EXCHANGES;
    if (nLevel > nLogLevel) {
        return;
    }
    SayIfPossible([&] {
        Log_Write(nLevel, "chttpclient::CDelivery::Deliver", __LINE__, "%s: %s",
                  bFailed ? "failed" : "succeeded", StoryOf(exchange, bFailed).c_str());
    });
}

} // namespace

void CallReceiver(const CHttpClientResponse* pReceiver, const HttpExchange& exchange, int nLogLevel) noexcept
{
    const StoryTeller teller(exchange);
    LogExchange(exchange, nLogLevel);
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
    if (settings.nLogLevel >= LIFE) {
        SayIfPossible([&] {
            Log_Write(LIFE, "chttpclient::CTransport::Start", __LINE__, "%s", StoryOfStart(settings).c_str());
        });
    }
}

void LogStop() noexcept
{
    SayIfPossible([] { Log_Write(LIFE, "chttpclient::CTransport::Stop", __LINE__, "stopped"); });
}

void LogNoThread(const char* szWhy) noexcept
{
    SayIfPossible([szWhy] {
        Log_Write(1, "chttpclient::CDelivery::Post", __LINE__, "no thread to deliver on: %s", szWhy);
    });
}

} // namespace chttpclient
