#include "Trace.h"

#include "ExchangeStory.h"

#include <atomic>
#include <new>
#include <string>

namespace chttpclient
{
namespace
{

std::atomic<CHttpClientTrace> g_fnTrace = nullptr;

/// What came of the reply's body.
const std::string& ReplyOf(const HttpExchange& exchange)
{
    return exchange.strReply.empty() && exchange.pFacts != nullptr ? exchange.pFacts->strBody
                                                                   : exchange.strReply;
}

} // namespace

void SetTrace(CHttpClientTrace fnTrace) noexcept
{
    g_fnTrace = fnTrace;
}

CHttpClientTrace TraceInForce() noexcept
{
    return g_fnTrace.load(std::memory_order_relaxed);
}

void TraceEnd(const HttpExchange& exchange) noexcept
{
    const CHttpClientTrace fnTrace = TraceInForce();
    if (fnTrace == nullptr) {
        return;
    }
    const std::string& strBody = ReplyOf(exchange);
    if (!strBody.empty()) {
        fnTrace(CHttpTrace::ReplyBody, strBody.data(), strBody.size(), &exchange);
    }
    std::string strStory;
    try {
        strStory = StoryOf(exchange, false);
    } catch (const std::bad_alloc&) { // then the end has no words
    }
    fnTrace(CHttpTrace::End, strStory.data(), strStory.size(), &exchange);
}

} // namespace chttpclient
