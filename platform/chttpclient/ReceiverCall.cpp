#include "ReceiverCall.h"

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

} // namespace

void CallReceiver(const CHttpClientResponse* pReceiver, const HttpExchange& exchange) noexcept
{
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

void LogNoThread(const char* szWhy) noexcept
{
    SayIfPossible([szWhy] {
        Log_Write(1, "chttpclient::CDelivery::Post", __LINE__, "no thread to deliver on: %s", szWhy);
    });
}

} // namespace chttpclient
